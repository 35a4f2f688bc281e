#include "tracks/PLXMediaItemLocationSource.h"

#include <algorithm>

#include "foundation/Bundle.h"
#include "foundation/Log.h"
#include "foundation/URLBookmark.h"
#include "foundation/paths.h"
#include "tracks/detail/backgroundTransactions.h"
#include "tracks/detail/storedRecord.h"
#include "tracks/qsc_cachedBookmarkDataForURL.h"

namespace qsml {
namespace {

constexpr auto scoped = static_cast<unsigned>(BookmarkCreation::withSecurityScope);
constexpr auto scopedReadOnly =
    scoped + static_cast<unsigned>(BookmarkCreation::securityScopeReadOnly);
constexpr auto resolution = static_cast<unsigned>(BookmarkResolution::withoutUI) +
                            static_cast<unsigned>(BookmarkResolution::withSecurityScope);

std::optional<URL> configuredBase() {
    const String path = Bundle::main().infoValue("QSMediaLibraryBundlePath").string();
    if (!path.empty()) return URL::fileURLWithPath(expandingTildeInPath(path));
    log("+[PLXMediaItemLocationSource bookmarkDataRelativeURL]", __LINE__,
        "QSMediaLibraryBundlePath not configured in Info.plist");
    return std::nullopt;
}

/// The URL through which the host may open the file.
URL accessibleURL(const URL& url) {
    const auto bookmark = qsc_cachedBookmarkDataForURL(url);
    const auto resolved =
        bookmark ? URLByResolvingBookmarkData(*bookmark, resolution, nullptr) : std::nullopt;
    return resolved.value_or(url);
}

/// Keeps the security scope of a URL open, where the platform grants it.
class SecurityScope {
public:
    explicit SecurityScope(const URL& url)
        : url_(url), isOpen_(startAccessingSecurityScopedResource(url)) {}
    ~SecurityScope() {
        if (isOpen_) stopAccessingSecurityScopedResource(url_);
    }
    SecurityScope(const SecurityScope&) = delete;
    SecurityScope& operator=(const SecurityScope&) = delete;

private:
    const URL& url_;
    const bool isOpen_;
};

/// Nothing, with a log line, when it cannot be made.
std::optional<Data> newBookmark(const URL& url) {
    const auto base = PLXMediaItemLocationSource::bookmarkDataRelativeURL();
    const URL* const relativeTo = base ? &*base : nullptr;
    const URL accessible = accessibleURL(url);
    const SecurityScope scope(accessible);
    auto bookmark = bookmarkDataForURL(accessible, scoped, relativeTo);
    Error error;
    if (!bookmark) bookmark = bookmarkDataForURL(accessible, scopedReadOnly, relativeTo, &error);
    if (!bookmark)
        log("-[PLXMediaItemLocationSource "
            "setMediaItemLocation:withURL:removingStaleSourceURIs:transaction:]",
            __LINE__,
            "Failed to save URL bookmark for " + url.absoluteString().str() + ": " +
                error.description);
    return bookmark;
}

/// The set, which may become empty; nothing when it is to stay as it is.
std::optional<URLSet> without(const URLSet& stale, const std::optional<URLSet>& uris) {
    if (!uris) return std::nullopt;
    auto kept = uris->elements();
    const auto removed = std::erase_if(kept, [&](const URL& uri) { return stale.contains(uri); });
    if (removed == 0) return std::nullopt;
    return URLSet(std::move(kept));
}

}  // namespace

PLXMediaItemLocationSource& PLXMediaItemLocationSource::sharedInstance() {
    // Never destroyed: threads of the host may use it until the process ends.
    static auto* const source = new PLXMediaItemLocationSource(PLXDatabaseManager::sharedManager());
    return *source;
}

std::optional<URL> PLXMediaItemLocationSource::bookmarkDataRelativeURL() {
    static const auto& base = *new std::optional<URL>(configuredBase());
    return base;
}

std::shared_ptr<const PLXMediaItemLocation> PLXMediaItemLocationSource::mediaItemLocationForTitleID(
    const std::shared_ptr<const PLXMediaItemTitleID>& titleID,
    const YapDatabaseReadTransaction& transaction) const {
    auto local = detail::storedLocation(titleID, PLXMediaItemLocationTypeLocal, transaction);
    if (local) return local;
    return detail::storedLocation(titleID, PLXMediaItemLocationTypeGlobal, transaction);
}

bool PLXMediaItemLocationSource::setMediaItemLocation(
    const std::shared_ptr<const PLXMediaItemLocation>& location, const std::optional<URL>& url,
    const std::optional<URLSet>& removingStaleSourceURIs,
    YapDatabaseReadWriteTransaction& transaction) {
    if (!location || !location->uuid()) return false;
    const auto collection = detail::collectionOfLocationType(location->type());
    const auto stored = transaction.object<PLXMediaItemLocation>(location->uuid(), collection);
    if (!stored && !detail::isVacant(location->uuid(), collection, transaction)) return false;
    const auto merged =
        stored ? location->mergedCopyWithMediaItemLocation(*stored) : location->copy();
    if (removingStaleSourceURIs)
        if (auto kept = without(*removingStaleSourceURIs, merged->sourceURIs()))
            merged->setSourceURIs(std::move(kept));
    if (url && url->isFileURL())
        if (auto bookmark = newBookmark(*url)) merged->setUrlBookmarkData(std::move(bookmark));
    return transaction.setObject(merged, merged->uuid(), collection);
}

bool PLXMediaItemLocationSource::setMediaItemLocation(
    const std::shared_ptr<const PLXMediaItemLocation>& location, const std::optional<URL>& url,
    YapDatabaseReadWriteTransaction& transaction) {
    return setMediaItemLocation(location, url, std::nullopt, transaction);
}

bool PLXMediaItemLocationSource::setMediaItemLocation(
    const std::shared_ptr<const PLXMediaItemLocation>& location, const std::optional<URL>& url,
    const std::optional<URLSet>& removingStaleSourceURIs) {
    return detail::readWrite(manager_, [&](YapDatabaseReadWriteTransaction& transaction) {
        return setMediaItemLocation(location, url, removingStaleSourceURIs, transaction);
    });
}

}  // namespace qsml
