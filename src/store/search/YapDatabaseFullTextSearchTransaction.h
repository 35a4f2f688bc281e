#pragma once
#include <cstdint>
#include <string_view>
#include <vector>

#include "store/indexes/YapDatabaseColumnIndex.h"

namespace qsml {

class YapDatabaseFullTextSearch;

/// Searches of one snapshot; in a read-write transaction with what it has written, also to rows
/// that others depend on. Confined to the transaction.
///
/// Queries are in FTS5's language (column: "a phrase", begin*, a OR b); for what a person typed or
/// for an identifier there are the functions of fullTextQuery.h. Matches come in the order of row
/// ids. An empty query finds nothing. A malformed one finds nothing and gives false, as does a
/// failure of the file; the cause goes to the error, or to the log where none is given.
class QSML_EXPORT YapDatabaseFullTextSearchTransaction final
    : public YapDatabaseColumnIndexTransaction {
public:
    YapDatabaseFullTextSearchTransaction(const YapDatabaseFullTextSearch& index,
                                         YapDatabaseExtensionContext& context);
    ~YapDatabaseFullTextSearchTransaction() override;

    // All matches are found before the first call of the block, which may write; rows that do not
    // decode have only a key.
    bool enumerateKeysMatching(std::string_view query, const KeyBlock& block,
                               Error* error = nullptr);
    bool enumerateKeysAndObjectsMatching(std::string_view query, const ObjectBlock& block,
                                         Error* error = nullptr);
    bool enumerateRowsMatching(std::string_view query, const RowBlock& block,
                               Error* error = nullptr);
    /// Ascending.
    bool rowidsMatching(std::string_view query, std::vector<std::int64_t>* rowids,
                        Error* error = nullptr);

    /// Whether that row is among them.
    bool rowMatches(std::int64_t rowid, std::string_view query, bool* matches,
                    Error* error = nullptr);

private:
    bool findRowids(std::string_view query, std::optional<std::int64_t> row,
                    std::vector<std::int64_t>* rowids, Error* error);
    Search search(std::string_view query);

    const YapDatabaseFullTextSearch& index_;
};

}  // namespace qsml
