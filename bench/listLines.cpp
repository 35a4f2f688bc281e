// Playlists with their items, and the history of sessions.
#include "Bench.h"
#include "lines.h"
#include "organisation/PLXHistorySession.h"
#include "organisation/PLXHistorySessionItem.h"

namespace qsml::bench {

void addPlaylist(Loading& loading, const Fields& x) {
    auto playlist = PLXMediaItemPlaylist::initWithUUID(loading.keys(x[1]));
    playlist->setName(text(x[4]));
    playlist->setParentUUID(loading.keys(x[2]));
    playlist->setType(integer(x[3]));
    playlist->setChildUUIDs(loading.keys.list(x.size() > 5 ? x[5] : std::string_view()));
    loading.set.playlistAt.emplace(playlist->uuid(), loading.set.playlists.size());
    loading.set.playlists.push_back(std::move(playlist));
    loading.itemsOfPlaylists.emplace_back();
}

void addPlaylistItem(Loading& loading, const Fields& x) {
    auto item = PLXMediaItemPlaylistItem::initWithUUID(loading.keys(x[1]));
    item->setPlaylistUUID(loading.keys(x[2]));
    item->setMediaItemUUID(loading.keys(x[3]));
    const auto playlist = loading.set.playlistAt.find(item->playlistUUID());
    require(playlist != loading.set.playlistAt.end(), "an item names no playlist");
    loading.itemsOfPlaylists[playlist->second].push_back(item->uuid());
    loading.set.playlistItems.push_back(std::move(item));
}

void addSession(Loading& loading, const Fields& x) {
    DataSet& set = loading.set;
    const auto session = PLXHistorySession::initWithUUID(loading.keys(x[1]));
    session->setDeviceName(text(x[4]));
    session->setStartDate(date(x[2]));
    session->setEndDate(date(x[3]));
    set.history.push_back({PLXDatabaseCollectionHistorySessions, session});

    std::vector<String> uuids;
    for (const auto track : split(x[5], ',')) {
        const std::size_t number = uuids.size();
        uuids.emplace_back(std::string(x[1].substr(0, 30)) + std::to_string(100000 + number));
        const auto entry = PLXHistorySessionItem::initWithUUID(uuids.back());
        entry->setSessionUUID(session->uuid());
        entry->setTitleID(set.track(track)->titleID());
        entry->setDeckNumber(static_cast<std::int64_t>(number % 4 + 1));
        entry->setStartTime(Date{real(x[2]) + 240.0 * static_cast<double>(number)});
        set.history.push_back({PLXDatabaseCollectionHistorySessionItems, entry});
    }
    if (!uuids.empty()) session->setItemUUIDs(OrderedSet<String>(std::move(uuids)));

    set.history.back().endsUnit = ++loading.sessions % 20 == 0;
}

}  // namespace qsml::bench
