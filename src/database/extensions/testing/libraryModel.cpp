#include "database/extensions/testing/libraryModel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>

#include "contentpacks/PLXContentPackMediaItem.h"
#include "contentpacks/PLXLooperPack.h"
#include "contentpacks/PLXSamplerPack.h"
#include "contentpacks/PLXTrackPack.h"
#include "contentpacks/PLXVisualizerPack.h"
#include "core/PLXMediaAlbum.h"
#include "core/PLXMediaArtist.h"
#include "core/PLXMediaGenre.h"
#include "core/PLXMediaLabel.h"
#include "database/extensions/testing/viewGroups.h"
#include "organisation/PLXHistorySession.h"
#include "organisation/PLXMediaItemPlaylist.h"
#include "organisation/PLXMediaItemPlaylistItem.h"
#include "organisation/PLXQueue.h"
#include "organisation/PLXQueueItem.h"
#include "store/indexes/YapDatabaseSecondaryIndexTransaction.h"
#include "tracks/PLXMediaItem.h"
#include "tracks/PLXMediaItemAnalyzedData.h"
#include "tracks/PLXMediaItemUserData.h"
#include "tracks/safeCompare.h"

namespace qsml {
namespace {

using Reader = YapDatabaseReadTransaction;
using UUIDs = std::optional<OrderedSet<String>>;

struct Row {
    std::string collection, key;
    Value object;
};
using Rows = std::vector<Row>;  // by age, a collection after the other

template <class Record>
std::shared_ptr<const Record> as(const Row& row) {
    return objectOfClass<Record>(row.object);
}

Rows allRows(Reader& t) {
    Rows rows;
    for (const String& collection : t.allCollections())
        t.enumerateKeysAndObjectsInCollection(
            collection, [&](std::string_view key, const Value& object, bool&) {
                rows.push_back({collection.str(), std::string(key), object});
            });
    return rows;
}

/// The rules of a view: its group for a row (nil: none), and whether a row comes before another of
/// its group.
struct Rules {
    const char* name;
    std::set<std::string> collections;
    std::function<String(const Row& row)> group;
    std::function<bool(const Row& a, const Row& b)> isBefore;
};

bool byName(const Row& a, const Row& b) {
    return safeLocalizedCaseInsensitiveCompare(nameOfRecord(a.object), nameOfRecord(b.object)) < 0;
}
bool byTitle(const Row& a, const Row& b) {
    return safeCompare(nameOfRecord(a.object), nameOfRecord(b.object)) < 0;
}
bool byPlace(const Row& a, const Row& b) {
    const auto first = as<PLXContentPack>(a), second = as<PLXContentPack>(b);
    if (first->sortOrder() != second->sortOrder()) return first->sortOrder() < second->sortOrder();
    return byName(a, b);
}
bool newestFirst(const Row& a, const Row& b) {
    const auto first = as<PLXHistorySession>(a)->startDate(),
               second = as<PLXHistorySession>(b)->startDate();
    return first && (!second || *first > *second);
}

String mediaGroup(const Row& row) {
    if (as<PLXMediaItem>(row)) return "mediaItem";
    if (as<PLXMediaArtist>(row)) return "artist";
    if (as<PLXMediaAlbum>(row)) return "album";
    if (as<PLXMediaGenre>(row)) return "genre";
    if (as<PLXMediaLabel>(row)) return "label";
    const auto playlist = as<PLXMediaItemPlaylist>(row);
    return playlist && playlist->type() != 1 ? "playlist" : String();
}
String packKind(const Row& row) {
    if (as<PLXLooperPack>(row)) return "looper";
    if (as<PLXVisualizerPack>(row)) return "visualizer";
    if (as<PLXSamplerPack>(row)) return "sampler";
    return as<PLXTrackPack>(row) ? "track" : String();
}
String packKindIf(const Row& row, bool (*shows)(const PLXContentPack&)) {
    const auto pack = as<PLXContentPack>(row);
    return pack && shows(*pack) ? packKind(row) : String();
}

template <class Entry, class Holder, class GroupOf, class ListOf>
Rules listed(Reader& t, const char* name, const char* entries, const char* holders, GroupOf groupOf,
             ListOf listOf) {
    const auto place = [&t, holders, groupOf, listOf](const Row& row) {
        const auto entry = as<Entry>(row);
        const auto holder = t.object<Holder>(groupOf(*entry), holders);
        const UUIDs uuids = holder ? UUIDs(listOf(*holder)) : UUIDs();
        return uuids ? uuids->indexOf(entry->uuid()) : OrderedSet<String>::npos;
    };
    return {name,
            {entries},
            [groupOf](const Row& row) {
                const auto entry = as<Entry>(row);
                return entry ? groupOf(*entry) : String();
            },
            [place](const Row& a, const Row& b) { return place(a) < place(b); }};
}

std::vector<Rules> trackViews() {
    return {{"mediaView",
             {"mediaItems", "mediaArtists", "mediaAlbums", "mediaGenres", "mediaLabels",
              "mediaItemPlaylists"},
             mediaGroup,
             byName},
            {"mediaItemsView",
             {"mediaItems"},
             [](const Row& row) { return as<PLXMediaItem>(row) ? "mediaItem" : String(); },
             byTitle},
            {"mediaItemOriginalSourceView",
             {"mediaItems"},
             [](const Row& row) {
                 const auto item = as<PLXMediaItem>(row);
                 if (!item) return String();
                 return item->originSourceID() ? String(item->originSourceID()) : String("none");
             },
             byTitle},
            {"mediaItemKeySignatureIndexView",
             {"mediaItemAnalyzedData"},
             [](const Row& row) {
                 const auto data = as<PLXMediaItemAnalyzedData>(row);
                 return data && data->keySignatureIndex() >= 0
                            ? String(std::to_string(data->keySignatureIndex()))
                            : String();
             },
             [](const Row&, const Row&) { return false; }}};
}

std::vector<Rules> listedViews(Reader& t) {
    return {listed<PLXMediaItemPlaylist, PLXMediaItemPlaylist>(
                t, "mediaItemPlaylistsView", "mediaItemPlaylists", "mediaItemPlaylists",
                [](const PLXMediaItemPlaylist& playlist) {
                    return playlist.parentUUID() ? String(playlist.parentUUID()) : String("root");
                },
                [](const PLXMediaItemPlaylist& parent) { return parent.childUUIDs(); }),
            listed<PLXMediaItemPlaylistItem, PLXMediaItemPlaylist>(
                t, "mediaItemPlaylistView", "mediaItemPlaylistItems", "mediaItemPlaylists",
                [](const PLXMediaItemPlaylistItem& item) { return String(item.playlistUUID()); },
                [](const PLXMediaItemPlaylist& playlist) { return playlist.itemUUIDs(); }),
            listed<PLXQueueItem, PLXQueue>(
                t, "queueView", "queueItems", "queues",
                [](const PLXQueueItem& item) { return String(item.queueUUID()); },
                [](const PLXQueue& queue) { return queue.itemUUIDs(); }),
            {"historySessionView",
             {"historySessions"},
             [](const Row& row) { return as<PLXHistorySession>(row) ? "sessions" : String(); },
             newestFirst}};
}

std::vector<Rules> packViews() {
    const auto available = [](const Row& row) {
        return packKindIf(row,
                          [](auto& pack) { return !(pack.owner() == 0 && pack.state() == 0); });
    };
    const auto installed = [](const Row& row) {
        return packKindIf(row, [](auto& pack) { return pack.state() == 3; });
    };
    const auto ownOrInstalled = [](const Row& row) {
        return packKindIf(row,
                          [](auto& pack) { return !(pack.owner() == 0 && pack.state() != 3); });
    };
    const std::set<std::string> both{"contentPacks", "userContentPacks"};
    return {{"contentPacksView", {"contentPacks"}, packKind, byPlace},
            {"installedContentPacksView", {"contentPacks"}, installed, byPlace},
            {"userContentPacksView", {"userContentPacks"}, packKind, byPlace},
            {"allAvailableContentPacksView", both, available, byPlace},
            {"allInstalledContentPacksView", both, ownOrInstalled, byPlace},
            {"contentPackMediaItemsView",
             {"contentPackMediaItems"},
             [](const Row& row) {
                 const auto file = as<PLXContentPackMediaItem>(row);
                 return file ? String(file->contentPackUUID()) : String();
             },
             byName},
            {"userContentPackMediaItemsView",
             {"userContentPackMediaItems"},
             [](const Row& row) {
                 return as<PLXContentPackMediaItem>(row) ? "contentPackMediaItem" : String();
             },
             byName}};
}

using RowGroups = std::map<std::string, std::vector<const Row*>>;

RowGroups groupsOf(const Rows& rows, const Rules& rules) {
    RowGroups groups;
    for (const Row& row : rows) {
        if (!rules.collections.count(row.collection)) continue;
        if (const String group = rules.group(row)) groups[group.str()].push_back(&row);
    }
    for (auto& [group, members] : groups)
        std::stable_sort(members.begin(), members.end(),
                         [&](const Row* a, const Row* b) { return rules.isBefore(*a, *b); });
    return groups;
}

ViewGroups keysOf(const RowGroups& groups, const std::function<bool(const Row&)>& shows) {
    ViewGroups keys;
    for (const auto& [group, rows] : groups)
        for (const Row* row : rows)
            if (shows(*row)) keys[group].push_back(row->key);
    return keys;
}

// Indexes.

std::set<std::string> keysWhere(Reader& t, std::string_view index, const char* condition) {
    std::set<std::string> keys;
    auto* const columns = t.ext<YapDatabaseSecondaryIndexTransaction>(index);
    EXPECT_TRUE(columns && columns->enumerateKeysMatchingQuery(
                               YapDatabaseQuery(std::string("WHERE ") + condition),
                               [&](auto, std::string_view key, bool&) { keys.emplace(key); }));
    return keys;
}

void expectIndexesOfRows(Reader& t, const Rows& rows) {
    std::set<std::string> fast, unnamed;
    for (const Row& row : rows) {
        const auto userData = t.object<PLXMediaItemUserData>(row.key, "mediaItemUserData");
        if (row.collection == "mediaItemAnalyzedData" && as<PLXMediaItemAnalyzedData>(row) &&
            userData && userData->manualBPM() > 100)
            fast.insert(row.key);
        const auto playlist = as<PLXMediaItemPlaylist>(row);
        if (playlist && playlist->name() && *playlist->name() < "a") unnamed.insert(row.key);
    }
    EXPECT_EQ(keysWhere(t, "mediaItemAnalyzedDataIndex", "manualBPM > 100"), fast);
    EXPECT_EQ(keysWhere(t, "mediaItemPlaylistIndex", "name < 'a'"), unnamed);
}

std::map<std::string, ViewGroups> viewsOf(Reader& t, const Rows& rows, const LibraryRules& rules) {
    std::map<std::string, ViewGroups> views;
    for (const auto& some : {trackViews(), listedViews(t), packViews()})
        for (const Rules& view : some)
            views[view.name] = keysOf(groupsOf(rows, view), [](const Row&) { return true; });

    const RowGroups media = groupsOf(rows, trackViews().front());
    RowGroups searched = media;
    for (const char* group : {"genre", "label"}) searched.erase(group);
    const auto finds = [&](const Row& row) { return isFound(t, row.object, rules); };
    const auto leaves = [&](const Row& row) { return keyIsShown(row.key, rules.divisor); };
    views["searchResultsView"] = keysOf(searched, finds);
    views["filteredTracks"] = keysOf(media, leaves);
    views["filteredFound"] =
        keysOf(searched, [&](const Row& row) { return leaves(row) && finds(row); });
    return views;
}

}  // namespace

bool keyIsShown(std::string_view key, int divisor) {
    const std::size_t end = key.find_last_not_of("0123456789");
    return std::atoi(std::string(key.substr(end + 1)).c_str()) % divisor == 0;
}

std::string textShown(const Value& object) {
    if (const auto data = objectOfClass<PLXMediaItemAnalyzedData>(object))
        return std::to_string(data->bpm());
    const auto item = objectOfClass<PLXMediaItem>(object);
    return nameOfRecord(object).str() + (item ? "|" + item->grouping().str() : "");
}

std::map<std::string, std::size_t> expectViewsOfRows(YapDatabaseReadTransaction& transaction,
                                                     const LibraryRules& rules) {
    std::map<std::string, std::size_t> sizes;
    const Rows rows = allRows(transaction);
    for (const auto& [name, groups] : viewsOf(transaction, rows, rules)) {
        EXPECT_EQ(groupsShown(transaction, name), groups) << name << " " << rules.query;
        std::size_t& size = sizes[name];
        for (const auto& [group, keys] : groups) size += keys.size();
    }
    expectIndexesOfRows(transaction, rows);
    EXPECT_FALSE(transaction.error()) << transaction.error().description;
    return sizes;
}

}  // namespace qsml
