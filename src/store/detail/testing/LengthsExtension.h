#pragma once
#include <sqlite3.h>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "store/YapDatabaseExtension.h"
#include "store/detail/Statement.h"

namespace qsml {

using Lengths = std::map<std::string, std::int64_t>;

/// Keeps, for each key of the collection "texts", the length of its text plus that of its "base":
/// the text under the same key in "bases", a dependent row. The state is the map, the table its
/// stored form.
class LengthsExtension final : public YapDatabaseExtension {
public:
    struct State final : YapDatabaseExtensionState {
        Lengths lengths;
    };
    struct Changes final : YapDatabaseExtensionChanges {
        int rows = 0;
    };
    class Transaction;

    explicit LengthsExtension(std::string tag = "1") : YapDatabaseExtension(std::move(tag)) {}

    std::string kind() const override { return kindName; }
    std::int64_t formatVersion() const override { return 1; }
    std::string configuration() const override { return columns; }
    std::vector<std::string> parents() const override { return needed; }
    const std::set<std::string, std::less<>>* collectionsWithDependents() const override {
        return watched ? &*watched : nullptr;
    }
    const std::set<std::string, std::less<>>* allowedCollections() const override {
        static const std::set<std::string, std::less<>> allowed{"texts"};
        return &allowed;
    }
    bool createTables(YapDatabaseExtensionContext& context, Error*) override {
        return run(context, "CREATE TABLE " + table(context) +
                                "(key TEXT PRIMARY KEY, length INTEGER) WITHOUT ROWID");
    }
    bool dropTables(YapDatabaseExtensionContext& context, Error*) override {
        return run(context, "DROP TABLE IF EXISTS " + table(context));
    }
    bool fill(YapDatabaseExtensionContext& context, Error* error) override {
        ++fills;
        Lengths lengths = rebuilt(context);
        if (failsToFill) {
            report(error, {"Test", 1, "The filling fails."});
            return false;
        }
        return write(context, lengths);
    }
    std::shared_ptr<const YapDatabaseExtensionState> loadState(YapDatabaseExtensionContext& context,
                                                               Error* error) override {
        ++loads;
        auto state = std::make_shared<State>();
        const std::string sql = "SELECT key, length FROM " + table(context);
        detail::Statement statement(sql.c_str());
        detail::Query query(statement, context.handle());
        while (query.row()) state->lengths.emplace(query.text(0), query.number(1));
        if (!query.ok()) report(error, {"Test", query.code(), "The table cannot be read."});
        return state;
    }
    std::shared_ptr<const YapDatabaseExtensionChanges> changesOfRegistration(
        YapDatabaseExtensionContext&,
        const std::shared_ptr<const YapDatabaseExtensionState>& state) override {
        auto changes = std::make_shared<Changes>();
        changes->rows = static_cast<int>(lengthsOf(state).size());
        return changes;
    }
    std::unique_ptr<YapDatabaseExtensionTransaction> newTransaction(
        YapDatabaseExtensionContext& context,
        std::shared_ptr<const YapDatabaseExtensionState> state) override;
    bool check(
        YapDatabaseExtensionContext& context,
        const std::function<void(std::string_view, std::string_view, std::string_view)>& fault,
        Error* error) override {
        const auto state = loadState(context, error);
        if (lengthsOf(state) != rebuilt(context)) fault("texts", "", "the lengths differ");
        return true;
    }

