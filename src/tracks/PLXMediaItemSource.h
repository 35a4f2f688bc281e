#pragma once
#include <cstdint>
#include <map>
#include <memory>
#include <optional>

#include "foundation/Export.h"

namespace qsml {

class PLXDatabaseManager;
class PLXMediaItem;
class PLXMediaItemLocation;
class PLXMediaItemTitleID;

/// Finds and stores media items with their locations. Has no state of its own.
///
/// Thread-safe. Operations run synchronous transactions on the manager's background connection, so
/// not from inside one of its blocks, nor may they write from inside any write block. Before the
/// manager is set up they find and store nothing. What they find is frozen; `copy()` it to change
/// it.
class QSML_EXPORT PLXMediaItemSource {
public:
    /// By their type; only types 0 and 1 occur.
    using Locations = std::map<std::int64_t, std::shared_ptr<const PLXMediaItemLocation>>;

    /// The source of the shared manager, made on first use.
    static PLXMediaItemSource& sharedInstance();
    /// The manager must outlive the source.
    explicit PLXMediaItemSource(PLXDatabaseManager& manager) : manager_(manager) {}

    /// Null when none is stored, or the title ID has no internal ID.
    std::shared_ptr<const PLXMediaItem> mediaItemForTitleID(
        const std::shared_ptr<const PLXMediaItemTitleID>& titleID) const;

    /// Stores the media item, and the location where it is local or global; one of another type, or
    /// without a UUID, is left out without a word. The location may be null. False when that could
    /// not be done, or there is no media item, or none with a UUID: the library is as before. The
    /// store freezes what it is given, also where it then answers false.
    bool setMediaItem(const std::shared_ptr<const PLXMediaItem>& mediaItem,
                      const std::shared_ptr<const PLXMediaItemLocation>& location);

    /// The local location if there is one, else the global one, else null.
    std::shared_ptr<const PLXMediaItemLocation> mediaItemLocationForTitleID(
        const std::shared_ptr<const PLXMediaItemTitleID>& titleID) const;
    /// The global location for every type but 0.
    std::shared_ptr<const PLXMediaItemLocation> mediaItemLocationForTitleID(
        const std::shared_ptr<const PLXMediaItemTitleID>& titleID, std::int64_t locationType) const;
    /// Both, in one snapshot; nothing when there is neither.
    std::optional<Locations> mediaItemLocationsForTitleID(
        const std::shared_ptr<const PLXMediaItemTitleID>& titleID) const;

private:
    PLXDatabaseManager& manager_;
};

}  // namespace qsml
