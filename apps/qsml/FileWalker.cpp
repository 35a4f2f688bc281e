#include "FileWalker.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <system_error>

namespace qsml::app {

namespace {

using Kind = WalkedEntry::Kind;

std::string failure(int number) { return std::generic_category().message(number); }

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

/// The sorted names in a folder; 0 or what went wrong.
int namesIn(const std::string& path, std::vector<std::string>& names) {
    const std::unique_ptr<DIR, CloseFolder> folder(::opendir(path.c_str()));
    if (!folder) return errno;
    errno = 0;
    while (const dirent* entry = ::readdir(folder.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") names.push_back(name);
        errno = 0;
    }
    std::sort(names.begin(), names.end());
    return errno;
}

}  // namespace

FileWalker::FileWalker(std::vector<std::string> paths) : paths_(std::move(paths)) {}

std::optional<WalkedEntry> FileWalker::next() {
    while (true) {
        std::string path;
        if (open_.empty()) {
            if (position_ == paths_.size()) return std::nullopt;
            path = paths_[position_++];
        } else {
            Folder& folder = open_.back();
            if (folder.position == folder.names.size()) {
                open_.pop_back();
                continue;
            }
            const bool endsInSlash = folder.path.ends_with('/');
            path = folder.path + (endsInSlash ? "" : "/") + folder.names[folder.position++];
        }
        if (auto entry = look(path)) return entry;
    }
}

/// The entry for a path; nothing for a folder that was entered.
std::optional<WalkedEntry> FileWalker::look(const std::string& path) {
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0) {
        const int number = errno;
        struct stat link = {};
        const bool isLink = ::lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode);
        // Below a folder, a link that leads nowhere is just no file; a path that was asked for is
        // missing.
        if (isLink && !open_.empty())
            return WalkedEntry{Kind::refused, path, "is a link to nothing"};
        return WalkedEntry{Kind::failed, path, failure(number)};
    }
    if (S_ISDIR(status.st_mode)) return enter(path, {status.st_dev, status.st_ino});
    if (S_ISREG(status.st_mode)) return WalkedEntry{Kind::file, path};
    return WalkedEntry{Kind::refused, path, "is not a regular file"};
}

std::optional<WalkedEntry> FileWalker::enter(const std::string& path,
                                             std::pair<unsigned long, unsigned long> identity) {
    if (!walked_.insert(identity).second) {
        const bool isLoop = std::any_of(open_.begin(), open_.end(), [&](const Folder& folder) {
            return folder.identity == identity;
        });
        return WalkedEntry{Kind::refused, path,
                           isLoop ? "leads back to a folder above it (a loop)"
                                  : "is a folder that was looked at already"};
    }
    Folder folder{path, {}, 0, identity};
    if (const int number = namesIn(path, folder.names))
        return WalkedEntry{Kind::failed, path, "cannot be looked into: " + failure(number)};
    open_.push_back(std::move(folder));
    return std::nullopt;
}

}  // namespace qsml::app
