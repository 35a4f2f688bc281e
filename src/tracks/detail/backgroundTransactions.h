#pragma once
#include "database/PLXDatabaseManager.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"

// Synchronous transactions of the sources, on the manager's background connection.

namespace qsml::detail {

/// Does not run the block where there is no library.
inline void read(PLXDatabaseManager& manager, const YapDatabaseConnection::ReadBlock& block) {
    if (const auto& connection = manager.bgDatabaseConnection()) connection->read(block);
}

/// True when the block answered true and what it wrote is on disk; else nothing of it stays.
inline bool readWrite(PLXDatabaseManager& manager,
                      const std::function<bool(YapDatabaseReadWriteTransaction&)>& block) {
    const auto& connection = manager.bgDatabaseConnection();
    if (!connection) return false;
    bool isDone = false;
    const bool isCommitted =
        connection->readWrite([&](YapDatabaseReadWriteTransaction& transaction) {
            isDone = block(transaction);
            if (!isDone) transaction.rollback();
        });
    return isDone && isCommitted;
}

}  // namespace qsml::detail
