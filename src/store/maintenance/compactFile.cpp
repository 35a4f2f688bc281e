#include "store/maintenance/compactFile.h"

#include <sqlite3.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "store/detail/Statement.h"
#include "store/maintenance/contentChecksum.h"
#include "store/maintenance/privateFile.h"

namespace qsml::detail {

namespace {

/// Changes when another connection has committed.
std::optional<std::int64_t> dataVersion(SqliteHandle& handle) {
    Statement statement("PRAGMA data_version");
    Query query(statement, handle.get());
    if (!query.row()) return std::nullopt;
    return query.number(0);
}

/// SQLite's own VACUUM does the same, but keeps the copy in memory or in a public folder.
bool copyInOrder(SqliteHandle& database, const std::string& copy, Error* error) {
    sqlite3_limit(database.get(), SQLITE_LIMIT_ATTACHED, 1);  // the copy
    Statement statement("VACUUM INTO ?1");
    bool isDone = false;
    {
        Query query(statement, database.get());
        isDone = query.bindText(1, copy).run();
    }
    if (!isDone) report(error, database.lastError("compacted"));
    sqlite3_limit(database.get(), SQLITE_LIMIT_ATTACHED, 0);
    return isDone;
}

struct FinishBackup {
    void operator()(sqlite3_backup* backup) const noexcept { sqlite3_backup_finish(backup); }
};

/// Writes the copy over the database, in one transaction of SQLite. From the first step on no other
/// connection can write, so that then is the time to see whether one has that knows no writer lock.
bool takeOver(SqliteHandle& database, SqliteHandle& copy, SqliteHandle& watch,
              std::int64_t versionBefore, Error* error) {
    std::unique_ptr<sqlite3_backup, FinishBackup> backup(
        sqlite3_backup_init(database.get(), "main", copy.get(), "main"));
    if (!backup) {
        report(error, database.lastError("compacted"));
        return false;
    }
    int code = sqlite3_backup_step(backup.get(), 1);
    if (code == SQLITE_OK && dataVersion(watch) != versionBefore) {
        report(error, fileError(YapDatabaseErrorCode::inTheWay, database.path(), "compacted",
                                "another program wrote to it; nothing was done"));
        return false;
    }
    if (code == SQLITE_OK) code = sqlite3_backup_step(backup.get(), -1);
    sqlite3_backup_finish(backup.release());
    if (code == SQLITE_DONE) return true;
    report(error, fileError(code, database.path(), "compacted", sqlite3_errstr(code)));
    return false;
}

}  // namespace

bool compactFile(const std::string& path, const SqliteSettings& settings, Error* error) {
    const TemporaryDatabaseFile file(path + "-compact");
    removeDatabaseFiles(file.path());  // what a crash has left
    if (!createPrivateFile(file.path(), "compacted", error)) return false;
    SqliteHandle watch = SqliteHandle::open(path, settings, error);
    SqliteHandle database = SqliteHandle::open(path, settings, error);
    if (!watch || !database) return false;
    const auto version = dataVersion(watch);
    if (!version) {
        report(error, watch.lastError("read"));
        return false;
    }
    const auto content = contentChecksum(database, "compacted", error);
    if (!content || !copyInOrder(database, file.path(), error)) return false;
    SqliteHandle copy = SqliteHandle::open(file.path(), settings, error);
    if (!copy || contentOf(copy, *content, "compacted", error) != Content::same ||
        !takeOver(database, copy, watch, *version, error))
        return false;
    SqliteHandle taken = SqliteHandle::open(path, settings, error);
    if (!taken) return false;
    const Content now = contentOf(taken, *content, "compacted", error);
    if (now != Content::different) return now == Content::same;
    Error second;  // once more, from the copy that was found good
    if (takeOver(database, copy, watch, dataVersion(watch).value_or(0), &second) &&
        contentOf(taken, *content, "compacted", &second) == Content::same) {
        if (error) *error = {};
        return true;
    }
    const std::string rescued = path + "-rescued";  // under this name nobody removes it
    if (std::rename(file.path().c_str(), rescued.c_str()) != 0) return false;
    report(error, fileError(SQLITE_IOERR, path, "compacted",
                            "what was written back is damaged; the whole library is in " + rescued +
                                ": put it in the place of the file"));
    return false;
}

}  // namespace qsml::detail
