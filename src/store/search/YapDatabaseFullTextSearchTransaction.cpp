#include "store/search/YapDatabaseFullTextSearchTransaction.h"

#include "store/indexes/detail/ColumnWork.h"
#include "store/search/YapDatabaseFullTextSearch.h"
#include "store/search/detail/FullTextTable.h"
#include "store/search/detail/separatedText.h"

namespace qsml {

namespace {

/// What the module would not refuse, but take for something else than a query.
std::string_view faultOf(std::string_view query) {
    if (query.find('\0') != std::string_view::npos) return "it holds a zero byte";
    if (query.front() == '*') return "it begins with an asterisk";  // a command to the module
    return {};
}

bool isBlank(std::string_view query) {
    return query.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

}  // namespace

YapDatabaseFullTextSearchTransaction::YapDatabaseFullTextSearchTransaction(
    const YapDatabaseFullTextSearch& index, YapDatabaseExtensionContext& context)
    : YapDatabaseColumnIndexTransaction(index, context), index_(index) {}

YapDatabaseFullTextSearchTransaction::~YapDatabaseFullTextSearchTransaction() = default;

bool YapDatabaseFullTextSearchTransaction::findRowids(std::string_view query,
                                                      std::optional<std::int64_t> row,
                                                      std::vector<std::int64_t>* rowids,
                                                      Error* error) {
    rowids->clear();
    if (isBlank(query)) return true;
    const std::string_view fault = faultOf(query);
    if (!fault.empty()) {
        report(error, detail::extensionFailure("The full-text query \"" + std::string(query) +
                                               "\" cannot be used: " + std::string(fault) + "."));
        return false;
    }
    const std::string text = index_.options().separatesScriptsWithoutBlanks
                                 ? detail::separatedQuery(query, index_.columnNames())
                                 : std::string(query);
    auto& table = static_cast<detail::FullTextTable&>(work().table());
    return row ? table.matchRow(text, *row, rowids, error) : table.match(text, rowids, error);
}

YapDatabaseColumnIndexTransaction::Search YapDatabaseFullTextSearchTransaction::search(
    std::string_view query) {
    return [this, query](std::vector<std::int64_t>* rowids, Error* error) {
        return findRowids(query, std::nullopt, rowids, error);
    };
}

bool YapDatabaseFullTextSearchTransaction::enumerateKeysMatching(std::string_view query,
                                                                 const KeyBlock& block,
                                                                 Error* error) {
    return enumerateKeys(search(query), block, error);
}

bool YapDatabaseFullTextSearchTransaction::enumerateKeysAndObjectsMatching(std::string_view query,
                                                                           const ObjectBlock& block,
                                                                           Error* error) {
    return enumerateObjects(search(query), block, error);
}

bool YapDatabaseFullTextSearchTransaction::enumerateRowsMatching(std::string_view query,
                                                                 const RowBlock& block,
                                                                 Error* error) {
    return enumerateRows(search(query), block, error);
}

bool YapDatabaseFullTextSearchTransaction::rowidsMatching(std::string_view query,
                                                          std::vector<std::int64_t>* rowids,
                                                          Error* error) {
    return ask([&](Error* cause) { return findRowids(query, std::nullopt, rowids, cause); }, error);
}

bool YapDatabaseFullTextSearchTransaction::rowMatches(std::int64_t rowid, std::string_view query,
                                                      bool* matches, Error* error) {
    std::vector<std::int64_t> found;
    const bool isAnswered =
        ask([&](Error* cause) { return findRowids(query, rowid, &found, cause); }, error);
    *matches = !found.empty();
    return isAnswered;
}

}  // namespace qsml
