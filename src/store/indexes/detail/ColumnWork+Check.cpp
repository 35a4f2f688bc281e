// Comparing an index with what the rows would give.
#include <algorithm>

#include "store/indexes/detail/ColumnTable.h"
#include "store/indexes/detail/ColumnWork.h"

namespace qsml::detail {

void ColumnWork::checkRow(const YapDatabaseRow& row, const Fault& fault,
                          std::vector<std::int64_t>* expected) {
    const std::string trouble = compute(row);
    if (!trouble.empty()) fault(row.collection, row.key, trouble);
    if (values_.isEmpty()) return;
    expected->push_back(row.rowid);
    switch (table().compare(row.rowid, values_.values(), &failure_)) {
        case ColumnTable::Stored::absent:
            fault(row.collection, row.key, "the row is missing in the index");
            break;
        case ColumnTable::Stored::different:
            fault(row.collection, row.key, "the index has other columns than the row");
            break;
        case ColumnTable::Stored::equal:
        case ColumnTable::Stored::unreadable:
            break;
    }
}

bool ColumnWork::checkStrayRows(const std::vector<std::int64_t>& expected, const Fault& fault,
                                Error* error) {
    std::vector<std::int64_t> stray;
    const bool isRead = table().enumerateRowids(
        [&](std::int64_t rowid) {
            if (!std::binary_search(expected.begin(), expected.end(), rowid))
                stray.push_back(rowid);
        },
        error);
    for (const std::int64_t rowid : stray) {
        std::string collection, key = "row " + std::to_string(rowid);
        if (!keyOfRow(
                rowid,
                [&](std::string_view ofCollection, std::string_view ofKey) {
                    collection = ofCollection;
                    key = ofKey;
                },
                error))
            return false;
        fault(collection, key, "the index has columns that the row does not give");
    }
    return isRead;
}

bool ColumnWork::check(const Fault& fault, Error* error) {
    std::vector<std::int64_t> expected;
    context_.enumerateRows(index_.allowedCollections(), [&](const YapDatabaseRow& row) {
        if (!failure_) checkRow(row, fault, &expected);
    });
    if (!hasRead()) {
        report(error, failure_);
        return false;
    }
    std::sort(expected.begin(), expected.end());
    const auto ofTheWhole = [&](std::string_view description) { fault("", "", description); };
    return checkStrayRows(expected, fault, error) && table().verify(context_, ofTheWhole, error);
}

}  // namespace qsml::detail
