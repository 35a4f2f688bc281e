#pragma once
#include <memory>

#include "foundation/String.h"

namespace qsml {

class PLXDatabaseManager;
class PLXMediaItemTitleID;
class YapDatabaseConnection;
class YapDatabaseReadTransaction;
class YapDatabaseReadWriteTransaction;

/// Finds and stores title IDs. Operations without a transaction run one of their own,
/// synchronously, on the source's connection, and may be called from any thread but not from inside
/// one of its blocks. Title IDs that come from the library are frozen; `copy()` one to change it.
class QSML_EXPORT PLXMediaItemTitleIDSource {
public:
    /// The source of the shared manager's database, made on first use, which must be after its
    /// setup.
    static PLXMediaItemTitleIDSource& sharedInstance();
    /// A source of the manager's database. Made before the manager is set up, it finds nothing and
    /// stores nothing.
    explicit PLXMediaItemTitleIDSource(PLXDatabaseManager& manager);

    const std::shared_ptr<YapDatabaseConnection>& databaseConnection() const { return connection_; }

    /// The stored title ID of this metadata (its text normalised, the ISRC not consulted), or a new
    /// one that is not stored. Never null.
    std::shared_ptr<const PLXMediaItemTitleID> titleIDWithTitle(const String& title,
                                                                const String& artist,
                                                                float durationSeconds,
                                                                const String& isrc) const;
    std::shared_ptr<const PLXMediaItemTitleID> titleIDWithTitle(
        const String& title, const String& artist, float durationSeconds, const String& isrc,
        YapDatabaseReadTransaction& transaction) const;

    /// The stored title ID of that key; null when there is none or the key is nil.
    std::shared_ptr<const PLXMediaItemTitleID> titleID(const String& uuid) const;
    std::shared_ptr<const PLXMediaItemTitleID> titleID(
        const String& uuid, YapDatabaseReadTransaction& transaction) const;

    /// Stores the title ID under its UUID. False when that could not be done: the library is as
    /// before.
    bool setTitleID(const std::shared_ptr<const PLXMediaItemTitleID>& titleID);
    /// Needs no source: the transaction says where.
    static bool setTitleID(const std::shared_ptr<const PLXMediaItemTitleID>& titleID,
                           YapDatabaseReadWriteTransaction& transaction);

private:
    std::shared_ptr<YapDatabaseConnection> connection_;
};

}  // namespace qsml
