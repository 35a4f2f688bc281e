#pragma once
#include <memory>

#include "store/YapDatabaseExtension.h"

namespace qsml {

/// The simplest extension: a table with the row id and key of every row. It shows whether the store
/// keeps extensions in step with the rows, whatever fails. Thread-safe as extensions are.
class RowListExtension final : public YapDatabaseExtension {
public:
    explicit RowListExtension(std::string versionTag = "1")
        : YapDatabaseExtension(std::move(versionTag)) {}

    std::string kind() const override { return "RowList"; }
    std::int64_t formatVersion() const override { return 1; }
    bool createTables(YapDatabaseExtensionContext& context, Error* error) override;
    bool dropTables(YapDatabaseExtensionContext& context, Error* error) override;
    bool fill(YapDatabaseExtensionContext& context, Error* error) override;
    std::shared_ptr<const YapDatabaseExtensionState> loadState(YapDatabaseExtensionContext& context,
                                                               Error* error) override;
    std::unique_ptr<YapDatabaseExtensionTransaction> newTransaction(
        YapDatabaseExtensionContext& context,
        std::shared_ptr<const YapDatabaseExtensionState> state) override;
    bool check(YapDatabaseExtensionContext& context,
               const std::function<void(std::string_view collection, std::string_view key,
                                        std::string_view description)>& fault,
               Error* error) override;

    /// SQLite's handle of the transaction that looks this extension up.
    class Transaction : public YapDatabaseExtensionTransaction {
    public:
        explicit Transaction(YapDatabaseExtensionContext& context) : context_(context) {}
        ::sqlite3* handle() const { return context_.handle(); }
        std::string table() const { return context_.tableName("rows"); }

        void didInsertRow(const YapDatabaseRow& row) override;
        void didRemoveRow(const YapDatabaseRow& row) override;
        bool writeTables(Error* error) override;
        std::shared_ptr<const YapDatabaseExtensionState> newState() override;

    private:
        YapDatabaseExtensionContext& context_;
        std::vector<std::pair<std::int64_t, std::string>> inserted_;
        std::vector<std::int64_t> removed_;
    };
};

}  // namespace qsml
