#include "trackLocations.h"

#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/foundation/URLBookmark.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemLocation.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemLocationSource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

namespace qsml::app {

namespace {

Value typeName(std::int64_t type) {
    if (type == PLXMediaItemLocationTypeLocal) return "local";
    if (type == PLXMediaItemLocationTypeGlobal) return "global";
    return type;
}

}  // namespace

std::string absolutePath(const std::string& path) {
    std::error_code failure;
    const auto absolute = std::filesystem::absolute(path, failure);
    return (failure ? std::filesystem::path(path) : absolute).lexically_normal().string();
}

bool isReadableFile(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           ::access(path.c_str(), R_OK) == 0;
}

std::vector<std::string> pathsOf(const PLXMediaItemLocation& location) {
    std::vector<std::string> paths;
    if (location.sourceURIs())
        for (const URL& uri : *location.sourceURIs())
            if (uri.isFileURL()) paths.push_back(uri.path());
    return paths;
}

std::optional<std::string> bookmarkedPath(const PLXMediaItemLocation& location) {
    if (!location.urlBookmarkData()) return std::nullopt;
    const auto base = PLXMediaItemLocationSource::bookmarkDataRelativeURL();
    const auto url =
        URLByResolvingBookmarkData(*location.urlBookmarkData(),
                                   static_cast<unsigned>(BookmarkResolution::withoutUI) +
                                       static_cast<unsigned>(BookmarkResolution::withSecurityScope),
                                   base ? &*base : nullptr);
    return url ? std::optional(url->path()) : std::nullopt;
}

std::optional<std::string> readablePath(const PLXMediaItemLocation& location) {
    if (auto path = bookmarkedPath(location); path && isReadableFile(*path)) return path;
    for (std::string& path : pathsOf(location))
        if (isReadableFile(path)) return std::move(path);
    return std::nullopt;
}

bool hasFile(const PLXMediaItemLocation& location) {
    return location.urlBookmarkData() || !pathsOf(location).empty();
}

Dictionary valuesOf(const PLXMediaItemLocation& location) {
    Dictionary values{{"type", typeName(location.type())}};
    Value::Array uris;
    if (location.sourceURIs())
        for (const URL& uri : *location.sourceURIs()) uris.emplace_back(uri);
    values.set("sourceURIs", std::move(uris));
    if (location.urlBookmarkData()) {
        const auto stored = pathStoredInBookmarkData(*location.urlBookmarkData());
        const auto resolved = bookmarkedPath(location);
        if (stored) values.set("bookmarkPath", String(*stored));
        values.set("bookmarkResolves", resolved.has_value());
        if (resolved) values.set("resolvedPath", String(*resolved));
    }
    if (hasFile(location)) values.set("reachable", readablePath(location).has_value());
    return values;
}

TrackLocations locationsOf(const PLXMediaItem& track,
                           const YapDatabaseReadTransaction& transaction) {
    TrackLocations found;
    const String key = track.titleID() ? track.titleID()->internalID() : track.uuid();
    for (const auto collection : {PLXDatabaseCollectionLocalMediaItemLocations,
                                  PLXDatabaseCollectionGlobalMediaItemLocations})
        if (auto location = transaction.object<PLXMediaItemLocation>(key, collection))
            found.push_back(std::move(location));
    return found;
}

}  // namespace qsml::app
