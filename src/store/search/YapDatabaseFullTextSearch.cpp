#include "store/search/YapDatabaseFullTextSearch.h"

#include "store/detail/quotedIdentifier.h"
#include "store/search/YapDatabaseFullTextSearchTransaction.h"
#include "store/search/detail/FullTextTable.h"

namespace qsml {

YapDatabaseFullTextSearch::YapDatabaseFullTextSearch(std::vector<std::string> columnNames,
                                                     YapDatabaseColumnHandler handler,
                                                     std::string versionTag, Options options)
    : YapDatabaseColumnIndex(std::move(columnNames), std::move(handler), std::move(versionTag),
                             options),
      options_(std::move(options)) {}

YapDatabaseFullTextSearch::~YapDatabaseFullTextSearch() = default;

std::string YapDatabaseFullTextSearch::configuration() const {
    std::string text;
    for (const std::string& name : columnNames()) text += detail::quotedIdentifier(name) + "\n";
    for (const std::string* option :
         {&options_.tokenizer, &options_.tokenCharacters, &options_.prefixLengths})
        text += detail::quotedIdentifier(*option) + ",";
    return text + (options_.separatesScriptsWithoutBlanks ? "separated" : "as they are");
}

std::unique_ptr<detail::ColumnTable> YapDatabaseFullTextSearch::table(
    YapDatabaseExtensionContext& context) const {
    return std::make_unique<detail::FullTextTable>(context, columnNames(), options_);
}

std::unique_ptr<YapDatabaseExtensionTransaction> YapDatabaseFullTextSearch::newTransaction(
    YapDatabaseExtensionContext& context, std::shared_ptr<const YapDatabaseExtensionState>) {
    return std::make_unique<YapDatabaseFullTextSearchTransaction>(*this, context);
}

}  // namespace qsml
