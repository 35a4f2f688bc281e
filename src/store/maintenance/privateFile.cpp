#include "store/maintenance/privateFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "store/detail/SqliteHandle.h"

namespace qsml::detail {

bool createPrivateFile(const std::string& path, const char* action, Error* error) {
    constexpr int flags = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
    const int descriptor = ::open(path.c_str(), flags, 0600);
    if (descriptor >= 0) {
        ::fchmod(descriptor, 0600);
        ::close(descriptor);
        return true;
    }
    const int code = errno;
    const std::string cause = std::generic_category().message(code);
    if (code == EEXIST)
        report(error, fileError(YapDatabaseErrorCode::alreadyThere, path, action, cause));
    else
        report(error, fileError(code, path, action, cause));
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
