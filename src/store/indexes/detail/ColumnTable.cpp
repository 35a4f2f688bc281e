#include "store/indexes/detail/ColumnTable.h"

#include <sqlite3.h>

#include "store/detail/quotedIdentifier.h"

namespace qsml::detail {

ColumnTable::ColumnTable(YapDatabaseExtensionContext& context, std::string_view suffix,
                         std::vector<TableColumn> columns)
    : handle_(context.handle()),
      statements_(StatementCache::of(handle_)),
      name_(context.tableName(suffix)),
      columns_(std::move(columns)) {
    const auto parameter = [](std::size_t i) { return "?" + std::to_string(i + 2); };
    const auto withSign = [&](std::string_view sign) {
        return [this, parameter, sign](std::size_t i) {
            return quotedIdentifier(columns_[i].name) + std::string(sign) + parameter(i);
        };
    };
    // SQLite compares, so that stored and new values meet with the same affinity.
    compareText_ =
        "SELECT " + joined(" AND ", withSign(" IS ")) + " FROM " + name_ + " WHERE rowid=?1";
    insertText_ = "INSERT INTO " + name_ + " VALUES(?1, " + joined(", ", parameter) + ")";
    replaceText_ = "UPDATE " + name_ + " SET " + joined(", ", withSign("=")) + " WHERE rowid=?1";
    removeText_ = "DELETE FROM " + name_ + " WHERE rowid=?1";
}

ColumnTable::~ColumnTable() = default;

std::string ColumnTable::joined(std::string_view separator,
                                const std::function<std::string(std::size_t)>& text) const {
    std::string all;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (i) all += separator;
        all += text(i);
    }
    return all;
}

bool ColumnTable::execute(const std::string& sql, Error* error) {
    if (sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK) return true;
    report(error, failureOf(handle_, "changed"));
    return false;
}

bool ColumnTable::create(Error* error) {
    for (const TableColumn& column : columns_) {
        if (isUsableName(column.name)) continue;
        report(error, extensionFailure("The name of a column is empty or holds a zero byte."));
        return false;
    }
    const auto declaration = [this](std::size_t i) {
        return quotedIdentifier(columns_[i].name) + " " + std::string(columns_[i].type);
    };
    return execute(
        "CREATE TABLE " + name_ + "(rowid INTEGER PRIMARY KEY, " + joined(", ", declaration) + ")",
        error);
}

bool ColumnTable::drop(Error* error) { return execute("DROP TABLE IF EXISTS " + name_, error); }

void ColumnTable::normalize(Values& values) const {
    for (Value& value : values)
        if (!isColumnValue(value)) value = Value();
}

StatementRun& ColumnTable::bindRow(StatementRun& run, std::int64_t rowid,
                                   const Values& values) const {
    run.bind(1, rowid);
    for (std::size_t i = 0; i < values.size(); ++i)
        run.bindValue(static_cast<int>(i) + 2, values[i], columns_[i].type);
    return run;
}

bool ColumnTable::finish(StatementRun& run, Error* error) {
    if (run.run()) return true;
    report(error, run.failure("written"));
    return false;
}

ColumnTable::Stored ColumnTable::compare(std::int64_t rowid, const Values& values, Error* error) {
    StatementRun run(statements_, compareText_);
    if (bindRow(run, rowid, values).row()) return run.number(0) ? Stored::equal : Stored::different;
    if (run.ok()) return Stored::absent;
    report(error, run.failure("read"));
    return Stored::unreadable;
}

bool ColumnTable::insert(std::int64_t rowid, const Values& values, Error* error) {
    StatementRun run(statements_, insertText_);
    return finish(bindRow(run, rowid, values), error);
}

bool ColumnTable::replace(std::int64_t rowid, const Values& values, Error* error) {
    StatementRun run(statements_, replaceText_);
    return finish(bindRow(run, rowid, values), error);
}

bool ColumnTable::remove(std::int64_t rowid, bool* wasThere, Error* error) {
    StatementRun run(statements_, removeText_);
    if (!finish(run.bind(1, rowid), error)) return false;
    *wasThere = sqlite3_changes(handle_) > 0;
    return true;
}

bool ColumnTable::enumerateRowids(const std::function<void(std::int64_t)>& block, Error* error) {
    StatementRun run(statements_, "SELECT rowid FROM " + name_ + " ORDER BY rowid");
    while (run.row()) block(run.number(0));
    if (run.ok()) return true;
    report(error, run.failure("read"));
    return false;
}

}  // namespace qsml::detail
