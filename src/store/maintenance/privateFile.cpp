#include "store/maintenance/privateFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "store/detail/SqliteHandle.h"

namespace qsml::detail {

namespace {

bool failWith(int code, const std::string& path, const char* action, Error* error) {
    const std::string cause = std::generic_category().message(code);
    if (code == EEXIST)
        report(error, fileError(YapDatabaseErrorCode::alreadyThere, path, action, cause));
    else
        report(error, fileError(code, path, action, cause));
    return false;
}

}  // namespace

bool createPrivateFile(const std::string& path, const char* action, Error* error) {
    constexpr int flags = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
    const int descriptor = ::open(path.c_str(), flags, 0600);
    if (descriptor >= 0) {
        ::fchmod(descriptor, 0600);
        ::close(descriptor);
        return true;
    }
    return failWith(errno, path, action, error);
}

bool syncToDisk(const std::string& path, bool isFolder, const char* action, Error* error) {
    const int flags = isFolder ? O_RDONLY | O_DIRECTORY : O_RDWR;
    const int descriptor = ::open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor < 0) return failWith(errno, path, action, error);
    const int code = ::fsync(descriptor) == 0 ? 0 : errno;
    ::close(descriptor);
    return code == 0 || failWith(code, path, action, error);
}

bool giveName(const std::string& from, const std::string& to, const char* action, Error* error) {
    const bool isLinked = ::link(from.c_str(), to.c_str()) == 0;
    if (!isLinked) {
        const int code = errno;
        const bool hasLinks = code != EPERM && code != ENOTSUP && code != ENOSYS;
        if (hasLinks) return failWith(code, to, action, error);
        struct stat facts = {};
        if (::lstat(to.c_str(), &facts) == 0) return failWith(EEXIST, to, action, error);
        if (::rename(from.c_str(), to.c_str()) != 0) return failWith(errno, to, action, error);
    }
    if (syncToDisk(to.substr(0, to.rfind('/') + 1), true, action, error)) return true;
    if (isLinked)
        ::unlink(to.c_str());
    else
        (void)std::rename(to.c_str(), from.c_str());
    return false;
}

void removeDatabaseFiles(const std::string& path) noexcept {
    ::unlink(path.c_str());
    for (const char* ending : companionEndings) {
        try {
            ::unlink((path + ending).c_str());
        } catch (...) {  // no memory for the name: it stays until the next time
        }
    }
}

}  // namespace qsml::detail
