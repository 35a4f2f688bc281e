#include "tracks/PLXMediaItemTitleIDSource.h"

#include "database/PLXDatabaseManager.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "tracks/PLXMediaItemTitleID.h"
#include "tracks/detail/backgroundTransactions.h"

namespace qsml {

PLXMediaItemTitleIDSource& PLXMediaItemTitleIDSource::sharedInstance() {
    // Never destroyed: threads of the host may use it until the process ends.
    static auto* const source = new PLXMediaItemTitleIDSource(PLXDatabaseManager::sharedManager());
    return *source;
}

PLXMediaItemTitleIDSource::PLXMediaItemTitleIDSource(PLXDatabaseManager& manager)
    : connection_(manager.database() ? manager.database()->newConnection() : nullptr) {
    if (connection_) connection_->setObjectCacheLimit(400);
}

std::shared_ptr<const PLXMediaItemTitleID> PLXMediaItemTitleIDSource::titleIDWithTitle(
    const String& title, const String& artist, float durationSeconds, const String& isrc) const {
    std::shared_ptr<const PLXMediaItemTitleID> candidate =
        PLXMediaItemTitleID::titleIDWithTitle(title, artist, durationSeconds, isrc);
    auto stored = titleID(candidate->uuid());
    return stored ? stored : candidate;
}

std::shared_ptr<const PLXMediaItemTitleID> PLXMediaItemTitleIDSource::titleIDWithTitle(
    const String& title, const String& artist, float durationSeconds, const String& isrc,
    YapDatabaseReadTransaction& transaction) const {
    std::shared_ptr<const PLXMediaItemTitleID> candidate =
        PLXMediaItemTitleID::titleIDWithTitle(title, artist, durationSeconds, isrc);
    auto stored = titleID(candidate->uuid(), transaction);
    return stored ? stored : candidate;
}

std::shared_ptr<const PLXMediaItemTitleID> PLXMediaItemTitleIDSource::titleID(
    const String& uuid) const {
    std::shared_ptr<const PLXMediaItemTitleID> found;
    if (!connection_) return found;
    (void)detail::unlessOutOfMemory([&] {
        return connection_->read(
            [&](YapDatabaseReadTransaction& transaction) { found = titleID(uuid, transaction); });
    });
    return found;
}

std::shared_ptr<const PLXMediaItemTitleID> PLXMediaItemTitleIDSource::titleID(
    const String& uuid, YapDatabaseReadTransaction& transaction) const {
    if (!uuid) return nullptr;
    return transaction.object<PLXMediaItemTitleID>(uuid, PLXDatabaseCollectionMediaItemTitleIDs);
}

bool PLXMediaItemTitleIDSource::setTitleID(
    const std::shared_ptr<const PLXMediaItemTitleID>& titleID) {
    if (!connection_) return false;
    bool stored = false;
    const bool committed = detail::unlessOutOfMemory([&] {
        return connection_->readWrite([&](YapDatabaseReadWriteTransaction& transaction) {
            stored = setTitleID(titleID, transaction);
        });
    });
    return stored && committed;
}

bool PLXMediaItemTitleIDSource::setTitleID(
    const std::shared_ptr<const PLXMediaItemTitleID>& titleID,
    YapDatabaseReadWriteTransaction& transaction) {
    return titleID &&
           transaction.setObject(titleID, titleID->uuid(), PLXDatabaseCollectionMediaItemTitleIDs);
}

}  // namespace qsml
