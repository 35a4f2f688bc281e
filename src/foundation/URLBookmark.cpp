#include "foundation/URLBookmark.h"

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "foundation/BookmarkPlatform.h"

namespace qsml {

// The bytes, integers in little-endian order:
//   "qsmlbkmk", version (4), device (8), inode (8), size of path (4), path,
//   1 if a relative path follows or 0 (1), size of relative path (4), relative path.

namespace {

constexpr std::string_view errorDomain = "URLBookmarkErrorDomain";
constexpr std::string_view magic = "qsmlbkmk";
constexpr std::uint32_t formatVersion = 1;

enum ErrorCode : std::int64_t { invalidURL = 1, unreachable = 2, damaged = 3, notFound = 4 };

struct Bookmark {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::string path;
    std::optional<std::string> relativePath;
};

void fail(Error* error, ErrorCode code, std::string description) {
    report(error, {std::string(errorDomain), code, std::move(description)});
}

std::string describe(int systemError) { return std::generic_category().message(systemError); }

/// 0 and the file's facts, or the system's error number.
int lookAt(const std::string& path, struct ::stat& facts) {
    // The system would take the part before a NUL for the whole path.
    if (path.find('\0') != std::string::npos) return EINVAL;
    return ::stat(path.c_str(), &facts) == 0 ? 0 : errno;
}

void append(std::vector<std::uint8_t>& out, std::uint64_t value, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i)
        out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

void append(std::vector<std::uint8_t>& out, std::string_view text) {
    out.insert(out.end(), text.begin(), text.end());
}

std::vector<std::uint8_t> written(const Bookmark& bookmark) {
    std::vector<std::uint8_t> out;
    append(out, magic);
    append(out, formatVersion, 4);
    append(out, bookmark.device, 8);
    append(out, bookmark.inode, 8);
    append(out, bookmark.path.size(), 4);
    append(out, bookmark.path);
    const std::string_view relative =
        bookmark.relativePath ? std::string_view(*bookmark.relativePath) : "";
    append(out, bookmark.relativePath ? 1 : 0, 1);
    append(out, relative.size(), 4);
    append(out, relative);
    return out;
}

/// Reads from the front of foreign bytes. Once they run out, everything fails.
class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

    bool ok() const { return ok_; }
    bool atEnd() const { return rest_.empty(); }

    std::uint64_t number(std::size_t width) {
        std::uint64_t value = 0;
        const auto bytes = take(width);
        for (std::size_t i = 0; i < bytes.size(); ++i) value |= std::uint64_t{bytes[i]} << (8 * i);
        return value;
    }
    std::string text(std::size_t size) {
        const auto bytes = take(size);
        return {bytes.begin(), bytes.end()};
    }

private:
    std::span<const std::uint8_t> take(std::size_t size) {
        if (size > rest_.size()) ok_ = false;
        if (!ok_) return {};
        const auto taken = rest_.first(size);
        rest_ = rest_.subspan(size);
        return taken;
    }

    std::span<const std::uint8_t> rest_;
    bool ok_ = true;
};

std::optional<Bookmark> readBookmark(const Data& data) {
    Reader reader(data.bytes());
    if (reader.text(magic.size()) != magic || reader.number(4) != formatVersion)
        return std::nullopt;
    Bookmark bookmark;
    bookmark.device = reader.number(8);
    bookmark.inode = reader.number(8);
    bookmark.path = reader.text(reader.number(4));
    const std::uint64_t hasRelative = reader.number(1);
    std::string relative = reader.text(reader.number(4));
    const bool sound = reader.ok() && reader.atEnd() && hasRelative <= 1 &&
                       bookmark.path.starts_with('/') && (hasRelative == 1 || relative.empty());
    if (hasRelative == 1) bookmark.relativePath = std::move(relative);
    return sound ? std::optional(std::move(bookmark)) : std::nullopt;
}

/// Folder and file move together only where they share more than the root of all paths.
std::optional<std::string> relativePath(const std::string& path, const std::string& base) {
    namespace fs = std::filesystem;
    const fs::path file = fs::path(path).lexically_normal();
    fs::path folder = fs::path(base).lexically_normal();
    if (!folder.has_filename()) folder = folder.parent_path();  // a trailing slash
    if (file.relative_path().empty() || folder.relative_path().empty()) return std::nullopt;
    if (*file.relative_path().begin() != *folder.relative_path().begin()) return std::nullopt;
    return file.lexically_relative(folder).string();
}

std::atomic<BookmarkPlatform*> replacement{nullptr};

}  // namespace

