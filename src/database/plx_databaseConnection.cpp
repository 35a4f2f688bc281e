#include "core/plx_databaseConnection.h"

#include "database/PLXDatabaseManager.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"

namespace qsml {

std::shared_ptr<YapDatabaseConnection> plx_databaseConnection() {
    thread_local std::shared_ptr<YapDatabaseConnection> connection;
    if (!connection)
        if (const auto& database = PLXDatabaseManager::sharedManager().database())
            connection = database->newConnection();
    return connection;
}

}  // namespace qsml
