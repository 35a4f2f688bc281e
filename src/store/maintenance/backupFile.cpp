#include "store/maintenance/backupFile.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <optional>

#include "foundation/Log.h"
#include "store/detail/DatabaseFile.h"
#include "store/detail/DatabaseSchema.h"
#include "store/detail/Statement.h"
#include "store/detail/troubleOf.h"
#include "store/maintenance/privateFile.h"

namespace qsml::detail {

namespace {

constexpr int pagesPerStep = 256;  // 2 MiB

struct FinishBackup {
    void operator()(sqlite3_backup* backup) const noexcept { sqlite3_backup_finish(backup); }
};

bool isThere(const std::string& path) {
    struct stat facts {};
    return ::lstat(path.c_str(), &facts) == 0;
}

/// A log or journal of the name would be taken for the copy's and played back into it.
bool isFree(const std::string& path, Error* error) {
    std::string found = isThere(path) ? path : "";
    for (const char* ending : companionEndings)
        if (found.empty() && isThere(path + ending)) found = path + ending;
    if (found.empty()) return true;
    report(error, fileError(YapDatabaseErrorCode::alreadyThere, path, "backed up",
                            "\"" + found + "\" is there already and is not replaced"));
    return false;
}

std::optional<std::string> textOf(SqliteHandle& handle, const char* sql) {
    Statement statement(sql);
    Query query(statement, handle.get());
    if (!query.row()) return std::nullopt;
    return std::string(query.text(0));
}

/// What tells one state of a database from another.
struct Look {
    std::optional<std::string> state, pages;
    explicit Look(SqliteHandle& handle)
        : state(textOf(handle, "SELECT data FROM yap WHERE extension='' AND key='state'")),
          pages(textOf(handle, "PRAGMA page_count")) {}
    explicit operator bool() const { return state && pages; }
    bool operator==(const Look&) const = default;
};

/// Copies the snapshot that the source is pinned on, so that no commit makes it begin again.
bool copyPages(SqliteHandle& source, SqliteHandle& copy, const BackupRequest& request,
               Error* error) {
    std::unique_ptr<sqlite3_backup, FinishBackup> backup(
        sqlite3_backup_init(copy.get(), "main", source.get(), "main"));
    if (!backup) {
        report(error, copy.lastError("backed up"));
        return false;
    }
    int code = SQLITE_OK;
    while (code == SQLITE_OK) {
        code = sqlite3_backup_step(backup.get(), pagesPerStep);
        if (!request.progress || (code != SQLITE_OK && code != SQLITE_DONE)) continue;
        const auto total = static_cast<std::uint64_t>(sqlite3_backup_pagecount(backup.get()));
        const auto left = static_cast<std::uint64_t>(sqlite3_backup_remaining(backup.get()));
        if (const auto trouble = troubleOf([&] { request.progress(total - left, total); }))
            log("Warning: the report of progress of a backup failed: " + *trouble);
    }
    sqlite3_backup_finish(backup.release());
    if (code == SQLITE_DONE) return true;
    report(error, fileError(code, request.source, "backed up", sqlite3_errstr(code)));
    return false;
}

/// Fills the empty file. In the end it is one file, without a log.
std::optional<Look> fillCopy(const std::string& path, const BackupRequest& request, Error* error) {
    SqliteHandle source = SqliteHandle::open(request.source, request.settings, error);
    if (!source) return std::nullopt;
    if (source.execute("BEGIN") != SQLITE_OK) {
        report(error, source.lastError("backed up"));
        return std::nullopt;
    }
    const Look look(source);  // pins the snapshot, too
    if (!look) {
        report(error, source.lastError("backed up"));
        return std::nullopt;
    }
    SqliteHandle copy = SqliteHandle::open(path, request.settings, error);
    if (!copy || !copyPages(source, copy, request, error)) return std::nullopt;
    if (textOf(copy, "PRAGMA journal_mode=DELETE") == "delete") return look;
    report(error, copy.lastError("backed up"));
    return std::nullopt;
}

/// What opening a database looks at first, in what has been written.
bool verifyCopy(const std::string& path, const BackupRequest& request, const Look& expected,
                Error* error) {
    SqliteHandle copy = SqliteHandle::open(path, request.settings, error);
    if (!copy || !verifySchema(copy, error)) return false;
    const Look found(copy);
    if (found == expected) return true;
    report(error, found ? fileError(SQLITE_CORRUPT, path, "backed up", "the copy is not the same")
                        : copy.lastError("backed up"));
    return false;
}

}  // namespace

bool backupFile(const BackupRequest& request, Error* error) {
    const auto path = canonicalPath(request.destination, error);
    if (!path) return false;
    if (!isFree(*path, error) || !isFree(*path + ".partial", error)) return false;
    if (!createPrivateFile(*path + ".partial", "backed up", error)) return false;
    const TemporaryDatabaseFile partial(*path + ".partial");
    const auto look = fillCopy(partial.path(), request, error);
    return look && verifyCopy(partial.path(), request, *look, error) &&
           syncToDisk(partial.path(), false, "backed up", error) &&
           giveName(partial.path(), *path, "backed up", error);
}

}  // namespace qsml::detail
