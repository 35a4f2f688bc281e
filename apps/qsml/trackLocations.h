#pragma once
#include <optional>
#include <string>
#include <vector>

#include <QSMediaLibraryData/foundation/Value.h>

namespace qsml {
class PLXMediaItem;
class PLXMediaItemLocation;
class YapDatabaseReadTransaction;
}  // namespace qsml

namespace qsml::app {

/// The path as the library keeps it: absolute, without "." and "..". Links are not followed.
std::string absolutePath(const std::string& path);
/// A file that is there and may be read.
bool isReadableFile(const std::string& path);

/// The paths of its file URIs.
std::vector<std::string> pathsOf(const PLXMediaItemLocation& location);
/// Where the bookmark leads now; nothing without one, or when it leads nowhere.
std::optional<std::string> bookmarkedPath(const PLXMediaItemLocation& location);
/// Where the file can be read now: where the bookmark leads, else under a URI.
std::optional<std::string> readablePath(const PLXMediaItemLocation& location);
/// Whether it tells of a file at all; streams and stores are not looked for.
bool hasFile(const PLXMediaItemLocation& location);

/// Its type, its URIs and what became of the bookmark and the file; no bytes of the bookmark.
Dictionary valuesOf(const PLXMediaItemLocation& location);

using TrackLocations = std::vector<std::shared_ptr<const PLXMediaItemLocation>>;
/// The local one and the global one, those that are there.
TrackLocations locationsOf(const PLXMediaItem& track,
                           const YapDatabaseReadTransaction& transaction);

}  // namespace qsml::app
