#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/Error.h"
#include "store/YapDatabaseOptions.h"

struct sqlite3;

namespace qsml::detail {

/// Format of the file: application id and version in the file's header.
inline constexpr std::int32_t applicationId = 0x51534D4C;  // "QSML"
inline constexpr std::int32_t formatVersion = 1;
inline constexpr int pageSize = 8192;
/// Largest stored value; SQLite's own limit is set to the same.
inline constexpr std::size_t lengthLimit = 64u << 20;

struct SqliteSettings {
    std::string vfsName = {};
    YapDatabaseSynchronous synchronous = YapDatabaseSynchronous::full;
    std::uint64_t pageCacheBytes = 8u << 20;
    /// A log that is started again is cut to this size; below it is kept and written over.
    std::uint64_t logLimitBytes = 8u << 20;
};

/// One SQLite connection, hardened, without automatic checkpoints; owns it. Confined to one thread
/// at a time. In a forked child it is left alone: closing it there would disturb the parent's file.
class SqliteHandle {
public:
    SqliteHandle() = default;
    ~SqliteHandle();
    SqliteHandle(SqliteHandle&& other) noexcept;
    SqliteHandle& operator=(SqliteHandle&& other) noexcept;

    /// The file must exist. Without a connection, and with the error filled, when that fails.
    static SqliteHandle open(const std::string& path, const SqliteSettings& settings, Error* error);
    /// Whether this process's SQLite can do what the store needs.
    static bool isLibraryUsable(Error* error);

    explicit operator bool() const noexcept { return handle_ != nullptr; }
    ::sqlite3* get() const noexcept { return handle_; }
    const std::string& path() const noexcept { return path_; }

    /// Runs statements without results; SQLite's extended result code.
    int execute(const char* sql);
    bool inTransaction() const noexcept;
    /// The last failure: "The database FILE could not be ACTION: CAUSE."
    Error lastError(std::string_view action) const;

    /// Forgets pages that were read, after a failure that may have left wrong ones in memory.
    void forgetPages() noexcept;
    void close();

private:
    bool configure(const SqliteSettings& settings);

    ::sqlite3* handle_ = nullptr;
    std::string path_;
    std::uint32_t forkGeneration_ = 0;
};

/// An error of the store's domain about a file.
Error fileError(std::int64_t code, const std::string& path, std::string_view action,
                std::string_view cause);
inline Error fileError(YapDatabaseErrorCode code, const std::string& path, std::string_view action,
                       std::string_view cause) {
    return fileError(static_cast<std::int64_t>(code), path, action, cause);
}

}  // namespace qsml::detail
