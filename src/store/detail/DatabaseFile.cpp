#include "store/detail/DatabaseFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <system_error>

#include "store/detail/SqliteHandle.h"

namespace qsml::detail {

namespace {

constexpr std::size_t headerBytes = 100;
constexpr std::string_view headerMagic("SQLite format 3\0", 16);
constexpr std::size_t userVersionOffset = 60, applicationIdOffset = 68;

Error systemError(const std::string& path, int code) {
    return fileError(code, path, "opened", std::generic_category().message(code));
}

std::optional<std::string> realPath(const std::string& path) {
    const std::unique_ptr<char, void (*)(void*)> found(::realpath(path.c_str(), nullptr),
                                                       std::free);
    if (!found) return std::nullopt;
    return std::string(found.get());
}

std::int32_t bigEndianNumber(const std::array<char, headerBytes>& header, std::size_t offset) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i)
        number = number << 8 | static_cast<unsigned char>(header[offset + i]);
    return static_cast<std::int32_t>(number);
}

bool hasContent(const std::string& path) {
    struct stat facts {};
    return ::stat(path.c_str(), &facts) == 0 && facts.st_size > 0;
}

/// After a crash the header may be torn and its repair may lie in the log or the journal: SQLite
/// knows.
bool mayBeRepaired(const std::string& path) {
    return hasContent(path + "-wal") || hasContent(path + "-journal");
}

bool refuse(YapDatabaseErrorCode code, const std::string& path, std::string_view cause,
            Error* error) {
    report(error, fileError(code, path, "opened", cause));
    return false;
}

bool isOurs(const std::array<char, headerBytes>& header, std::size_t size, const std::string& path,
            Error* error) {
    if (size == 0) return true;  // new
    const bool isSqlite = size == headerBytes &&
                          std::memcmp(header.data(), headerMagic.data(), headerMagic.size()) == 0;
    if (!isSqlite && mayBeRepaired(path)) return true;
    if (!isSqlite || bigEndianNumber(header, applicationIdOffset) != applicationId) {
        if (isSqlite && mayBeRepaired(path)) return true;
        return refuse(YapDatabaseErrorCode::notADatabase, path, "the file is not a media library",
                      error);
    }
    if (bigEndianNumber(header, userVersionOffset) > formatVersion)
        return refuse(YapDatabaseErrorCode::newerFormat, path,
                      "it was written by a newer version of the library", error);
    return true;
}

/// Reads the header through a descriptor of its own. Only while SQLite has not opened the file in
/// this process: closing a descriptor takes back the process's locks on the file.
bool checkHeader(const std::string& path, Error* error) {
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (descriptor < 0) {
        report(error, systemError(path, errno));
        return false;
    }
    std::array<char, headerBytes> header{};
    const auto size = ::pread(descriptor, header.data(), header.size(), 0);
    const int code = errno;
    ::close(descriptor);
    if (size >= 0) return isOurs(header, static_cast<std::size_t>(size), path, error);
    report(error, systemError(path, code));
    return false;
}

/// True also when the file is there already.
bool createFile(const std::string& path, Error* error) {
    constexpr int flags = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
    const int descriptor = ::open(path.c_str(), flags, 0600);
    if (descriptor >= 0) {
        ::fchmod(descriptor, 0600);  // whatever the umask is
        ::close(descriptor);
        return true;
    }
    if (errno == EEXIST) return true;
    report(error, systemError(path, errno));
    return false;
}

}  // namespace

std::optional<std::string> canonicalPath(const std::string& path, Error* error) {
    if (path.empty() || path.find('\0') != std::string::npos) {
        report(error, systemError(path, EINVAL));
        return std::nullopt;
    }
    if (auto found = realPath(path)) return found;
    const int code = errno;
    struct stat facts {};
    if (code != ENOENT || ::lstat(path.c_str(), &facts) == 0) {  // there, but leads nowhere
        report(error, systemError(path, code));
        return std::nullopt;
    }
    const auto slash = path.rfind('/');
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    auto realFolder = realPath(folder);
    if (!realFolder || name.empty()) {
        report(error, systemError(path, realFolder ? EISDIR : errno));
        return std::nullopt;
    }
    if (realFolder->back() != '/') *realFolder += '/';
    return *realFolder + name;
}

struct DatabaseFile::Registry {
    std::mutex mutex;
    std::set<Identity> claimed;

    static Registry& shared() {
        static auto* registry = new Registry;  // databases may outlive static destruction
        return *registry;
    }
};

std::unique_ptr<DatabaseFile> DatabaseFile::claim(const std::string& path, Error* error) {
    auto canonical = canonicalPath(path, error);
    if (!canonical) return nullptr;
    Registry& registry = Registry::shared();
    const std::lock_guard lock(registry.mutex);
    struct stat facts {};
    if (::stat(canonical->c_str(), &facts) != 0) {
        if (!createFile(*canonical, error)) return nullptr;
        if (::stat(canonical->c_str(), &facts) != 0) {
            report(error, systemError(*canonical, errno));
            return nullptr;
        }
    }
    if (!S_ISREG(facts.st_mode)) {
        refuse(YapDatabaseErrorCode::notARegularFile, *canonical, "it is not a regular file",
               error);
        return nullptr;
    }
    const Identity identity{facts.st_dev, facts.st_ino};
    if (registry.claimed.count(identity)) {
        refuse(YapDatabaseErrorCode::alreadyOpen, *canonical, "this process has it open already",
               error);
        return nullptr;
    }
    if (!checkHeader(*canonical, error)) return nullptr;
    registry.claimed.insert(identity);
    return std::unique_ptr<DatabaseFile>(new DatabaseFile(std::move(*canonical), identity));
}

DatabaseFile::~DatabaseFile() {
    Registry& registry = Registry::shared();
    const std::lock_guard lock(registry.mutex);
    registry.claimed.erase(identity_);
}

}  // namespace qsml::detail
