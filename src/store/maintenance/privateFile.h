#pragma once
#include <string>

#include "foundation/Error.h"

namespace qsml::detail {

/// Makes an empty file that only its owner can read (mode 0600, whatever the umask is). False with
/// the error when there is something of the name already, were it a link, or it cannot be made.
/// `action` is what the file is made for: "could not be ACTION".
bool createPrivateFile(const std::string& path, const char* action, Error* error);

/// What SQLite keeps beside a file.
inline constexpr const char* companionEndings[] = {"-journal", "-wal", "-shm"};

/// Removes the file and what SQLite keeps beside it, as far as they are there.
void removeDatabaseFiles(const std::string& path) noexcept;

/// Removes the file when it goes.
class TemporaryDatabaseFile {
public:
    explicit TemporaryDatabaseFile(std::string path) : path_(std::move(path)) {}
    ~TemporaryDatabaseFile() { removeDatabaseFiles(path_); }
    TemporaryDatabaseFile(const TemporaryDatabaseFile&) = delete;
    TemporaryDatabaseFile& operator=(const TemporaryDatabaseFile&) = delete;

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

}  // namespace qsml::detail
