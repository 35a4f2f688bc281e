#include "QueueEntries.h"

#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/organisation/PLXQueue.h>
#include <QSMediaLibraryData/organisation/PLXQueueItem.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>

#include <algorithm>

#include "CommandFailure.h"

namespace qsml::app {

QueueEntries::QueueEntries(const YapDatabaseReadTransaction& transaction)
    : queue_(transaction.object<PLXQueue>(PLXDefaultQueueUUID, PLXDatabaseCollectionQueues)) {
    const OrderedSet<String> listed =
        queue_ && queue_->itemUUIDs() ? *queue_->itemUUIDs() : OrderedSet<String>();
    std::vector<Item> items;
    transaction.enumerateKeysAndObjectsInCollection(
        PLXDatabaseCollectionQueueItems, [&](std::string_view, const Value& object, bool&) {
            auto item = std::dynamic_pointer_cast<const PLXQueueItem>(object.object());
            if (item && item->queueUUID() == PLXDefaultQueueUUID) items.push_back(std::move(item));
        });
    std::sort(items.begin(), items.end(), [&](const Item& a, const Item& b) {
        const std::size_t placeOfA = listed.indexOf(a->uuid()),
                          placeOfB = listed.indexOf(b->uuid());
        return placeOfA != placeOfB ? placeOfA < placeOfB : a->uuid() < b->uuid();
    });
    entries_.take(std::move(items), listed.list());
}

void QueueEntries::store(YapDatabaseReadWriteTransaction& transaction) const {
    if (!queue_)
        throw CommandFailure("the default queue cannot be read; \"qsml check\" tells more");
    const auto changed = queue_->copy();
    changed->setItemUUIDs(entries_.list());
    transaction.setObject(changed, changed->uuid(), PLXDatabaseCollectionQueues);
}

QueueEntries::Item QueueEntries::add(const PLXMediaItem& track, std::size_t position,
                                     YapDatabaseReadWriteTransaction& transaction) {
    entries_.requirePlace(position);
    const auto item = PLXQueueItem::init();
    item->setQueueUUID(PLXDefaultQueueUUID);
    item->setTitleID(track.titleID());
    transaction.setObject(item, item->uuid(), PLXDatabaseCollectionQueueItems);
    entries_.insert(item, position);
    store(transaction);
    return item;
}

void QueueEntries::move(std::size_t from, std::size_t to,
                        YapDatabaseReadWriteTransaction& transaction) {
    entries_.move(from, to);
    store(transaction);
}

std::vector<QueueEntries::Item> QueueEntries::remove(const std::set<std::size_t>& positions,
                                                     YapDatabaseReadWriteTransaction& transaction) {
    auto removed = entries_.remove(positions);
    for (const Item& item : removed)
        transaction.removeObjectForKey(item->uuid(), PLXDatabaseCollectionQueueItems);
    store(transaction);
    return removed;
}

}  // namespace qsml::app
