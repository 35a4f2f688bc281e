#pragma once
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace qsml::app {

/// What the walk met: a regular file to try, or something it cannot give, with the reason.
struct WalkedEntry {
    enum class Kind {
        file,
        refused,  ///< no regular file, or a folder that was looked at already
        failed    ///< a path or folder that could not be looked into
    };
    Kind kind = Kind::file;
    std::string path;
    std::string reason = {};
};

/// Lists the regular files below the given paths, depth first, each folder sorted by the bytes of
/// its names, so that every walk of the same files has the same order. Symbolic links are followed;
/// each folder is walked once, so loops end. Memory: the names of the folders on the way down, and
/// 16 bytes for each folder walked. Confined to one thread.
class FileWalker {
public:
    explicit FileWalker(std::vector<std::string> paths);

    /// The next entry; nothing at the end.
    std::optional<WalkedEntry> next();

private:
    struct Folder {
        std::string path;
        std::vector<std::string> names;  // sorted
        std::size_t position = 0;
        std::pair<unsigned long, unsigned long> identity;  // device and inode
    };

    std::optional<WalkedEntry> look(const std::string& path);
    std::optional<WalkedEntry> enter(const std::string& path,
                                     std::pair<unsigned long, unsigned long> identity);

    std::vector<std::string> paths_;
    std::size_t position_ = 0;
    std::vector<Folder> open_;
    std::set<std::pair<unsigned long, unsigned long>> walked_;
};

}  // namespace qsml::app
