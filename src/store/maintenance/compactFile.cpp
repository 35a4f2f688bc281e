#include "store/maintenance/compactFile.h"

#include <sqlite3.h>

#include <cstdint>
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

/// A name that nobody removes; nothing where it cannot be given one.
std::optional<std::string> rescuedName(const std::string& copy, const std::string& path) {
    constexpr int names = 100;
    Error taken;
    for (int number = 1; number <= names; ++number) {
        const std::string name =
            path + "-rescued" + (number == 1 ? "" : "-" + std::to_string(number));
        if (giveName(copy, name, "compacted", &taken)) return name;
        if (taken.code != static_cast<std::int64_t>(YapDatabaseErrorCode::alreadyThere)) break;
    }
    return std::nullopt;
}

/// False with an error that says where the copy is; it stays for whoever may need it.
bool keepCopy(const std::string& copy, const std::string& path, const Error& cause, Error* error) {
    (void)syncToDisk(copy, false, "compacted", nullptr);
    const auto name = rescuedName(copy, path);
    if (name) removeDatabaseFiles(copy);
    const std::string place =
        name ? "\"" + *name + "\"" : "\"" + copy + "\" (the next compaction removes it)";
    report(error, fileError(SQLITE_IOERR, path, "compacted",
                            "what was written back does not read as it should. The whole content "
                            "is also in " +
                                place +
                                ": if the file has faults, close it and put "
                                "that in its place. " +
                                cause.description));
    return false;
}

/// Whether the file, as it is now, says what it said before.
bool readsBack(const std::string& path, const SqliteSettings& settings, std::uint64_t content,
               Error* error) {
    SqliteHandle taken = SqliteHandle::open(path, settings, error);
    return taken && contentOf(taken, content, "compacted", error) == Content::same;
}

}  // namespace

bool compactFile(const std::string& path, const SqliteSettings& settings, Error* error) {
    TemporaryDatabaseFile file(path + "-compact");
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
    file.keep();  // until what was written is known to be good, come what may
    Error cause;
    const auto written = dataVersion(watch);
    // Once more, from the copy that was found good, unless somebody has written since.
    const bool isGood = readsBack(path, settings, *content, &cause) ||
                        (written && takeOver(database, copy, watch, *written, &cause) &&
                         readsBack(path, settings, *content, &cause));
    copy.close();
    if (!isGood) return keepCopy(file.path(), path, cause, error);
    removeDatabaseFiles(file.path());
    return true;
}

}  // namespace qsml::detail
