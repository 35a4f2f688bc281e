#include "store/detail/WriterLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "store/detail/SqliteHandle.h"
#include "store/detail/forkGeneration.h"

namespace qsml::detail {

namespace {

Error lockError(const std::string& path, int code) {
    return fileError(YapDatabaseErrorCode::cannotLock, path, "locked",
                     std::generic_category().message(code));
}

}  // namespace

WriterLock::~WriterLock() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

bool WriterLock::open(const std::string& databasePath, Error* error) {
    databasePath_ = databasePath;
    forkGeneration_ = forkGeneration();
    const std::string path = databasePath + "-lock";
    constexpr int flags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    descriptor_ = ::open(path.c_str(), flags | O_CREAT | O_EXCL, 0600);
    if (descriptor_ >= 0)
        ::fchmod(descriptor_, 0600);  // whatever the umask is
    else if (errno == EEXIST)
        descriptor_ = ::open(path.c_str(), flags);
    struct stat facts {};
    if (descriptor_ >= 0 && ::fstat(descriptor_, &facts) == 0 && S_ISREG(facts.st_mode))
        return true;
    report(error, lockError(path, descriptor_ < 0 ? errno : EINVAL));
    return false;
}

bool WriterLock::lock(Error* error) {
    int result = 0;
    do {
        result = ::flock(descriptor_, LOCK_EX);
    } while (result != 0 && errno == EINTR);
    if (result == 0) return true;
    report(error, lockError(databasePath_, errno));
    return false;
}

void WriterLock::unlock() noexcept {
    // The lock belongs to the open file, which a forked child shares: it must not give it back.
    if (forkGeneration_ == forkGeneration()) ::flock(descriptor_, LOCK_UN);
}

}  // namespace qsml::detail
