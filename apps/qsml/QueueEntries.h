#pragma once
#include <memory>
#include <set>
#include <vector>

#include "ListedEntries.h"

namespace qsml {
class PLXMediaItem;
class PLXQueue;
class PLXQueueItem;
class YapDatabaseReadTransaction;
class YapDatabaseReadWriteTransaction;
}  // namespace qsml

namespace qsml::app {

/// The default queue as one transaction sees it, and the ways to change it. Entries stand in the
/// order of the queue's list, those that are missing from it last. UUIDs in the list that name no
/// entry are left where they are: they may be on their way from another device. Positions count
/// from 0. O(entries of all queues) to read.
class QueueEntries {
public:
    using Item = std::shared_ptr<const PLXQueueItem>;

    explicit QueueEntries(const YapDatabaseReadTransaction& transaction);

    const std::vector<Item>& items() const { return entries_.items(); }

    // Each stores what it changed. Throws CommandFailure when there is no such position or no
    // default queue.

    /// Before the entry at the position; at the end with items().size().
    Item add(const PLXMediaItem& track, std::size_t position,
             YapDatabaseReadWriteTransaction& transaction);
    void move(std::size_t from, std::size_t to, YapDatabaseReadWriteTransaction& transaction);
    /// Answers what was removed, in its order.
    std::vector<Item> remove(const std::set<std::size_t>& positions,
                             YapDatabaseReadWriteTransaction& transaction);

private:
    void store(YapDatabaseReadWriteTransaction& transaction) const;

    std::shared_ptr<const PLXQueue> queue_;  // null before the first use
    ListedEntries<PLXQueueItem> entries_{"queue", "qsml queue add TRACK"};
};

}  // namespace qsml::app