    static Lengths lengthsOf(const std::shared_ptr<const YapDatabaseExtensionState>& state) {
        const auto* known = dynamic_cast<const State*>(state.get());
        return known ? known->lengths : Lengths();
    }
    static std::int64_t lengthOf(YapDatabaseExtensionContext& context, const YapDatabaseRow& row) {
        const String base = context.transaction().objectForKey(row.key, "bases").string();
        return static_cast<std::int64_t>(row.object.string().size() + base.size());
    }
    Lengths rebuilt(YapDatabaseExtensionContext& context) {
        Lengths lengths;
        context.enumerateRows(allowedCollections(), [&](const YapDatabaseRow& row) {
            lengths[std::string(row.key)] = lengthOf(context, row);
        });
        return lengths;
    }
    static std::string table(YapDatabaseExtensionContext& context) {
        return context.tableName("lengths");
    }
    static bool run(YapDatabaseExtensionContext& context, const std::string& sql) {
        return sqlite3_exec(context.handle(), sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
    }
    static bool write(YapDatabaseExtensionContext& context, const Lengths& lengths) {
        if (!run(context, "DELETE FROM " + table(context))) return false;
        const std::string sql = "INSERT INTO " + table(context) + " VALUES(?1, ?2)";
        detail::Statement statement(sql.c_str());
        for (const auto& [key, length] : lengths) {
            detail::Query query(statement, context.handle());
            if (!query.bindText(1, key).bind(2, length).run()) return false;
        }
        return true;
    }

    std::string kindName = "lengths", columns;
    std::optional<std::set<std::string, std::less<>>> watched;  // all, if nil
    std::string foundInSlot;  // by the latest transaction, which leaves its kind there
    bool failsToFill = false, failsToFlush = false, writesAtFlush = false;
    std::vector<std::string> needed;
    int fills = 0, loads = 0, commits = 0;
    std::string calls;
};

class LengthsExtension::Transaction final : public YapDatabaseExtensionTransaction {
public:
    Transaction(LengthsExtension& extension, YapDatabaseExtensionContext& context, Lengths lengths)
        : extension_(extension), context_(context), lengths_(std::move(lengths)) {}

    std::int64_t length(const std::string& key) const {
        const auto found = lengths_.find(key);
        if (found == lengths_.end()) return -1;
        return found->second;
    }
    std::size_t count() const { return lengths_.size(); }
    void forget() { lengths_.clear(), hasForgotten_ = true; }

    void didInsertRow(const YapDatabaseRow& row) override { note("insert", row), set(row); }
    void didUpdateRow(const YapDatabaseRow& row, YapDatabaseUpdate update) override {
        note(update.isTouch ? "touch" : update.object ? "update" : "metadata", row);
        set(row);
    }
    void willRemoveRow(const YapDatabaseRow& row) override {
        note(context_.rowidForKey(row.key, row.collection) == row.rowid ? "will" : "gone?", row);
    }
    void didRemoveRow(const YapDatabaseRow& row) override {
        note(context_.rowidForKey(row.key, row.collection) ? "there?" : "did", row);
        lengths_.erase(std::string(row.key));
    }
    std::vector<YapDatabaseCollectionKey> dependentsOfRow(const YapDatabaseRow& row) override {
        if (row.collection != "bases") return {};
        return {{"texts", String(row.key)}, {"texts", String(row.key)}, {"texts", "absent"}};
    }
    void dependentChanged(const YapDatabaseRow& row) override { note("dependent", row), set(row); }
    bool flush(Error* error) override {
        extension_.calls += "flush;";
        if (extension_.failsToFlush) {
            report(error, {"Test", 2, "The flush fails."});
            return false;
        }
        auto& transaction = *context_.readWriteTransaction();
        if (extension_.writesAtFlush && !transaction.hasObjectForKey("flushed", "texts"))
            transaction.setObject("by the extension", "flushed", "texts");
        return true;
    }
    bool writeTables(Error*) override {
        extension_.calls += "write;";
        return write(context_, lengths_);
    }
    bool hasOwnChanges() const override { return hasForgotten_; }
    std::shared_ptr<const YapDatabaseExtensionChanges> changes() override {
        if (rows_ == 0) return nullptr;
        auto changes = std::make_shared<Changes>();
        changes->rows = rows_;
        return changes;
    }
    std::shared_ptr<const YapDatabaseExtensionState> newState() override {
        auto state = std::make_shared<State>();
        state->lengths = lengths_;
        return state;
    }
    void didCommit() override { ++extension_.commits; }

private:
    void note(const char* what, const YapDatabaseRow& row) {
        ++rows_;
        extension_.calls += std::string(what) + " " + std::string(row.key) + ";";
    }
    void set(const YapDatabaseRow& row) {
        lengths_[std::string(row.key)] = lengthOf(context_, row);
    }

    LengthsExtension& extension_;
    YapDatabaseExtensionContext& context_;
    Lengths lengths_;
    bool hasForgotten_ = false;
    int rows_ = 0;
};

inline std::unique_ptr<YapDatabaseExtensionTransaction> LengthsExtension::newTransaction(
    YapDatabaseExtensionContext& context, std::shared_ptr<const YapDatabaseExtensionState> state) {
    const auto kept = std::static_pointer_cast<const std::string>(context.slot());
    foundInSlot = kept ? *kept : "";
    context.slot() = std::make_shared<std::string>(kindName);
    return std::make_unique<Transaction>(*this, context, lengthsOf(state));
}

}  // namespace qsml
