#pragma once
#include <string>

#include "foundation/Error.h"

namespace qsml::detail {

/// Makes an empty file that only its owner can read (mode 0600, whatever the umask is). False with
/// the error when there is something of the name already, were it a link, or it cannot be made.
/// `action` is what the file is made for: "could not be ACTION".
bool createPrivateFile(const std::string& path, const char* action, Error* error);

/// Makes what was written to a file or folder last. `action` as above.
bool syncToDisk(const std::string& path, bool isFolder, const char* action, Error* error);

/// Gives a file another name in its folder, and makes that last. False with the error, and with
/// everything as it was, when something has the name, were it a link, or that fails. What it was
/// called before stays another name of it where the file system knows such.
bool giveName(const std::string& from, const std::string& to, const char* action, Error* error);

/// What SQLite keeps beside a file.
inline constexpr const char* companionEndings[] = {"-journal", "-wal", "-shm"};

/// Removes the file and what SQLite keeps beside it, as far as they are there.
void removeDatabaseFiles(const std::string& path) noexcept;

/// Removes the file when it goes.
class TemporaryDatabaseFile {
public:
    explicit TemporaryDatabaseFile(std::string path) : path_(std::move(path)) {}
    ~TemporaryDatabaseFile() {
        if (!isKept_) removeDatabaseFiles(path_);
    }
    TemporaryDatabaseFile(const TemporaryDatabaseFile&) = delete;
    TemporaryDatabaseFile& operator=(const TemporaryDatabaseFile&) = delete;

    const std::string& path() const { return path_; }
    /// Leaves the file where it is.
    void keep() { isKept_ = true; }

private:
    std::string path_;
    bool isKept_ = false;
};

}  // namespace qsml::detail
