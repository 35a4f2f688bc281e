#include "tracks/PLXMediaItemSource.h"

#include "tracks/PLXMediaItem.h"
#include "tracks/PLXMediaItemLocationSource.h"
#include "tracks/detail/backgroundTransactions.h"
#include "tracks/detail/storedRecord.h"

namespace qsml {
namespace {

/// Unlike a lookup, this knows types that have no collection. What has none, or no key, is no
/// failure.
bool storeLocation(const std::shared_ptr<const PLXMediaItemLocation>& location,
                   YapDatabaseReadWriteTransaction& transaction) {
    if (!location || !location->uuid() ||
        (location->type() != PLXMediaItemLocationTypeLocal &&
         location->type() != PLXMediaItemLocationTypeGlobal))
        return true;
    return transaction.setObject(location, location->uuid(),
                                 detail::collectionOfLocationType(location->type()));
}

}  // namespace

PLXMediaItemSource& PLXMediaItemSource::sharedInstance() {
    // Never destroyed: threads of the host may use it until the process ends.
    static auto* const source = new PLXMediaItemSource(PLXDatabaseManager::sharedManager());
    return *source;
}

std::shared_ptr<const PLXMediaItem> PLXMediaItemSource::mediaItemForTitleID(
    const std::shared_ptr<const PLXMediaItemTitleID>& titleID) const {
    std::shared_ptr<const PLXMediaItem> found;
    detail::read(manager_, [&](YapDatabaseReadTransaction& transaction) {
        found = detail::storedRecord<PLXMediaItem>(titleID, PLXDatabaseCollectionMediaItems,
                                                   transaction);
    });
    return found;
}

bool PLXMediaItemSource::setMediaItem(const std::shared_ptr<const PLXMediaItem>& mediaItem,
                                      const std::shared_ptr<const PLXMediaItemLocation>& location) {
    if (!mediaItem) return false;
    return detail::readWrite(manager_, [&](YapDatabaseReadWriteTransaction& transaction) {
        return transaction.setObject(mediaItem, mediaItem->uuid(),
                                     PLXDatabaseCollectionMediaItems) &&
               storeLocation(location, transaction);
    });
}

std::shared_ptr<const PLXMediaItemLocation> PLXMediaItemSource::mediaItemLocationForTitleID(
    const std::shared_ptr<const PLXMediaItemTitleID>& titleID) const {
    std::shared_ptr<const PLXMediaItemLocation> found;
    detail::read(manager_, [&](YapDatabaseReadTransaction& transaction) {
        found =
            PLXMediaItemLocationSource(manager_).mediaItemLocationForTitleID(titleID, transaction);
    });
    return found;
}

std::shared_ptr<const PLXMediaItemLocation> PLXMediaItemSource::mediaItemLocationForTitleID(
    const std::shared_ptr<const PLXMediaItemTitleID>& titleID, std::int64_t locationType) const {
    std::shared_ptr<const PLXMediaItemLocation> found;
    detail::read(manager_, [&](YapDatabaseReadTransaction& transaction) {
        found = detail::storedLocation(titleID, locationType, transaction);
    });
    return found;
}

std::optional<PLXMediaItemSource::Locations> PLXMediaItemSource::mediaItemLocationsForTitleID(
    const std::shared_ptr<const PLXMediaItemTitleID>& titleID) const {
    Locations found;
    detail::read(manager_, [&](YapDatabaseReadTransaction& transaction) {
        for (const auto type : {PLXMediaItemLocationTypeLocal, PLXMediaItemLocationTypeGlobal})
            if (auto location = detail::storedLocation(titleID, type, transaction))
                found.emplace(type, std::move(location));
    });
    if (found.empty()) return std::nullopt;
    return found;
}

}  // namespace qsml
