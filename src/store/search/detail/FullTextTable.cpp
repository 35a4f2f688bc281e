#include "store/search/detail/FullTextTable.h"

#include <sqlite3.h>

#include "store/detail/SqliteHandle.h"
#include "store/detail/quotedIdentifier.h"
#include "store/search/detail/separatedText.h"

namespace qsml::detail {

namespace {

// Measured with 100,000 rows of seven columns and 4,000 commits that change a title. A larger
// buffer of words makes the filling 20 % quicker. With fewer merges than the default of 4 the
// slowest hundredth of the commits takes 0.26 ms instead of 0.38; without any, queries slow down.
constexpr int wordBufferBytes = 4 << 20;
constexpr int segmentsBeforeMerging = 8;

std::string quotedText(std::string_view text) {
    std::string made = "'";
    for (const char c : text) {
        if (c == '\'') made += '\'';
        made += c;
    }
    return made + '\'';
}

std::string tokenizerOf(const YapDatabaseFullTextSearchOptions& options) {
    if (options.tokenCharacters.empty()) return options.tokenizer;
    return options.tokenizer + " tokenchars " + quotedText(options.tokenCharacters);
}

std::vector<TableColumn> textColumns(const std::vector<std::string>& names) {
    std::vector<TableColumn> columns;
    columns.reserve(names.size());
    for (const std::string& name : names) columns.push_back({name, "TEXT"});
    return columns;
}

/// SQLite's file of the connection, opened once more.
SqliteHandle anotherHandle(sqlite3* handle, Error* error) {
    sqlite3_vfs* vfs = nullptr;
    sqlite3_file_control(handle, "main", SQLITE_FCNTL_VFS_POINTER, &vfs);
    SqliteSettings settings;
    if (vfs && vfs->zName) settings.vfsName = vfs->zName;
    const char* path = sqlite3_db_filename(handle, "main");
    return SqliteHandle::open(path ? path : "", settings, error);
}

}  // namespace

FullTextTable::FullTextTable(YapDatabaseExtensionContext& context,
                             const std::vector<std::string>& columnNames,
                             const YapDatabaseFullTextSearchOptions& options)
    : ColumnTable(context, "texts", textColumns(columnNames)),
      options_(options),
      words_(context.tableName("search")) {
    const std::string names =
        joined(", ", [this](std::size_t i) { return quotedIdentifier(columns()[i].name); });
    const std::string parameters =
        joined(", ", [](std::size_t i) { return "?" + std::to_string(i + 2); });
    holdsText_ = "SELECT 1 FROM " + name() + " WHERE rowid=?1";
    forgetText_ = "INSERT INTO " + words_ + "(" + words_ + ", rowid, " + names +
                  ") SELECT 'delete', rowid, " + names + " FROM " + name() + " WHERE rowid=?1";
    addText_ = "INSERT INTO " + words_ + "(rowid, " + names + ") VALUES(?1, " + parameters + ")";
    matchText_ = "SELECT rowid FROM " + words_ + " WHERE " + words_ + " MATCH ?1 ORDER BY rowid";
    matchRowText_ = "SELECT rowid FROM " + words_ + " WHERE " + words_ + " MATCH ?1 AND rowid=?2";
}

bool FullTextTable::create(Error* error) {
    if (columns().empty()) {
        report(error, extensionFailure("A full-text search needs a column."));
        return false;
    }
    if (!ColumnTable::create(error)) return false;
    std::string sql = "CREATE VIRTUAL TABLE " + words_ + " USING fts5(";
    for (const TableColumn& column : columns()) sql += quotedIdentifier(column.name) + ", ";
    // The module does not keep lengths of rows: they would serve only to order by relevance.
    sql += "content=" + name() +
           ", content_rowid=rowid, columnsize=0, tokenize=" + quotedText(tokenizerOf(options_));
    if (!options_.prefixLengths.empty()) sql += ", prefix=" + quotedText(options_.prefixLengths);
    return execute(sql + ")", error) && configure("hashsize", wordBufferBytes, error) &&
           configure("automerge", segmentsBeforeMerging, error);
}

bool FullTextTable::configure(std::string_view option, int value, Error* error) {
    return execute("INSERT INTO " + words_ + "(" + words_ + ", rank) VALUES(" + quotedText(option) +
                       ", " + std::to_string(value) + ")",
                   error);
}

bool FullTextTable::drop(Error* error) {
    return execute("DROP TABLE IF EXISTS " + words_, error) && ColumnTable::drop(error);
}

void FullTextTable::normalize(Values& values) const {
    for (Value& value : values) {
        if (value.kind() != Value::Kind::string)
            value = Value();
        else if (options_.separatesScriptsWithoutBlanks)
            value = separatedText(value.string());
    }
}

bool FullTextTable::forgetWords(std::int64_t rowid, Error* error) {
    StatementRun run(statements(), forgetText_);
    return finish(run.bind(1, rowid), error);
}

bool FullTextTable::addWords(std::int64_t rowid, const Values& values, Error* error) {
    StatementRun run(statements(), addText_);
    return finish(bindRow(run, rowid, values), error);
}

bool FullTextTable::insert(std::int64_t rowid, const Values& values, Error* error) {
    return ColumnTable::insert(rowid, values, error) && addWords(rowid, values, error);
}

bool FullTextTable::replace(std::int64_t rowid, const Values& values, Error* error) {
    return forgetWords(rowid, error) && addWords(rowid, values, error) &&
           ColumnTable::replace(rowid, values, error);
}

bool FullTextTable::holds(std::int64_t rowid, bool* isThere, Error* error) {
    StatementRun run(statements(), holdsText_);
    *isThere = run.bind(1, rowid).row();
    if (run.ok()) return true;
    report(error, run.failure("read"));
    return false;
}

/// Most rows that go have no texts. To look costs less than to call the module.
bool FullTextTable::remove(std::int64_t rowid, bool* wasThere, Error* error) {
    if (!holds(rowid, wasThere, error)) return false;
    return !*wasThere || (forgetWords(rowid, error) && ColumnTable::remove(rowid, wasThere, error));
}

bool FullTextTable::collect(StatementRun& run, const std::string& query,
                            std::vector<std::int64_t>* rowids, Error* error) {
    rowids->clear();
    while (run.row()) rowids->push_back(run.number(0));
    if (run.ok()) return true;
    rowids->clear();
    report(error, extensionFailure("The full-text query \"" + query +
                                   "\" cannot be used: " + run.failure("read").description));
    return false;
}

bool FullTextTable::match(const std::string& query, std::vector<std::int64_t>* rowids,
                          Error* error) {
    StatementRun run(statements(), matchText_);
    return collect(run.bindText(1, query), query, rowids, error);
}

bool FullTextTable::matchRow(const std::string& query, std::int64_t rowid,
                             std::vector<std::int64_t>* rowids, Error* error) {
    StatementRun run(statements(), matchRowText_);
    return collect(run.bindText(1, query).bind(2, rowid), query, rowids, error);
}

/// The module's check is a write to SQLite, though it writes nothing. On a connection of its own it
/// keeps writers waiting only for itself, not for the whole of a check.
bool FullTextTable::verify(YapDatabaseExtensionContext& context, const Fault& fault, Error* error) {
    bool isSound = true;
    if (!context.withoutWriters([&] { return verifyWords(&isSound, error); }, error)) return false;
    if (!isSound) fault("the words of the full-text index are not those of its texts");
    return true;
}

bool FullTextTable::verifyWords(bool* areSound, Error* error) {
    SqliteHandle another = anotherHandle(handle(), error);
    if (!another) return false;
    const std::string check =
        "INSERT INTO " + words_ + "(" + words_ + ", rank) VALUES('integrity-check', 1)";
    const int code = another.execute(check.c_str());
    *areSound = (code & 0xff) != SQLITE_CORRUPT;
    if (code == SQLITE_OK || !*areSound) return true;
    report(error, another.lastError("checked"));
    return false;
}

}  // namespace qsml::detail
