#pragma once
#include <memory>
#include <optional>

#include "foundation/URL.h"

namespace qsml {

class PLXDatabaseManager;
class PLXMediaItemLocation;
class PLXMediaItemTitleID;
class PLXMediaItemUserData;
class YapDatabaseReadTransaction;
class YapDatabaseReadWriteTransaction;

/// Finds and stores what the user has set up for tracks. Has no state of its own.
///
/// A record found for a title ID that it does not know gets that title ID a little later, in a
/// write of its own on the manager's background connection, once the notification queue has turned:
/// a lookup never writes. Where the library is closed before, the next lookup sees to it.
///
/// Thread-safe. Operations without a transaction run one of their own, synchronously, on the
/// manager's background connection: not from inside a write block, nor a block of that connection;
/// before the manager is set up they find and store nothing. What is found is frozen; `copy()` it
/// to change it.
class QSML_EXPORT PLXMediaItemUserDataSource {
public:
    /// The source of the shared manager, made on first use.
    static PLXMediaItemUserDataSource& sharedInstance();
    /// The manager must outlive the source.
    explicit PLXMediaItemUserDataSource(PLXDatabaseManager& manager) : manager_(manager) {}

    /// The record of the title ID's internal ID. Where it has no deck metadata, or there is none,
    /// the last of those with deck metadata that know a title ID of the same ISRC; where none has
    /// any, the first of them unless there is the record itself. Null when nothing is found. ISRCs
    /// are the same whatever their letter case; an empty one is none, for it would take tracks that
    /// have nothing in common for one.
    std::shared_ptr<const PLXMediaItemUserData> lookupMediaItemUserDataForTitleID(
        const std::shared_ptr<const PLXMediaItemTitleID>& titleID,
        YapDatabaseReadTransaction& transaction) const;
    /// The same.
    std::shared_ptr<const PLXMediaItemUserData> mediaItemUserDataForTitleID(
        const std::shared_ptr<const PLXMediaItemTitleID>& titleID,
        YapDatabaseReadTransaction& transaction) const;
    std::shared_ptr<const PLXMediaItemUserData> mediaItemUserDataForTitleID(
        const std::shared_ptr<const PLXMediaItemTitleID>& titleID) const;

    /// The same; with the flag set, a record that is not found is made and stored, together with a
    /// copy of the title ID. A location that is given is stored in any case, with the URL of its
    /// file (see PLXMediaItemLocationSource); the answer says nothing of whether that was possible.
    /// Null when nothing is found and nothing is to be made, or could be: what stands there, or who
    /// else knows the ISRC, could not be read, or the record could not be stored. Nothing at all
    /// happens when the title ID has no internal ID.
    std::shared_ptr<const PLXMediaItemUserData> mediaItemUserDataForTitleID(
        const std::shared_ptr<const PLXMediaItemTitleID>& titleID, bool createIfNeeded,
        const std::shared_ptr<const PLXMediaItemLocation>& location, const std::optional<URL>& url,
        YapDatabaseReadWriteTransaction& transaction) const;
    std::shared_ptr<const PLXMediaItemUserData> mediaItemUserDataForTitleID(
        const std::shared_ptr<const PLXMediaItemTitleID>& titleID, bool createIfNeeded,
        const std::shared_ptr<const PLXMediaItemLocation>& location,
        const std::optional<URL>& url) const;

    /// Stores the record and touches its media item, so that observers of the item see the change.
    /// False when that could not be done; in the form without a transaction the library is then as
    /// before. The store freezes the record, also where it then answers false.
    bool setMediaItemUserData(const std::shared_ptr<const PLXMediaItemUserData>& userData,
                              YapDatabaseReadWriteTransaction& transaction);
    bool setMediaItemUserData(const std::shared_ptr<const PLXMediaItemUserData>& userData);

private:
    /// False when not everything could be read: what was found may then not be the right one.
    bool lookUp(const std::shared_ptr<const PLXMediaItemTitleID>& titleID,
                std::shared_ptr<const PLXMediaItemUserData>& found,
                YapDatabaseReadTransaction& transaction) const;
    void addTitleIDLater(const PLXMediaItemTitleID& titleID, const String& userDataUUID) const;

    PLXDatabaseManager& manager_;
};

}  // namespace qsml
