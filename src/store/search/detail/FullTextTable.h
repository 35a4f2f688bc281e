#pragma once
#include <string>
#include <vector>

#include "store/indexes/detail/ColumnTable.h"
#include "store/search/YapDatabaseFullTextSearch.h"

namespace qsml::detail {

/// The texts in a table of ours, and their words in a table of SQLite's full-text module that
/// refers to it: the module must be told the old text to forget it, and we need that to see whether
/// a row has changed at all.
class FullTextTable final : public ColumnTable {
public:
    FullTextTable(YapDatabaseExtensionContext& context, const std::vector<std::string>& columnNames,
                  const YapDatabaseFullTextSearchOptions& options);

    bool create(Error* error) override;
    bool drop(Error* error) override;
    void normalize(Values& values) const override;
    bool insert(std::int64_t rowid, const Values& values, Error* error) override;
    bool replace(std::int64_t rowid, const Values& values, Error* error) override;
    bool remove(std::int64_t rowid, bool* wasThere, Error* error) override;
    bool verify(YapDatabaseExtensionContext& context, const Fault& fault, Error* error) override;

    /// Ascending. The query is the module's language, with the scripts without blanks set apart.
    bool match(const std::string& query, std::vector<std::int64_t>* rowids, Error* error);
    /// The same for one row: `rowids` has it then, or nothing.
    bool matchRow(const std::string& query, std::int64_t rowid, std::vector<std::int64_t>* rowids,
                  Error* error);

private:
    bool verifyWords(bool* areSound, Error* error);
    bool holds(std::int64_t rowid, bool* isThere, Error* error);
    bool forgetWords(std::int64_t rowid, Error* error);
    bool addWords(std::int64_t rowid, const Values& values, Error* error);
    static bool collect(StatementRun& run, const std::string& query,
                        std::vector<std::int64_t>* rowids, Error* error);
    bool configure(std::string_view option, int value, Error* error);

    const YapDatabaseFullTextSearchOptions& options_;
    std::string words_;  // the module's table, quoted
    std::string holdsText_, forgetText_, addText_, matchText_, matchRowText_;
};

}  // namespace qsml::detail
