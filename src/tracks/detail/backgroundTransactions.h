#pragma once
#include <new>

#include "database/PLXDatabaseManager.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"

// Synchronous transactions of the sources, on the manager's background connection.

namespace qsml::detail {

/// What the work answers; where memory runs out nothing, as for any other failure: callers need no
/// `catch`. A transaction that ended so is rolled back.
template <class Work>
auto unlessOutOfMemory(const Work& work) -> decltype(work()) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return decltype(work())();
    }
}

/// True when the block ran. It does not where there is no library.
template <class Block>
bool read(PLXDatabaseManager& manager, const Block& block) {
    return unlessOutOfMemory([&] {
        const auto& connection = manager.bgDatabaseConnection();
        return connection && connection->read(block);
    });
}

/// True when the block answered true and what it wrote is on disk; else nothing of it stays.
template <class Block>
bool readWrite(PLXDatabaseManager& manager, const Block& block) {
    return unlessOutOfMemory([&] {
        const auto& connection = manager.bgDatabaseConnection();
        if (!connection) return false;
        bool isDone = false;
        const bool isCommitted =
            connection->readWrite([&](YapDatabaseReadWriteTransaction& transaction) {
                isDone = block(transaction);
                if (!isDone) transaction.rollback();
            });
        return isDone && isCommitted;
    });
}

}  // namespace qsml::detail
