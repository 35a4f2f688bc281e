#include "core/PLXFileBookmark.h"

#include <mutex>

#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"
#include "foundation/Log.h"
#include "foundation/URLBookmark.h"

namespace qsml {
namespace {

constexpr std::string_view initMethod = "-[PLXFileBookmark initWithFileURL:relativeToURL:]";

constexpr auto scoped = static_cast<unsigned>(BookmarkCreation::withSecurityScope);
constexpr auto scopedReadOnly =
    scoped + static_cast<unsigned>(BookmarkCreation::securityScopeReadOnly);
constexpr auto resolution = static_cast<unsigned>(BookmarkResolution::withoutUI) +
                            static_cast<unsigned>(BookmarkResolution::withSecurityScope);

std::mutex& attachedURLs() {
    static std::mutex& lock = *new std::mutex;
    return lock;
}

}  // namespace

const ArchiveClass& PLXFileBookmark::classObject() {
    static const ArchiveClass& object = [&]() -> const ArchiveClass& {
        static const ArchiveClass made("PLXFileBookmark", &Object::rootClass(),
                                       []() -> std::shared_ptr<Object> { return make(); });
        ArchiveClass::registerClass(made);
        return made;
    }();
    return object;
}

PLXFileBookmark::PLXFileBookmark(const PLXFileBookmark& other)
    : Object(other), bookmarkData_(other.bookmarkData_), url_(other.URL()) {}

std::shared_ptr<PLXFileBookmark> PLXFileBookmark::make() {
    return std::shared_ptr<PLXFileBookmark>(new PLXFileBookmark);
}

std::shared_ptr<PLXFileBookmark> PLXFileBookmark::initWithFileURL(const qsml::URL& fileURL) {
    return initWithFileURL(fileURL, nullptr);
}

std::shared_ptr<PLXFileBookmark> PLXFileBookmark::initWithFileURL(const qsml::URL& fileURL,
                                                                  const qsml::URL* relativeToURL) {
    if (!fileURL.isFileURL()) {
        log(initMethod, 30, "Invalid file URL: " + fileURL.absoluteString().str());
        return nullptr;
    }
    const bool started = startAccessingSecurityScopedResource(fileURL);
    Error error;
    auto data = bookmarkDataForURL(fileURL, scoped, relativeToURL, &error);
    if (!data) {
        error = {};
        data = bookmarkDataForURL(fileURL, scopedReadOnly, relativeToURL, &error);
    }
    if (started) stopAccessingSecurityScopedResource(fileURL);
    if (!data) {
        log(initMethod, 54,
            "Failed to create URL bookmark for " + fileURL.absoluteString().str() + ": " +
                error.description);
        return nullptr;
    }
    auto bookmark = make();
    bookmark->bookmarkData_ = std::move(data);
    return bookmark;
}

std::optional<URL> PLXFileBookmark::URL() const {
    const std::lock_guard hold(attachedURLs());
    return url_;
}

void PLXFileBookmark::setURL(std::optional<qsml::URL> url) {
    const std::lock_guard hold(attachedURLs());
    url_.swap(url);
}

std::optional<URL> PLXFileBookmark::URLByResolvingBookmarkData(bool& isPlaceholdURL) const {
    return URLByResolvingBookmarkDataRelativeToURL(nullptr, isPlaceholdURL);
}

std::optional<URL> PLXFileBookmark::URLByResolvingBookmarkDataRelativeToURL(
    const qsml::URL* baseURL, bool& isPlaceholdURL) const {
    isPlaceholdURL = false;
    if (!bookmarkData_) return std::nullopt;
    if (auto url = qsml::URLByResolvingBookmarkData(*bookmarkData_, resolution, baseURL))
        return url;
    const auto path = pathStoredInBookmarkData(*bookmarkData_);
    if (!path) return std::nullopt;
    isPlaceholdURL = true;
    return qsml::URL::fileURLWithPath(*path);
}

std::shared_ptr<PLXFileBookmark> PLXFileBookmark::copy() const {
    return std::shared_ptr<PLXFileBookmark>(new PLXFileBookmark(*this));
}

std::shared_ptr<Object> PLXFileBookmark::copyObject() const { return copy(); }

void PLXFileBookmark::encodeWithCoder(KeyedArchiver& coder) const {
    coder.encodeData("bookmarkData", bookmarkData_);
}

bool PLXFileBookmark::initWithCoder(KeyedUnarchiver& coder) {
    bookmarkData_ = coder.decodeData("bookmarkData");
    return true;
}

}  // namespace qsml
