#pragma once
#include <memory>

#include "tracks/URLSet.h"

namespace qsml {

class PLXDatabaseManager;
class PLXMediaItemLocation;
class PLXMediaItemTitleID;
class YapDatabaseReadTransaction;
class YapDatabaseReadWriteTransaction;

/// Finds and stores where the files of tracks are. Has no state of its own.
///
/// Thread-safe. Operations without a transaction run one of their own, synchronously, on the
/// manager's background connection: not from inside a write block, nor a block of that connection;
/// before the manager is set up they store nothing. What is found is frozen; `copy()` it to change
/// it.
class QSML_EXPORT PLXMediaItemLocationSource {
public:
    /// The source of the shared manager, made on first use.
    static PLXMediaItemLocationSource& sharedInstance();
    /// The manager must outlive the source.
    explicit PLXMediaItemLocationSource(PLXDatabaseManager& manager) : manager_(manager) {}

    /// The base of bookmarks: the folder that the main bundle's information names under
    /// "QSMediaLibraryBundlePath", where "~" is the user's home. Looked up once, on the first call;
    /// where the host has not set it by then, or to something else than a text with a path, that is
    /// logged, and bookmarks have no base.
    static std::optional<URL> bookmarkDataRelativeURL();

    /// The local location if there is one, else the global one, else null.
    std::shared_ptr<const PLXMediaItemLocation> mediaItemLocationForTitleID(
        const std::shared_ptr<const PLXMediaItemTitleID>& titleID,
        const YapDatabaseReadTransaction& transaction) const;

    /// Stores the location merged with the one that is stored under its key, in the collection of
    /// its type (global for every type but 0). Of the URIs the stale ones are left out. Where the
    /// URL is one of a file, a new bookmark of it goes with the location; one that cannot be made
    /// is logged, and the location keeps what it has. What is stored is a copy, so the given
    /// location stays as it is. False when it could not be stored: it has no key, or what stands
    /// under its key could not be read, which is not replaced.
    bool setMediaItemLocation(const std::shared_ptr<const PLXMediaItemLocation>& location,
                              const std::optional<URL>& url,
                              const std::optional<URLSet>& removingStaleSourceURIs,
                              YapDatabaseReadWriteTransaction& transaction);
    /// Without stale URIs.
    bool setMediaItemLocation(const std::shared_ptr<const PLXMediaItemLocation>& location,
                              const std::optional<URL>& url,
                              YapDatabaseReadWriteTransaction& transaction);
    /// In a transaction of its own. False: the library is as before.
    bool setMediaItemLocation(const std::shared_ptr<const PLXMediaItemLocation>& location,
                              const std::optional<URL>& url,
                              const std::optional<URLSet>& removingStaleSourceURIs);

private:
    PLXDatabaseManager& manager_;
};

}  // namespace qsml
