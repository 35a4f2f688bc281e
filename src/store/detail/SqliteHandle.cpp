#include "store/detail/SqliteHandle.h"

#include <sqlite3.h>

#include <utility>

#include "store/detail/forkGeneration.h"

namespace qsml::detail {

namespace {

constexpr int busyMilliseconds = 10'000;  // another process may be recovering the log

bool setFlag(sqlite3* handle, int flag, int value) {
    return sqlite3_db_config(handle, flag, value, nullptr) == SQLITE_OK;
}

void lowerLimits(sqlite3* handle) {
    sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, static_cast<int>(lengthLimit));
    sqlite3_limit(handle, SQLITE_LIMIT_SQL_LENGTH, 1 << 20);
    sqlite3_limit(handle, SQLITE_LIMIT_ATTACHED, 0);
}

}  // namespace

Error fileError(std::int64_t code, const std::string& path, std::string_view action,
                std::string_view cause) {
    std::string text = "The database \"" + path + "\" could not be ";
    text.append(action).append(": ").append(cause).append(".");
    return {.domain = std::string(YapDatabaseErrorDomain), .code = code, .description = text};
}

SqliteHandle::~SqliteHandle() { close(); }

SqliteHandle::SqliteHandle(SqliteHandle&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)),
      path_(std::move(other.path_)),
      forkGeneration_(other.forkGeneration_) {}

SqliteHandle& SqliteHandle::operator=(SqliteHandle&& other) noexcept {
    close();
    handle_ = std::exchange(other.handle_, nullptr);
    path_ = std::move(other.path_);
    forkGeneration_ = other.forkGeneration_;
    return *this;
}

void SqliteHandle::close() {
    sqlite3* handle = std::exchange(handle_, nullptr);
    if (handle && forkGeneration_ == forkGeneration()) sqlite3_close_v2(handle);
}

SqliteHandle SqliteHandle::open(const std::string& path, const SqliteSettings& settings,
                                Error* error) {
    SqliteHandle made;
    made.path_ = path;
    made.forkGeneration_ = forkGeneration();
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE |
                      SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_EXRESCODE;
    const char* vfs = settings.vfsName.empty() ? nullptr : settings.vfsName.c_str();
    const int code = sqlite3_open_v2(path.c_str(), &made.handle_, flags, vfs);
    if (code == SQLITE_OK && made.configure(settings)) return made;
    report(error, made.handle_ ? made.lastError("opened")
                               : fileError(code, path, "opened", sqlite3_errstr(code)));
    made.close();
    return made;
}

bool SqliteHandle::configure(const SqliteSettings& settings) {
    sqlite3_extended_result_codes(handle_, 1);
    sqlite3_busy_timeout(handle_, busyMilliseconds);
    sqlite3_wal_autocheckpoint(handle_, 0);
    lowerLimits(handle_);
    if (!setFlag(handle_, SQLITE_DBCONFIG_DEFENSIVE, 1) ||
        !setFlag(handle_, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0) ||
        !setFlag(handle_, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0) ||
        !setFlag(handle_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1))
        return false;
    // Secure deletion, which the system's library may switch on, costs writes and protects nothing
    // here: "fast" clears what is written anyway.
    std::string pragmas =
        "PRAGMA mmap_size=0; PRAGMA temp_store=MEMORY; PRAGMA cell_size_check=ON;"
        "PRAGMA secure_delete=FAST; PRAGMA synchronous=";
    pragmas += settings.synchronous == YapDatabaseSynchronous::full ? "FULL" : "NORMAL";
    pragmas += "; PRAGMA cache_size=-" + std::to_string(settings.pageCacheBytes / 1024 + 1);
    pragmas += "; PRAGMA journal_size_limit=" + std::to_string(settings.logLimitBytes);
    return execute(pragmas.c_str()) == SQLITE_OK;
}

void SqliteHandle::forgetPages() noexcept {
    if (handle_) sqlite3_db_release_memory(handle_);
}

bool SqliteHandle::isLibraryUsable(Error* error) {
    std::string missing;
    if (sqlite3_libversion_number() < 3'037'000) missing = "version 3.37 or newer";
    if (!sqlite3_threadsafe()) missing = "support for threads";
    if (!sqlite3_compileoption_used("ENABLE_FTS5")) missing = "full-text search (FTS5)";
    if (missing.empty()) return true;
    report(error, {.domain = std::string(YapDatabaseErrorDomain),
                   .code = SQLITE_MISUSE,
                   .description = "SQLite " + std::string(sqlite3_libversion()) +
                                  " cannot be used: it lacks " + missing + "."});
    return false;
}

int SqliteHandle::execute(const char* sql) {
    return sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr);
}

bool SqliteHandle::inTransaction() const noexcept { return !sqlite3_get_autocommit(handle_); }

Error SqliteHandle::lastError(std::string_view action) const {
    return fileError(sqlite3_extended_errcode(handle_), path_, action, sqlite3_errmsg(handle_));
}

}  // namespace qsml::detail
