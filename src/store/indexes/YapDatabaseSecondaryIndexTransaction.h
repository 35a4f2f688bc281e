#pragma once
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "store/indexes/YapDatabaseColumnIndex.h"
#include "store/indexes/YapDatabaseQuery.h"

namespace qsml {

class YapDatabaseSecondaryIndex;

enum class YapDatabaseAggregateFunction { minimum, maximum, sum, average };

/// Questions to a secondary index, on one snapshot; in a read-write transaction with what it has
/// written, also to rows that others depend on. Confined to the transaction.
///
///     if (auto* index = transaction.ext<YapDatabaseSecondaryIndexTransaction>("contentPackIndex"))
///         index->enumerateKeysMatchingQuery(YapDatabaseQuery("WHERE name == ?", {name}), block);
///
/// A query that SQLite does not understand or that is not allowed, and a failure of the file, give
/// false: nothing else happens, and the cause goes to the error, or to the log where none is given.
/// So does a list for IN with more members than SQLite has parameters (32,766). What a block throws
/// passes through.
class QSML_EXPORT YapDatabaseSecondaryIndexTransaction final
    : public YapDatabaseColumnIndexTransaction {
public:
    using Query = YapDatabaseQuery;
    using ValueBlock = std::function<void(const Value& value, bool& stop)>;

    YapDatabaseSecondaryIndexTransaction(const YapDatabaseSecondaryIndex& index,
                                         YapDatabaseExtensionContext& context);
    ~YapDatabaseSecondaryIndexTransaction() override;

    // In the query's order, else in that of row ids. The matching rows are found before the first
    // call of the block, which may write; rows that do not decode have only a key.
    bool enumerateKeysMatchingQuery(const Query& query, const KeyBlock& block,
                                    Error* error = nullptr);
    bool enumerateKeysAndObjectsMatchingQuery(const Query& query, const ObjectBlock& block,
                                              Error* error = nullptr);
    bool enumerateRowsMatchingQuery(const Query& query, const RowBlock& block,
                                    Error* error = nullptr);
    bool rowidsMatchingQuery(const Query& query, std::vector<std::int64_t>* rowids,
                             Error* error = nullptr);
    bool getNumberOfRows(std::uint64_t* count, const Query& query, Error* error = nullptr);

    /// The column's value of each matching row: an integer, a 64-bit real, text, data, or nil where
    /// the row has none.
    bool enumerateIndexedValuesInColumn(std::string_view column, const Query& query,
                                        const ValueBlock& block, Error* error = nullptr);
    /// Over the matching rows' values; nil when there is none.
    bool performAggregate(YapDatabaseAggregateFunction function, std::string_view column,
                          const Query& query, Value* result, Error* error = nullptr);

    /// For each key the id of its row, whether indexed or not; nothing where there is no such row.
    std::vector<std::optional<std::int64_t>> rowidsForKeys(const std::vector<String>& keys,
                                                           std::string_view collection);

private:
    using Row = std::function<void(const Value& value)>;
    /// Runs "SELECT BEFORE TABLE QUERY AFTER" and gives the first column of each row.
    bool run(std::string_view before, const Query& query, std::string_view after, const Row& row,
             Error* error);
    bool findRowids(const Query& query, std::vector<std::int64_t>* rowids, Error* error);
    Search search(const Query& query);
    bool isColumn(std::string_view column, Error* error) const;

    const YapDatabaseSecondaryIndex& index_;
};

}  // namespace qsml