BookmarkPlatform::~BookmarkPlatform() = default;

BookmarkPlatform& BookmarkPlatform::native() {
    static auto& platform = *new BookmarkPlatform;  // never destroyed: threads may still ask
    return platform;
}

BookmarkPlatform& BookmarkPlatform::current() {
    auto* const replaced = replacement.load();
    return replaced ? *replaced : native();
}

void BookmarkPlatform::setCurrent(BookmarkPlatform& platform) { replacement = &platform; }

std::optional<Data> BookmarkPlatform::bookmarkData(const URL& fileURL, unsigned,
                                                   const URL* relativeTo, Error* error) {
    if (!fileURL.isFileURL()) {
        fail(error, invalidURL,
             "A bookmark needs a file URL, not " + fileURL.absoluteString().str());
        return std::nullopt;
    }
    Bookmark bookmark;
    bookmark.path = fileURL.path();
    struct ::stat facts {};
    if (const int problem = lookAt(bookmark.path, facts)) {
        fail(error, unreachable,
             "The file \"" + bookmark.path + "\" cannot be bookmarked: " + describe(problem));
        return std::nullopt;
    }
    bookmark.device = static_cast<std::uint64_t>(facts.st_dev);
    bookmark.inode = static_cast<std::uint64_t>(facts.st_ino);
    if (relativeTo && relativeTo->isFileURL())
        bookmark.relativePath = relativePath(bookmark.path, relativeTo->path());
    return Data(written(bookmark));
}

std::optional<URL> BookmarkPlatform::resolve(const Data& data, unsigned, const URL* relativeTo,
                                             Error* error) {
    const auto bookmark = readBookmark(data);
    if (!bookmark) {
        fail(error, damaged,
             "The bookmark is damaged or of a foreign kind (" + std::to_string(data.size()) +
                 " bytes)");
        return std::nullopt;
    }
    struct ::stat facts {};
    if (bookmark->relativePath && relativeTo && relativeTo->isFileURL()) {
        const auto beside = (std::filesystem::path(relativeTo->path()) / *bookmark->relativePath)
                                .lexically_normal();
        if (lookAt(beside.string(), facts) == 0) return URL::fileURLWithPath(beside.string());
    }
    const int problem = lookAt(bookmark->path, facts);
    if (problem == 0) return URL::fileURLWithPath(bookmark->path);
    fail(error, notFound,
         "The bookmarked file \"" + bookmark->path + "\" cannot be found: " + describe(problem));
    return std::nullopt;
}

bool BookmarkPlatform::startAccess(const URL&) { return true; }

void BookmarkPlatform::stopAccess(const URL&) {}

std::optional<Data> bookmarkDataForURL(const URL& fileURL, unsigned options, const URL* relativeTo,
                                       Error* error) {
    return BookmarkPlatform::current().bookmarkData(fileURL, options, relativeTo, error);
}

std::optional<URL> URLByResolvingBookmarkData(const Data& bookmark, unsigned options,
                                              const URL* relativeTo, Error* error) {
    return BookmarkPlatform::current().resolve(bookmark, options, relativeTo, error);
}

std::optional<std::string> pathStoredInBookmarkData(const Data& data) {
    auto bookmark = readBookmark(data);
    return bookmark ? std::optional(std::move(bookmark->path)) : std::nullopt;
}

bool startAccessingSecurityScopedResource(const URL& url) {
    return BookmarkPlatform::current().startAccess(url);
}

void stopAccessingSecurityScopedResource(const URL& url) {
    BookmarkPlatform::current().stopAccess(url);
}

}  // namespace qsml
