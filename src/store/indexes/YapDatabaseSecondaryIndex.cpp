#include "store/indexes/YapDatabaseSecondaryIndex.h"

#include "store/detail/quotedIdentifier.h"
#include "store/indexes/YapDatabaseSecondaryIndexTransaction.h"
#include "store/indexes/detail/ColumnTable.h"

namespace qsml {

namespace {

constexpr std::string_view suffix = "secondaryIndex";

std::string_view declaredType(YapDatabaseSecondaryIndexType type) {
    switch (type) {
        case YapDatabaseSecondaryIndexType::integer:
            return "INTEGER";
        case YapDatabaseSecondaryIndexType::real:
            return "REAL";
        case YapDatabaseSecondaryIndexType::numeric:
            return "NUMERIC";
        case YapDatabaseSecondaryIndexType::text:
            return "TEXT";
        case YapDatabaseSecondaryIndexType::blob:
            return "BLOB";
    }
    return "BLOB";
}

std::vector<std::string> namesOf(const std::vector<YapDatabaseSecondaryIndexColumn>& columns) {
    std::vector<std::string> names;
    names.reserve(columns.size());
    for (const auto& column : columns) names.push_back(column.name);
    return names;
}

std::vector<detail::TableColumn> tableColumns(
    const std::vector<YapDatabaseSecondaryIndexColumn>& columns) {
    std::vector<detail::TableColumn> made;
    made.reserve(columns.size());
    for (const auto& column : columns) made.push_back({column.name, declaredType(column.type)});
    return made;
}

bool isWordForRowid(std::string name) {
    for (char& c : name)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return name == "rowid" || name == "oid" || name == "_rowid_";
}

/// With an index of SQLite's for each column, made once the rows are in.
class SecondaryIndexTable final : public detail::ColumnTable {
public:
    using ColumnTable::ColumnTable;

    bool create(Error* error) override {
        for (const detail::TableColumn& column : columns()) {
            if (!isWordForRowid(column.name)) continue;
            report(error,
                   detail::extensionFailure("A column cannot be named \"" + column.name + "\"."));
            return false;
        }
        if (!columns().empty()) return ColumnTable::create(error);
        report(error, detail::extensionFailure("A secondary index needs a column."));
        return false;
    }
    bool finishFilling(YapDatabaseExtensionContext& context, Error* error) override {
        for (std::size_t i = 0; i < columns().size(); ++i) {
            const std::string index = std::string(suffix) + "_" + std::to_string(i);
            if (!execute("CREATE INDEX " + context.tableName(index) + " ON " + name() + "(" +
                             detail::quotedIdentifier(columns()[i].name) + ")",
                         error))
                return false;
        }
        return true;
    }
};

}  // namespace

YapDatabaseSecondaryIndex::YapDatabaseSecondaryIndex(std::vector<Column> columns,
                                                     YapDatabaseColumnHandler handler,
                                                     std::string versionTag, Options options)
    : YapDatabaseColumnIndex(namesOf(columns), std::move(handler), std::move(versionTag),
                             std::move(options)),
      columns_(std::move(columns)) {}

YapDatabaseSecondaryIndex::~YapDatabaseSecondaryIndex() = default;

std::string YapDatabaseSecondaryIndex::configuration() const {
    std::string text;
    for (const Column& column : columns_) {
        text += detail::quotedIdentifier(column.name);
        text.append(" ").append(declaredType(column.type)).append("\n");
    }
    return text;
}

std::unique_ptr<detail::ColumnTable> YapDatabaseSecondaryIndex::table(
    YapDatabaseExtensionContext& context) const {
    return std::make_unique<SecondaryIndexTable>(context, suffix, tableColumns(columns_));
}

std::unique_ptr<YapDatabaseExtensionTransaction> YapDatabaseSecondaryIndex::newTransaction(
    YapDatabaseExtensionContext& context, std::shared_ptr<const YapDatabaseExtensionState>) {
    return std::make_unique<YapDatabaseSecondaryIndexTransaction>(*this, context);
}

}  // namespace qsml
