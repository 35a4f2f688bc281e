#include "testing/RowListExtension.h"

#include <sqlite3.h>

#include <map>

#include "store/YapDatabaseOptions.h"

namespace qsml {
namespace {

class State final : public YapDatabaseExtensionState {};

bool failed(sqlite3* handle, Error* error) {
    report(error, {std::string(YapDatabaseErrorDomain), sqlite3_extended_errcode(handle),
                   sqlite3_errmsg(handle)});
    return false;
}

bool run(YapDatabaseExtensionContext& context, const std::string& sql, Error* error) {
    return sqlite3_exec(context.handle(), sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK ||
           failed(context.handle(), error);
}

/// One prepared statement; binds a row id and, where it has one, a key.
class Statement {
public:
    Statement(sqlite3* handle, const std::string& sql) : handle_(handle) {
        sqlite3_prepare_v2(handle, sql.c_str(), -1, &statement_, nullptr);
    }
    ~Statement() { sqlite3_finalize(statement_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    bool run(std::int64_t rowid, std::string_view key, Error* error) {
        bool done = statement_ && sqlite3_bind_int64(statement_, 1, rowid) == SQLITE_OK;
        if (done && sqlite3_bind_parameter_count(statement_) > 1)
            done = sqlite3_bind_text64(statement_, 2, key.data(), key.size(), SQLITE_STATIC,
                                       SQLITE_UTF8) == SQLITE_OK;
        done = done && sqlite3_step(statement_) == SQLITE_DONE;
        if (!done) failed(handle_, error);
        sqlite3_reset(statement_);
        return done;
    }
    sqlite3_stmt* get() const { return statement_; }

private:
    sqlite3* handle_;
    sqlite3_stmt* statement_ = nullptr;
};

}  // namespace

bool RowListExtension::createTables(YapDatabaseExtensionContext& context, Error* error) {
    return run(context,
               "CREATE TABLE " + context.tableName("rows") + " (id INTEGER PRIMARY KEY, key TEXT)",
               error);
}

bool RowListExtension::dropTables(YapDatabaseExtensionContext& context, Error* error) {
    return run(context, "DROP TABLE " + context.tableName("rows"), error);
}

bool RowListExtension::fill(YapDatabaseExtensionContext& context, Error* error) {
    Statement insert(context.handle(),
                     "INSERT INTO " + context.tableName("rows") + " VALUES (?, ?)");
    bool done = true;
    const bool enumerated = context.enumerateRows(nullptr, [&](const YapDatabaseRow& row) {
        done = done && insert.run(row.rowid, row.key, error);
    });
    if (!enumerated && done) failed(context.handle(), error);
    return enumerated && done;
}

std::shared_ptr<const YapDatabaseExtensionState> RowListExtension::loadState(
    YapDatabaseExtensionContext&, Error*) {
    return std::make_shared<State>();
}

std::unique_ptr<YapDatabaseExtensionTransaction> RowListExtension::newTransaction(
    YapDatabaseExtensionContext& context, std::shared_ptr<const YapDatabaseExtensionState>) {
    return std::make_unique<Transaction>(context);
}

bool RowListExtension::check(
    YapDatabaseExtensionContext& context,
    const std::function<void(std::string_view, std::string_view, std::string_view)>& fault,
    Error* error) {
    std::map<std::int64_t, std::string> stored;
    Statement select(context.handle(), "SELECT id, key FROM " + context.tableName("rows"));
    while (sqlite3_step(select.get()) == SQLITE_ROW)
        stored.emplace(
            sqlite3_column_int64(select.get(), 0),
            std::string(static_cast<const char*>(sqlite3_column_blob(select.get(), 1)),
                        static_cast<std::size_t>(sqlite3_column_bytes(select.get(), 1))));
    if (sqlite3_reset(select.get()) != SQLITE_OK) return failed(context.handle(), error);
    const bool enumerated = context.enumerateRows(nullptr, [&](const YapDatabaseRow& row) {
        const auto found = stored.find(row.rowid);
        if (found == stored.end() || found->second != row.key)
            fault(row.collection, row.key, "missing in the row list");
        if (found != stored.end()) stored.erase(found);
    });
    for (const auto& [id, key] : stored) fault("", key, "only in the row list");
    return enumerated || failed(context.handle(), error);
}

void RowListExtension::Transaction::didInsertRow(const YapDatabaseRow& row) {
    inserted_.emplace_back(row.rowid, row.key);
}

void RowListExtension::Transaction::didRemoveRow(const YapDatabaseRow& row) {
    removed_.push_back(row.rowid);
}

bool RowListExtension::Transaction::writeTables(Error* error) {
    Statement insert(handle(), "INSERT INTO " + table() + " VALUES (?, ?)");
    Statement remove(handle(), "DELETE FROM " + table() + " WHERE id = ?");
    for (const auto& [id, key] : inserted_)
        if (!insert.run(id, key, error)) return false;
    for (const auto id : removed_)
        if (!remove.run(id, {}, error)) return false;
    return true;
}

std::shared_ptr<const YapDatabaseExtensionState> RowListExtension::Transaction::newState() {
    return std::make_shared<State>();
}

}  // namespace qsml
