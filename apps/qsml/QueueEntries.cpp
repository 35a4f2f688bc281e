#include "QueueEntries.h"

#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/organisation/PLXQueue.h>
#include <QSMediaLibraryData/organisation/PLXQueueItem.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <fmt/format.h>

#include <algorithm>

#include "CommandFailure.h"

namespace qsml::app {

QueueEntries::QueueEntries(const YapDatabaseReadTransaction& transaction)
    : queue_(transaction.object<PLXQueue>(PLXDefaultQueueUUID, PLXDatabaseCollectionQueues)) {
    const OrderedSet<String> listed =
        queue_ && queue_->itemUUIDs() ? *queue_->itemUUIDs() : OrderedSet<String>();
    transaction.enumerateKeysAndObjectsInCollection(
        PLXDatabaseCollectionQueueItems, [&](std::string_view, const Value& object, bool&) {
            auto item = std::dynamic_pointer_cast<const PLXQueueItem>(object.object());
            if (item && item->queueUUID() == PLXDefaultQueueUUID) items_.push_back(std::move(item));
        });
    std::sort(items_.begin(), items_.end(), [&](const Item& a, const Item& b) {
        const std::size_t placeOfA = listed.indexOf(a->uuid()),
                          placeOfB = listed.indexOf(b->uuid());
        return placeOfA != placeOfB ? placeOfA < placeOfB : a->uuid() < b->uuid();
    });
    order_ = listed.list();
    for (const Item& item : items_)
        if (!listed.contains(item->uuid())) order_.push_back(item->uuid());
}

void QueueEntries::requirePosition(std::size_t position) const {
    if (position < items_.size()) return;
    throw CommandFailure(
        items_.empty()
            ? std::string("the queue is empty; \"qsml queue add TRACK\" fills it")
            : fmt::format("the queue has no entry {}; it has {}", position + 1, items_.size()));
}

void QueueEntries::insert(Item item, std::size_t position) {
    const auto place = position < items_.size()
                           ? std::find(order_.begin(), order_.end(), items_[position]->uuid())
                           : order_.end();
    order_.insert(place, item->uuid());
    items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(position), std::move(item));
}

void QueueEntries::store(YapDatabaseReadWriteTransaction& transaction) const {
    if (!queue_)
        throw CommandFailure("the default queue cannot be read; \"qsml check\" tells more");
    const auto changed = queue_->copy();
    changed->setItemUUIDs(OrderedSet<String>(order_));
    transaction.setObject(changed, changed->uuid(), PLXDatabaseCollectionQueues);
}

QueueEntries::Item QueueEntries::add(const PLXMediaItem& track, std::size_t position,
                                     YapDatabaseReadWriteTransaction& transaction) {
    if (position > items_.size())
        throw CommandFailure(
            fmt::format("position {} is beyond the end of the queue; {} is the last", position + 1,
                        items_.size() + 1));
    const auto item = PLXQueueItem::init();
    item->setQueueUUID(PLXDefaultQueueUUID);
    item->setTitleID(track.titleID());
    transaction.setObject(item, item->uuid(), PLXDatabaseCollectionQueueItems);
    insert(item, position);
    store(transaction);
    return item;
}

void QueueEntries::move(std::size_t from, std::size_t to,
                        YapDatabaseReadWriteTransaction& transaction) {
    requirePosition(from);
    requirePosition(to);
    Item item = items_[from];
    std::erase(order_, item->uuid());
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(from));
    insert(std::move(item), to);
    store(transaction);
}

std::vector<QueueEntries::Item> QueueEntries::remove(const std::set<std::size_t>& positions,
                                                     YapDatabaseReadWriteTransaction& transaction) {
    std::vector<Item> removed;
    for (const std::size_t position : positions) {
        requirePosition(position);
        removed.push_back(items_[position]);
    }
    std::set<String> uuids;
    for (const Item& item : removed) {
        transaction.removeObjectForKey(item->uuid(), PLXDatabaseCollectionQueueItems);
        uuids.insert(item->uuid());
    }
    std::erase_if(order_, [&](const String& uuid) { return uuids.contains(uuid); });
    std::erase_if(items_, [&](const Item& item) { return uuids.contains(item->uuid()); });
    store(transaction);
    return removed;
}

}  // namespace qsml::app
