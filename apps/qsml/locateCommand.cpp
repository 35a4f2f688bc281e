#include <QSMediaLibraryData/database/PLXDatabaseManager.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/store/views/YapDatabaseViewTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemLocation.h>
#include <fmt/format.h>

#include "CommandFailure.h"
#include "ProgressBar.h"
#include "Relinking.h"
#include "browsingCommands.h"
#include "findTrack.h"
#include "libraryTransactions.h"
#include "output.h"
#include "printable.h"
#include "trackLocations.h"

namespace qsml::app {

namespace {

/// Where a track's file is. It is missing when no location tells of a file or stream, or none of
/// the files that are told of can be read.
struct Whereabouts {
    TrackLocations locations;
    std::optional<std::string> path;
    bool isMissing = false;

    Whereabouts(const PLXMediaItem& track, const YapDatabaseReadTransaction& transaction)
        : locations(locationsOf(track, transaction)), isMissing(locations.empty()) {
        bool isElsewhere = false;  // at a store or stream, which is not looked for
        for (const auto& location : locations) {
            if (!path) path = readablePath(*location);
            const std::size_t uris = location->sourceURIs() ? location->sourceURIs()->size() : 0;
            isElsewhere = isElsewhere || uris > pathsOf(*location).size();
        }
        isMissing = !path && !isElsewhere;
    }

    Dictionary values(const PLXMediaItem& track) const {
        Dictionary values{{"uuid", track.uuid()}, {"title", track.title()}};
        values.set("missing", isMissing);
        if (path) values.set("path", String(*path));
        Value::Array all;
        for (const auto& location : locations) all.emplace_back(valuesOf(*location));
        values.set("locations", std::move(all));
        return values;
    }
};

void putText(const Dictionary& location) {
    putLine(location["type"].description() + " location");
    for (const Value& uri : location["sourceURIs"].elements())
        putLine("  known as  " + printable(uri.url()->absoluteString()));
    if (const String path = location["bookmarkPath"].string())
        putLine("  bookmark  " + printable(path));
    if (location.contains("bookmarkResolves"))
        putLine(location["bookmarkResolves"].boolValue()
                    ? "  leads to  " + printable(location["resolvedPath"].string())
                    : std::string("  leads nowhere now"));
}

int locateTrack(const CommonOptions& common, const std::string& which) {
    readLibrary(common, [&](YapDatabaseReadTransaction& transaction) {
        const auto track = findTrack(which, transaction);
        const Whereabouts found(*track, transaction);
        if (common.asJSON) {
            putJSON(found.values(*track));
            return;
        }
        putLine(printable(track->title()) + ": " +
                (found.path                ? "is at " + printable(*found.path)
                 : found.locations.empty() ? std::string("has no location")
                 : found.isMissing         ? std::string("is out of reach")
                                           : std::string("is no file")));
        for (const auto& location : found.locations) putText(valuesOf(*location));
    });
    return 0;
}

void putMissing(const CommonOptions& common, const PLXMediaItem& track, const Whereabouts& found) {
    if (common.asJSON) {
        putJSON(found.values(track));
        return;
    }
    std::string paths;
    for (const auto& location : found.locations)
        for (const std::string& path : pathsOf(*location))
            paths += (paths.empty() ? "" : ", ") + printable(path);
    constexpr std::size_t shortIDLength = 8;
    putLine(fmt::format("{}  {}: {}", track.uuid().view().substr(0, shortIDLength),
                        printable(track.title()), paths.empty() ? "has no location" : paths));
}

/// By title. Looks at files until the page is full.
int listMissing(const CommonOptions& common, const Page& page) {
    ProgressBar bar("tracks");
    readLibrary(common, [&](YapDatabaseReadTransaction& transaction) {
        auto* const all =
            transaction.ext<YapDatabaseViewTransaction>(PLXDatabaseExtensionMediaView);
        if (!all) throw CommandFailure("the library lacks its list; \"qsml check\" tells more");
        const std::uint64_t total = all->numberOfItemsInGroup("mediaItem");
        std::uint64_t missing = 0;
        const auto block = [&](std::string_view, std::string_view, const Value& object,
                               std::uint64_t index, bool& stop) {
            const auto* track = dynamic_cast<const PLXMediaItem*>(object.object().get());
            bar.update(index + 1, total);
            if (!track) return;
            const Whereabouts found(*track, transaction);
            if (!found.isMissing || missing++ < page.offset) return;
            bar.clear();
            putMissing(common, *track, found);
            stop = missing - page.offset >= page.limit;
        };
        if (page.limit > 0) all->enumerateKeysAndObjectsInGroup("mediaItem", block);
    });
    return 0;
}

}  // namespace

int runLocate(const CommonOptions& common, const LocateOptions& options) {
    if (!options.relink.empty()) {
        const auto connection = openLibrary(libraryPath(common.library), Opening::existing);
        Relinking(connection, {options.relink[0], options.relink[1]}, options.dryRun, common.asJSON)
            .run();
        return 0;
    }
    if (options.missing) return listMissing(common, options.page);
    if (options.track.empty())
        throw CommandFailure("name a track, or give --missing or --relink OLD NEW");
    return locateTrack(common, options.track);
}

}  // namespace qsml::app
