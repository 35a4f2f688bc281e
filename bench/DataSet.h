#pragma once
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "organisation/PLXMediaItemPlaylist.h"
#include "organisation/PLXMediaItemPlaylistItem.h"
#include "tracks/PLXMediaItem.h"
#include "tracks/PLXMediaItemAnalyzedData.h"
#include "tracks/PLXMediaItemLocation.h"
#include "tracks/PLXMediaItemTitleID.h"
#include "tracks/PLXMediaItemUserData.h"

namespace qsml::bench {

/// A record, its collection, and whether a unit of an import ends with it: a track with its
/// records, 500 playlist items, 20 sessions.
struct StoredRecord {
    std::string_view collection;
    std::shared_ptr<const PLXDatabaseObject> record;
    bool endsUnit = false;
};

struct SearchQuery {
    bool isPrefix = false;
    std::string text;

    /// In the full-text language: whole words, or what begins so.
    std::string match() const { return "\"" + text + (isPrefix ? "\"*" : "\""); }
};

/// One edit of a session: what is done (cue, played, rate, loop, title, bpm, pladd, plmove,
/// delete), then to what, then with what.
using Edit = std::vector<std::string>;

using Positions = std::unordered_map<String, std::size_t>;

/// A generated library as records in memory, not yet frozen. Reads every line of the TSV but those
/// of filters.
struct DataSet {
    /// Artists, albums, genres, labels and tags.
    std::vector<StoredRecord> entities;
    std::vector<std::shared_ptr<PLXMediaItem>> tracks;
    /// Of the track at the same position; analysed data may be null.
    std::vector<std::shared_ptr<PLXMediaItemLocation>> locations;
    std::vector<std::shared_ptr<PLXMediaItemAnalyzedData>> analyzedData;
    std::vector<std::shared_ptr<PLXMediaItemUserData>> userData;
    std::vector<std::shared_ptr<PLXMediaItemPlaylist>> playlists;
    std::vector<std::shared_ptr<PLXMediaItemPlaylistItem>> playlistItems;
    /// Each session, then its entries.
    std::vector<StoredRecord> history;
    std::vector<SearchQuery> queries;
    std::vector<Edit> edits;

    Positions trackAt, userDataAt, playlistAt;

    /// Ends the program with a message when the file cannot be read.
    static DataSet load(const std::string& path);

    /// Everything: entities, then track by track, then playlists, their items, history.
    std::vector<StoredRecord> inImportOrder() const;
    /// Of a stored key; ends the program with a message where there is none.
    const std::shared_ptr<PLXMediaItem>& track(std::string_view uuid) const;
};

}  // namespace qsml::bench
