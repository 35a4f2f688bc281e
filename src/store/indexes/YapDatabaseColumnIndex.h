#pragma once
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "store/YapDatabaseExtension.h"

namespace qsml {

namespace detail {
class ColumnTable;
class ColumnWork;
}  // namespace detail

/// What a handler says of one row: a value for some of the columns; the others have none.
class QSML_EXPORT YapDatabaseColumnValues {
public:
    explicit YapDatabaseColumnValues(const std::vector<std::string>& columns);

    /// Replaces what the column had. Throws YapDatabaseException when there is no such column.
    void set(std::string_view column, Value value);

    /// In the order of the columns; nil where there is none.
    std::vector<Value>& values() noexcept { return values_; }
    const std::vector<Value>& values() const noexcept { return values_; }
    /// No column has a value.
    bool isEmpty() const noexcept;
    void clear();
    /// What it has, which it then no longer has.
    std::vector<Value> take();

private:
    const std::vector<std::string>& columns_;
    std::vector<Value> values_;
};

/// Fills the columns of a row. Runs on the thread of the transaction, when the row is written or
/// touched, and again at its end when a row that this one depends on has changed; reads what the
/// transaction sees and must not write. What it throws is logged, and the
/// row then has no columns: a row that cannot be indexed can still be stored.
using YapDatabaseColumnHandler = std::function<void(
    YapDatabaseReadTransaction& transaction, const YapDatabaseRow& row, YapDatabaseColumnValues&)>;

/// Rows that others read: when a row of these collections is inserted, changed, touched or about to
/// be removed, `rows` names those whose columns must be computed again. In removals the object is
/// nil, but the row can still be read. What it throws makes the commit fail, because nobody knows
/// then which rows are out of date.
struct YapDatabaseDependents {
    std::set<std::string, std::less<>> collections = {};
    std::function<std::vector<YapDatabaseCollectionKey>(YapDatabaseReadTransaction& transaction,
                                                        const YapDatabaseRow& row)>
        rows = {};
};

struct YapDatabaseColumnIndexOptions {
    /// Whose rows are indexed; nothing means all.
    std::optional<std::set<std::string, std::less<>>> allowedCollections = {};
    YapDatabaseDependents dependents = {};
};

/// What secondary indexes and full-text indexes have in common: named columns that a handler fills
/// for each row, in tables that after each commit are what a rebuild would make.
///
/// The columns of rows are written in the order of row ids, before the commit (or earlier, when the
/// transaction asks the index). Rows without a
/// value in any column, and rows that do not decode, are not in the tables. Rows whose columns are
/// what they were write nothing. A failure of SQLite makes the commit fail.
///
/// Thread-safe as extensions are: it has no state of its own that changes.
class QSML_EXPORT YapDatabaseColumnIndex : public YapDatabaseExtension {
public:
    using Options = YapDatabaseColumnIndexOptions;

    ~YapDatabaseColumnIndex() override;

    const std::vector<std::string>& columnNames() const noexcept { return columnNames_; }
    const std::set<std::string, std::less<>>* allowedCollections() const override;
    const std::set<std::string, std::less<>>* collectionsWithDependents() const override;

    bool createTables(YapDatabaseExtensionContext& context, Error* error) override;
    bool dropTables(YapDatabaseExtensionContext& context, Error* error) override;
    bool fill(YapDatabaseExtensionContext& context, Error* error) override;
    /// Null: everything is in the tables.
    std::shared_ptr<const YapDatabaseExtensionState> loadState(YapDatabaseExtensionContext& context,
                                                               Error* error) override;
    bool check(YapDatabaseExtensionContext& context,
               const std::function<void(std::string_view collection, std::string_view key,
                                        std::string_view description)>& fault,
               Error* error) override;

protected:
    YapDatabaseColumnIndex(std::vector<std::string> columnNames, YapDatabaseColumnHandler handler,
                           std::string versionTag, Options options);

private:
    friend class detail::ColumnWork;
    /// The tables, on the connection of the context.
    virtual std::unique_ptr<detail::ColumnTable> table(
        YapDatabaseExtensionContext& context) const = 0;

    std::vector<std::string> columnNames_;
    YapDatabaseColumnHandler handler_;
    Options options_;
};

/// The part of such an index in one transaction; confined to it.
class QSML_EXPORT YapDatabaseColumnIndexTransaction : public YapDatabaseExtensionTransaction {
public:
    using KeyBlock = YapDatabaseReadTransaction::CollectionKeyBlock;
    using ObjectBlock = YapDatabaseReadTransaction::CollectionObjectBlock;
    using RowBlock = std::function<void(std::string_view collection, std::string_view key,
                                        const Value& object, const Value& metadata, bool& stop)>;

    ~YapDatabaseColumnIndexTransaction() override;

    /// The rows that this transaction has changed in the index so far, ascending; they may be there
    /// now or gone. Complete once the index has flushed.
    const std::vector<std::int64_t>& changedRowids() const;
    /// Grows with each change of a row in the index.
    std::uint64_t changeNumber() const;

    void didInsertRow(const YapDatabaseRow& row) override;
    void didUpdateRow(const YapDatabaseRow& row, YapDatabaseUpdate update) override;
    void didRemoveRow(const YapDatabaseRow& row) override;
    std::vector<YapDatabaseCollectionKey> dependentsOfRow(const YapDatabaseRow& row) override;
    bool flush(Error* error) override;
    std::shared_ptr<const YapDatabaseExtensionState> newState() override;

protected:
    YapDatabaseColumnIndexTransaction(const YapDatabaseColumnIndex& index,
                                      YapDatabaseExtensionContext& context);

    detail::ColumnWork& work() noexcept { return *work_; }
    YapDatabaseExtensionContext& context() noexcept { return context_; }
    /// Asks with all that the transaction wrote before. The failure goes to the error, or to the
    /// log where that is null.
    bool ask(const std::function<bool(Error* error)>& question, Error* error);
    using Search = std::function<bool(std::vector<std::int64_t>* rowids, Error* error)>;
    // They find all rows first, so the block may write; rows that go meanwhile are left out.
    bool enumerateKeys(const Search& search, const KeyBlock& block, Error* error);
    bool enumerateObjects(const Search& search, const ObjectBlock& block, Error* error);
    bool enumerateRows(const Search& search, const RowBlock& block, Error* error);

private:
    YapDatabaseExtensionContext& context_;
    std::unique_ptr<detail::ColumnWork> work_;
};

}  // namespace qsml
