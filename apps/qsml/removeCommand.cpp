#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <fmt/format.h>

#include <set>

#include "CommandFailure.h"
#include "TrackRemoval.h"
#include "browsingCommands.h"
#include "findTrack.h"
#include "libraryTransactions.h"
#include "output.h"
#include "printable.h"

namespace qsml::app {

namespace {

void tell(const CommonOptions& common, const char* event, const TrackRemoval::Row& row) {
    const auto& [collection, key] = row.row;
    if (common.asJSON) {
        putJSON({{"event", event},
                 {"collection", collection},
                 {"key", key},
                 {"name", row.name},
                 {"takenAlong", row.isTakenAlong}});
        return;
    }
    putLine(fmt::format("{:<8} {} {}{}{}", event, collection.view(), printable(key),
                        row.name ? " " + printable(row.name) : "",
                        row.isTakenAlong ? " (taken along)" : ""));
}

void tellSummary(const CommonOptions& common, std::size_t tracks, std::size_t rows, bool isSure) {
    if (common.asJSON)
        putJSON({{"event", "summary"},
                 {"tracks", static_cast<std::int64_t>(tracks)},
                 {"rows", static_cast<std::int64_t>(rows)},
                 {"dryRun", !isSure}});
    else
        putLine(
            fmt::format("{} tracks, {} records; entries of the queue and of the history stay, "
                        "because they hold their titles themselves",
                        grouped(tracks), grouped(rows)));
}

}  // namespace

int runRemove(const CommonOptions& common, const RemoveOptions& options) {
    const auto connection = openLibrary(libraryPath(common.library), Opening::existing);
    std::set<std::string> uuids;
    readLibrary(connection, [&](YapDatabaseReadTransaction& transaction) {
        for (const auto& track : findTracks(options.tracks, transaction))
            uuids.insert(track->uuid().str());
    });
    std::vector<TrackRemoval::Row> gone, kept;
    changeLibrary(connection, [&](YapDatabaseReadWriteTransaction& transaction) {
        TrackRemoval removal(transaction);
        for (const std::string& uuid : uuids) removal.remove(findTrack(uuid, transaction));
        gone = removal.finish();
        kept = removal.kept();
        if (!options.isSure) transaction.rollback();
    });
    for (const auto& row : gone) tell(common, "removed", row);
    for (const auto& row : kept) tell(common, "kept", row);
    tellSummary(common, uuids.size(), gone.size(), options.isSure);
    if (!options.isSure)
        throw CommandFailure("nothing was removed yet; the same with --yes removes all of this");
    return 0;
}

}  // namespace qsml::app
