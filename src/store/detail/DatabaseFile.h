#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "foundation/Error.h"

namespace qsml::detail {

/// The canonical path of a file that is there, or of one to be made in a folder that is there.
std::optional<std::string> canonicalPath(const std::string& path, Error* error);

/// A database file that this process has claimed: its one canonical path. Two claims of one file,
/// by whatever links, are refused. Gives the claim back when it goes.
class DatabaseFile {
public:
    /// Checks and claims the file at the path, without changing it; makes an empty one (mode 0600)
    /// where there is none. Null with the error when there is something else, or a newer format.
    static std::unique_ptr<DatabaseFile> claim(const std::string& path, Error* error);
    ~DatabaseFile();
    DatabaseFile(const DatabaseFile&) = delete;
    DatabaseFile& operator=(const DatabaseFile&) = delete;

    const std::string& path() const { return path_; }

private:
    using Identity = std::pair<std::uint64_t, std::uint64_t>;  // device and inode
    struct Registry;
    DatabaseFile(std::string path, Identity identity)
        : path_(std::move(path)), identity_(identity) {}

    std::string path_;
    Identity identity_;
};

}  // namespace qsml::detail
