#include "store/indexes/YapDatabaseSecondaryIndexTransaction.h"

#include <algorithm>

#include "store/detail/quotedIdentifier.h"
#include "store/indexes/YapDatabaseSecondaryIndex.h"
#include "store/indexes/detail/ColumnTable.h"
#include "store/indexes/detail/ColumnWork.h"
#include "store/indexes/detail/ReadOnlyScope.h"
#include "store/indexes/detail/queryText.h"

namespace qsml {

namespace {

/// The name that quotedIdentifier was given.
std::string unquoted(std::string_view quoted) {
    std::string name;
    for (std::size_t i = 1; i + 1 < quoted.size(); ++i) {
        name += quoted[i];
        if (quoted[i] == '"') ++i;
    }
    return name;
}

/// Prepared under watch once, kept afterwards. Null when SQLite refuses it.
sqlite3_stmt* prepared(detail::ColumnTable& table, const std::string& sql) {
    if (sqlite3_stmt* kept = table.statements().kept(sql)) return kept;
    const detail::ReadOnlyScope scope(table.statements().handle(), unquoted(table.name()));
    return table.statements().keep(sql);
}

std::string_view nameOf(YapDatabaseAggregateFunction function) {
    switch (function) {
        case YapDatabaseAggregateFunction::minimum:
            return "min";
        case YapDatabaseAggregateFunction::maximum:
            return "max";
        case YapDatabaseAggregateFunction::sum:
            return "sum";
        case YapDatabaseAggregateFunction::average:
            return "avg";
    }
    return "min";
}

Error queryFailure(const YapDatabaseQuery& query, const std::string& why) {
    return detail::extensionFailure("The query \"" + query.text() + "\" cannot be used: " + why +
                                    ".");
}

}  // namespace

YapDatabaseSecondaryIndexTransaction::YapDatabaseSecondaryIndexTransaction(
    const YapDatabaseSecondaryIndex& index, YapDatabaseExtensionContext& context)
    : YapDatabaseColumnIndexTransaction(index, context), index_(index) {}

YapDatabaseSecondaryIndexTransaction::~YapDatabaseSecondaryIndexTransaction() = default;

bool YapDatabaseSecondaryIndexTransaction::run(std::string_view before, const Query& query,
                                               std::string_view after, const Row& row,
                                               Error* error) {
    const detail::QueryText text = detail::preparedQueryText(query);
    if (!text.fault.empty()) {
        report(error, queryFailure(query, text.fault));
        return false;
    }
    detail::ColumnTable& table = work().table();
    std::string sql = "SELECT ";
    sql.append(before).append(" FROM ").append(table.name()).append(" ").append(text.text);
    sql += after;
    detail::StatementRun run(table.statements(), prepared(table, sql));
    for (std::size_t i = 0; i < text.values.size(); ++i)
        run.bindValue(static_cast<int>(i) + 1, *text.values[i]);
    while (run.row()) row(run.value(0));
    if (run.ok()) return true;
    report(error, queryFailure(query, run.failure("read").description));
    return false;
}

bool YapDatabaseSecondaryIndexTransaction::isColumn(std::string_view column, Error* error) const {
    const auto& names = index_.columnNames();
    if (std::find(names.begin(), names.end(), column) != names.end()) return true;
    report(error, detail::extensionFailure("There is no column \"" + std::string(column) + "\"."));
    return false;
}

bool YapDatabaseSecondaryIndexTransaction::findRowids(const Query& query,
                                                      std::vector<std::int64_t>* rowids,
                                                      Error* error) {
    rowids->clear();
    const bool isFound = run(
        "rowid", query, "", [&](const Value& rowid) { rowids->push_back(rowid.integerValue()); },
        error);
    if (!isFound) rowids->clear();
    return isFound;
}

YapDatabaseColumnIndexTransaction::Search YapDatabaseSecondaryIndexTransaction::search(
    const Query& query) {
    return [this, &query](std::vector<std::int64_t>* rowids, Error* error) {
        return findRowids(query, rowids, error);
    };
}

bool YapDatabaseSecondaryIndexTransaction::enumerateKeysMatchingQuery(const Query& query,
                                                                      const KeyBlock& block,
                                                                      Error* error) {
    return enumerateKeys(search(query), block, error);
}

bool YapDatabaseSecondaryIndexTransaction::enumerateKeysAndObjectsMatchingQuery(
    const Query& query, const ObjectBlock& block, Error* error) {
    return enumerateObjects(search(query), block, error);
}

bool YapDatabaseSecondaryIndexTransaction::enumerateRowsMatchingQuery(const Query& query,
                                                                      const RowBlock& block,
                                                                      Error* error) {
    return enumerateRows(search(query), block, error);
}

bool YapDatabaseSecondaryIndexTransaction::rowidsMatchingQuery(const Query& query,
                                                               std::vector<std::int64_t>* rowids,
                                                               Error* error) {
    return ask([&](Error* cause) { return findRowids(query, rowids, cause); }, error);
}

bool YapDatabaseSecondaryIndexTransaction::getNumberOfRows(std::uint64_t* count, const Query& query,
                                                           Error* error) {
    *count = 0;
    return ask(
        [&](Error* cause) {
            return run(
                "count(*) FROM (SELECT rowid", query, ")",
                [&](const Value& number) { *count = number.unsignedValue(); }, cause);
        },
        error);
}

bool YapDatabaseSecondaryIndexTransaction::enumerateIndexedValuesInColumn(std::string_view column,
                                                                          const Query& query,
                                                                          const ValueBlock& block,
                                                                          Error* error) {
    std::vector<Value> values;
    const bool isFound = ask(
        [&](Error* cause) {
            return isColumn(column, cause) &&
                   run(
                       detail::quotedIdentifier(column), query, "",
                       [&](const Value& value) { values.push_back(value); }, cause);
        },
        error);
    if (!isFound) return false;
    bool stop = false;
    for (std::size_t i = 0; i < values.size() && !stop; ++i) block(values[i], stop);
    return true;
}

bool YapDatabaseSecondaryIndexTransaction::performAggregate(YapDatabaseAggregateFunction function,
                                                            std::string_view column,
                                                            const Query& query, Value* result,
                                                            Error* error) {
    *result = Value();
    return ask(
        [&](Error* cause) {
            std::string of(nameOf(function));
            of.append("(one) FROM (SELECT ").append(detail::quotedIdentifier(column));
            of.append(" AS one");
            return isColumn(column, cause) &&
                   run(
                       of, query, ")", [&](const Value& value) { *result = value; }, cause);
        },
        error);
}

std::vector<std::optional<std::int64_t>> YapDatabaseSecondaryIndexTransaction::rowidsForKeys(
    const std::vector<String>& keys, std::string_view collection) {
    std::vector<std::optional<std::int64_t>> rowids;
    rowids.reserve(keys.size());
    for (const String& key : keys) rowids.push_back(context().rowidForKey(key, collection));
    return rowids;
}

}  // namespace qsml
