#include "organisation/PLXQueue.h"

#include "database/PLXDatabaseManager.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "tracks/detail/backgroundTransactions.h"
#include "tracks/detail/storedRecord.h"

namespace qsml {
namespace {

std::shared_ptr<const PLXQueue> storedDefaultQueue(YapDatabaseReadTransaction& transaction) {
    return transaction.object<PLXQueue>(PLXDefaultQueueUUID, PLXDatabaseCollectionQueues);
}

/// Looks again before it writes: another thread, or another process, may have made the queue and
/// filled it meanwhile. A row that is there and cannot be read is left as it is.
std::shared_ptr<const PLXQueue> storedOrNewQueue(YapDatabaseReadWriteTransaction& transaction) {
    auto queue = storedDefaultQueue(transaction);
    if (queue || !detail::isVacant(PLXDefaultQueueUUID, PLXDatabaseCollectionQueues, transaction))
        return queue;
    queue = PLXQueue::initWithUUID(PLXDefaultQueueUUID);
    return transaction.setObject(queue, queue->uuid(), PLXDatabaseCollectionQueues) ? queue
                                                                                    : nullptr;
}

}  // namespace

QSML_DEFINE_RECORD(PLXQueue)

std::shared_ptr<const PLXQueue> PLXQueue::defaultQueue(PLXDatabaseManager& manager) {
    std::shared_ptr<const PLXQueue> queue;
    const bool isRead = detail::read(manager, [&](YapDatabaseReadTransaction& transaction) {
        queue = storedDefaultQueue(transaction);
    });
    if (queue || !isRead) return queue;
    const bool isStored =
        detail::readWrite(manager, [&](YapDatabaseReadWriteTransaction& transaction) {
            queue = storedOrNewQueue(transaction);
            return queue != nullptr;
        });
    return isStored ? queue : nullptr;
}

std::shared_ptr<const PLXQueue> PLXQueue::defaultQueue() {
    return defaultQueue(PLXDatabaseManager::sharedManager());
}

}  // namespace qsml
