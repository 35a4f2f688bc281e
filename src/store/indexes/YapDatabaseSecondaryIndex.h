#pragma once
#include <memory>
#include <string>
#include <vector>

#include "store/indexes/YapDatabaseColumnIndex.h"

namespace qsml {

enum class YapDatabaseSecondaryIndexType { integer = 0, real = 1, numeric = 2, text = 3, blob = 4 };

struct YapDatabaseSecondaryIndexColumn {
    /// Not empty, no zero byte, and not a word for the row id (rowid, oid, _rowid_); names that
    /// differ only in the case of ASCII letters are one name.
    std::string name;
    YapDatabaseSecondaryIndexType type = YapDatabaseSecondaryIndexType::text;
};

/// Typed columns of rows, to be asked with YapDatabaseQuery through
/// YapDatabaseSecondaryIndexTransaction. Each column has an index of its own in SQLite.
///
/// Columns hold numbers (32-bit reals widened), texts, dates (as seconds since the reference date),
/// bytes, URLs and UUIDs (as texts), with SQLite's affinity of the type; other values, and NaN,
/// count as none. Another set of columns or another version tag rebuilds.
class QSML_EXPORT YapDatabaseSecondaryIndex final : public YapDatabaseColumnIndex {
public:
    using Type = YapDatabaseSecondaryIndexType;
    using Column = YapDatabaseSecondaryIndexColumn;

    YapDatabaseSecondaryIndex(std::vector<Column> columns, YapDatabaseColumnHandler handler,
                              std::string versionTag = "", Options options = {});
    ~YapDatabaseSecondaryIndex() override;

    const std::vector<Column>& columns() const noexcept { return columns_; }

    std::string kind() const override { return "YapDatabaseSecondaryIndex"; }
    std::int64_t formatVersion() const override { return 1; }
    std::string configuration() const override;
    std::unique_ptr<YapDatabaseExtensionTransaction> newTransaction(
        YapDatabaseExtensionContext& context,
        std::shared_ptr<const YapDatabaseExtensionState> state) override;

private:
    std::unique_ptr<detail::ColumnTable> table(YapDatabaseExtensionContext& context) const override;

    std::vector<Column> columns_;
};

}  // namespace qsml
