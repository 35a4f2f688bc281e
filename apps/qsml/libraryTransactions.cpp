#include "libraryTransactions.h"

#include <QSMediaLibraryData/store/YapDatabaseConnection.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>

#include "CommandFailure.h"

namespace qsml::app {

void readLibrary(const CommonOptions& common,
                 const std::function<void(YapDatabaseReadTransaction&)>& block) {
    readLibrary(openLibrary(libraryPath(common.library), Opening::existing), block);
}

void readLibrary(const std::shared_ptr<YapDatabaseConnection>& connection,
                 const std::function<void(YapDatabaseReadTransaction&)>& block) {
    Error error;
    const bool isRead = connection->read(
        [&](YapDatabaseReadTransaction& transaction) {
            block(transaction);
            error = transaction.error();
        },
        &error);
    if (!isRead || error)
        throw CommandFailure("cannot read the library; \"qsml check\" tells more", error);
}

void changeLibrary(const std::shared_ptr<YapDatabaseConnection>& connection,
                   const std::function<void(YapDatabaseReadWriteTransaction&)>& block) {
    Error error;
    if (!connection->readWrite(block, &error))
        throw CommandFailure("cannot change the library; it is as it was", error);
}

}  // namespace qsml::app
