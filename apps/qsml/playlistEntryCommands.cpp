#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/organisation/PLXMediaItemPlaylistItem.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <fmt/format.h>

#include "CommandFailure.h"
#include "PlaylistEntries.h"
#include "PlaylistTree.h"
#include "Table.h"
#include "findTrack.h"
#include "libraryTransactions.h"
#include "output.h"
#include "playlistCommands.h"
#include "playlistRecords.h"
#include "printable.h"
#include "recordValues.h"

namespace qsml::app {

namespace {

/// Entries and where they stand, or stood, with their tracks' titles.
struct Placed {
    PlaylistEntries::Item item;
    std::size_t position = 0;
    String title;
};

std::shared_ptr<const PLXMediaItem> trackOf(const PLXMediaItemPlaylistItem& item,
                                            const YapDatabaseReadTransaction& transaction) {
    return transaction.object<PLXMediaItem>(item.mediaItemUUID(), PLXDatabaseCollectionMediaItems);
}

Placed placed(const PlaylistEntries::Item& item, std::size_t position,
              const YapDatabaseReadTransaction& transaction) {
    const auto track = trackOf(*item, transaction);
    return {item, position, track ? track->title() : String()};
}

Dictionary values(const Placed& entry) {
    Dictionary values{{"position", static_cast<std::int64_t>(entry.position + 1)}};
    for (const auto& [key, value] : valuesOf(*entry.item)) values.set(key, value);
    values.set("title", entry.title);
    return values;
}

/// What a change says: a JSON object for each entry, or a line for people.
void tell(const CommonOptions& common, std::string_view what, const std::vector<Placed>& entries) {
    for (const Placed& entry : entries)
        if (common.asJSON)
            putJSON(values(entry));
        else
            putLine(
                fmt::format("{} {}. {}", what, entry.position + 1, printable(entry.title.view())));
}

using Tracks = std::vector<std::shared_ptr<const PLXMediaItem>>;

/// Runs the block on the playlist's entries in one transaction, and stores them. What the options
/// name is looked for before: nobody else can write meanwhile, and that reads every track.
void changeEntries(const CommonOptions& common, const PlaylistOptions& options,
                   const std::function<void(PlaylistEntries&, const Tracks&,
                                            YapDatabaseReadWriteTransaction&)>& block) {
    const auto connection = openLibrary(libraryPath(common.library), Opening::existing);
    String uuid;
    Tracks tracks;
    readLibrary(connection, [&](YapDatabaseReadTransaction& transaction) {
        uuid = findPlaylist(options.playlist, PlaylistTree(transaction))->uuid();
        tracks = findTracks(options.tracks, transaction);
    });
    changeLibrary(connection, [&](YapDatabaseReadWriteTransaction& transaction) {
        auto playlist =
            transaction.object<PLXMediaItemPlaylist>(uuid, PLXDatabaseCollectionMediaItemPlaylists);
        if (!playlist) throw CommandFailure("the playlist has just been removed");
        requireTracks(tracks, transaction);
        PlaylistEntries entries(std::move(playlist), transaction);
        block(entries, tracks, transaction);
        entries.store(transaction);
    });
}

void putEntryJSON(const Placed& entry, const PLXMediaItem* track,
                  const YapDatabaseReadTransaction& transaction) {
    Dictionary all = values(entry);
    if (track) {
        all.set("artists", namesOf(*track, transaction).artists);
        all.set("duration", track->duration());
    } else {
        all.set("fault", "its track is missing or damaged");
    }
    putJSON(all);
}

void addEntry(const Placed& entry, const PLXMediaItem* track,
              const YapDatabaseReadTransaction& transaction, Table& table) {
    const std::string number = std::to_string(entry.position + 1);
    if (track)
        table.add({number, entry.title.str(), namesOf(*track, transaction).artists.str(),
                   playingTime(static_cast<double>(track->duration()))});
    else
        table.add({number, "(missing: " + entry.item->mediaItemUUID().str() + ")", "", ""});
}

}  // namespace

int runPlaylistShow(const CommonOptions& common, const PlaylistOptions& options) {
    readLibrary(common, [&](YapDatabaseReadTransaction& transaction) {
        const PlaylistTree tree(transaction);
        const PlaylistEntries entries(findPlaylist(options.playlist, tree), transaction);
        std::optional<Table> table;
        if (!common.asJSON)
            table.emplace(std::vector<Table::Column>{
                {"#", 6, true}, {"Title", 50}, {"Artist", 30}, {"Time", 8, true}});
        for (std::size_t position = 0; position < entries.items().size(); ++position) {
            const auto& item = entries.items()[position];
            const auto track = trackOf(*item, transaction);
            const Placed entry{item, position, track ? track->title() : String()};
            if (table)
                addEntry(entry, track.get(), transaction, *table);
            else
                putEntryJSON(entry, track.get(), transaction);
        }
    });
    return 0;
}

int runPlaylistInsert(const CommonOptions& common, const PlaylistOptions& options) {
    std::vector<Placed> added;
    const auto block = [&](PlaylistEntries& entries, const Tracks& tracks,
                           YapDatabaseReadWriteTransaction& transaction) {
        std::size_t position = options.at == 0 ? entries.items().size() : options.at - 1;
        for (const auto& track : tracks) {
            added.push_back({entries.add(*track, position, transaction), position, track->title()});
            ++position;
        }
    };
    changeEntries(common, options, block);
    tell(common, "added as", added);
    return 0;
}

int runPlaylistReorder(const CommonOptions& common, const PlaylistOptions& options) {
    std::vector<Placed> moved;
    const auto block = [&](PlaylistEntries& entries, const Tracks&,
                           YapDatabaseReadWriteTransaction& transaction) {
        entries.move(options.from - 1, options.to - 1);
        moved.push_back(placed(entries.items()[options.to - 1], options.to - 1, transaction));
    };
    changeEntries(common, options, block);
    tell(common, "moved to", moved);
    return 0;
}

int runPlaylistRemove(const CommonOptions& common, const PlaylistOptions& options) {
    std::vector<Placed> removed;
    const auto block = [&](PlaylistEntries& entries, const Tracks&,
                           YapDatabaseReadWriteTransaction& transaction) {
        std::set<std::size_t> positions;
        for (const std::size_t position : options.positions) positions.insert(position - 1);
        auto position = positions.begin();
        for (const auto& item : entries.remove(positions, transaction))
            removed.push_back(placed(item, *position++, transaction));
    };
    changeEntries(common, options, block);
    tell(common, "removed", removed);
    return 0;
}

}  // namespace qsml::app
