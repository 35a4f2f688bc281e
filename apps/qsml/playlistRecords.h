#pragma once
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>

#include "CommandFailure.h"

namespace qsml::app {

/// Writes the record under its UUID. Throws CommandFailure, which undoes the whole transaction,
/// when it cannot be written.
template <class Record>
void storeRecord(const std::shared_ptr<Record>& record, std::string_view collection,
                 YapDatabaseReadWriteTransaction& transaction) {
    if (!transaction.setObject(record, record->uuid(), collection))
        throw CommandFailure("cannot write to the library; it is as it was");
}

}  // namespace qsml::app
