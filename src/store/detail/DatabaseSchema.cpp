#include "store/detail/DatabaseSchema.h"

#include <sqlite3.h>

#include <cstdint>
#include <optional>

#include "foundation/version.h"
#include "store/detail/Statement.h"
#include "store/detail/StoreState.h"

namespace qsml::detail {

namespace {

// The view is a promise to people with the sqlite3 shell: names and keys as texts, built-in
// functions only.
constexpr const char* schema = R"sql(
CREATE TABLE collection(id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE);
CREATE TABLE row(
    rowid INTEGER PRIMARY KEY,
    collection INTEGER NOT NULL,
    key NOT NULL,
    data BLOB,
    metadata BLOB,
    checksum INTEGER NOT NULL);
CREATE UNIQUE INDEX row_key ON row(collection, key);
CREATE TABLE yap(
    extension TEXT NOT NULL,
    key TEXT NOT NULL,
    data,
    PRIMARY KEY(extension, key)) WITHOUT ROWID;
CREATE VIEW records(rowid, collection, key, data, metadata) AS
SELECT row.rowid, collection.name,
    CASE
        WHEN typeof(row.key) = 'text' THEN row.key
        WHEN length(row.key) = 16 THEN lower(hex(row.key))
        ELSE substr(hex(row.key), 3, 8) || '-' || substr(hex(row.key), 11, 4) || '-' ||
            substr(hex(row.key), 15, 4) || '-' || substr(hex(row.key), 19, 4) || '-' ||
            substr(hex(row.key), 23)
    END,
    row.data, row.metadata
FROM row JOIN collection ON collection.id = row.collection;
)sql";

std::optional<std::int64_t> number(SqliteHandle& handle, const char* sql, Error* error) {
    Statement statement(sql);
    Query query(statement, handle.get());
    if (query.row()) return query.number(0);
    const int code = sqlite3_extended_errcode(handle.get());
    if ((code & 0xff) == SQLITE_NOTADB)
        report(error, fileError(YapDatabaseErrorCode::notADatabase, handle.path(), "opened",
                                "the file is not a media library"));
    else
        report(error, handle.lastError("opened"));
    return std::nullopt;
}

bool setInitialRows(SqliteHandle& handle) {
    Statement insert("INSERT INTO yap(extension, key, data) VALUES('', ?1, ?2)");
    const std::string state = StoreState{}.text();
    const std::string library =
        std::string("QSMediaLibraryData ") + QSMediaLibraryDataVersionString;
    Query first(insert, handle.get());
    Query second(insert, handle.get());
    return first.bindText(1, "state").bindText(2, state).run() &&
           second.bindText(1, "library").bindText(2, library).run();
}

bool create(SqliteHandle& handle, Error* error) {
    const std::string marks = "PRAGMA application_id=" + std::to_string(applicationId) +
                              "; PRAGMA user_version=" + std::to_string(formatVersion);
    const std::string size = "PRAGMA page_size=" + std::to_string(pageSize);
    const bool isMade = handle.execute(size.c_str()) == SQLITE_OK &&
                        handle.execute("BEGIN IMMEDIATE") == SQLITE_OK &&
                        handle.execute(schema) == SQLITE_OK &&
                        handle.execute(marks.c_str()) == SQLITE_OK && setInitialRows(handle) &&
                        handle.execute("COMMIT") == SQLITE_OK;
    if (isMade) return true;
    report(error, handle.lastError("created"));
    if (handle.inTransaction()) handle.execute("ROLLBACK");
    return false;
}

bool verify(SqliteHandle& handle, std::int64_t application, Error* error) {
    if (application != applicationId) {
        report(error, fileError(YapDatabaseErrorCode::notADatabase, handle.path(), "opened",
                                "the file is not a media library"));
        return false;
    }
    const auto version = number(handle, "PRAGMA user_version", error);
    if (!version) return false;
    if (*version > formatVersion) {
        report(error, fileError(YapDatabaseErrorCode::newerFormat, handle.path(), "opened",
                                "it was written by a newer version of the library"));
        return false;
    }
    const auto tables = number(handle,
                               "SELECT count(*) FROM sqlite_master WHERE name IN"
                               " ('row', 'row_key', 'collection', 'yap', 'records')",
                               error);
    if (!tables) return false;
    if (*tables == 5) return true;
    report(error, fileError(YapDatabaseErrorCode::notADatabase, handle.path(), "opened",
                            "tables are missing"));
    return false;
}

bool useLog(SqliteHandle& handle, Error* error) {
    Statement pragma("PRAGMA journal_mode=WAL");
    Query query(pragma, handle.get());
    // The switch is committed only when the statement ends, after its row.
    const bool usesLog = query.row() && query.text(0) == "wal";
    while (query.ok() && query.row()) {
    }
    if (usesLog && query.ok()) return true;
    report(error, query.ok() ? fileError(SQLITE_CANTOPEN, handle.path(), "opened",
                                         "its file system offers no shared memory")
                             : handle.lastError("opened"));
    return false;
}

}  // namespace

bool prepareSchema(SqliteHandle& handle, Error* error) {
    // Until the log is in use, a rollback journal must be gone for good before the next step: one
    // that came back with the power would take away the library, its log included.
    if (handle.execute("PRAGMA synchronous=EXTRA") != SQLITE_OK) {
        report(error, handle.lastError("opened"));
        return false;
    }
    const auto application = number(handle, "PRAGMA application_id", error);
    if (!application) return false;
    const auto objects = number(handle, "SELECT count(*) FROM sqlite_master", error);
    if (!objects) return false;
    const bool isNew = *application == 0 && *objects == 0;
    if (isNew ? !create(handle, error) : !verify(handle, *application, error)) return false;
    return useLog(handle, error);
}

bool verifySchema(SqliteHandle& handle, Error* error) {
    const auto application = number(handle, "PRAGMA application_id", error);
    return application && verify(handle, *application, error);
}

}  // namespace qsml::detail
