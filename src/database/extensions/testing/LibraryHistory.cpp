#include "database/extensions/testing/LibraryHistory.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "core/PLXMediaArtist.h"
#include "organisation/PLXMediaItemTag.h"
#include "store/YapDatabase.h"
#include "store/views/YapDatabaseFilteredView.h"
#include "store/views/YapDatabaseSearchResultsView.h"
#include "tracks/PLXMediaItem.h"

namespace qsml {
namespace {

YapDatabaseViewFiltering filterOf(int divisor) {
    return [divisor](YapDatabaseReadTransaction&, std::string_view, std::string_view,
                     std::string_view key) { return keyIsShown(key, divisor); };
}

constexpr const char* filteredViews[] = {"filteredTracks", "filteredFound"};

}  // namespace

void registerFilteredViews(PLXDatabaseManager& manager) {
    const char* const parents[] = {"mediaView", "searchResultsView"};
    for (std::size_t i = 0; i < std::size(parents); ++i)
        ASSERT_TRUE(manager.database()->registerExtension(
            std::make_shared<YapDatabaseFilteredView>(parents[i], filterOf(2), "0"),
            filteredViews[i]));
}

LibraryHistory::LibraryHistory(PLXDatabaseManager& manager, unsigned seed, std::size_t scale)
    : connections_{manager.bgDatabaseConnection(), manager.database()->newConnection(),
                   manager.database()->newConnection()},
      random_(seed),
      scale_(scale) {
    connections_[1]->setObjectCacheLimit(20);
    connections_[2]->setObjectCacheEnabled(false);
}

String LibraryHistory::text() {
    if (oneOf(12)) return {};
    std::string words;
    for (std::size_t left = draw(3); left > 0; --left)
        words += std::string(libraryWords[draw(std::size(libraryWords))].text) + " ";
    if (!words.empty()) words.pop_back();
    return String(words);
}

std::optional<OrderedSet<String>> LibraryHistory::some(std::string (LibraryHistory::*one)()) {
    if (oneOf(4)) return std::nullopt;
    Keys keys;
    for (std::size_t left = draw(4); left > 0; --left) keys.emplace_back((this->*one)());
    return OrderedSet<String>(std::move(keys));
}

void LibraryHistory::putAnywhere(Keys& keys, const String& key) {
    std::erase(keys, key);
    keys.insert(keys.begin() + static_cast<std::ptrdiff_t>(draw(keys.size() + 1)), key);
}

std::pair<std::string, std::string> LibraryHistory::anyRow() {
    switch (draw(16)) {
        case 0:
            return {artistKey(), "mediaArtists"};
        case 1:
            return {key("album", 5), "mediaAlbums"};
        case 2:
            return {genreKey(), "mediaGenres"};
        case 3:
            return {key("label", 4), "mediaLabels"};
        case 4:
            return {trackKey(), "mediaItemUserData"};
        case 5:
            return {trackKey(), "mediaItemAnalyzedData"};
        case 6:
            return {tagKey(), "mediaItemTags"};
        case 7:
            return {playlistKey(), "mediaItemPlaylists"};
        case 8:
        case 9:
            return {entryKey(), "mediaItemPlaylistItems"};
        case 10:
            return {queueKey(), "queues"};
        case 11:
            return {queuedKey(), "queueItems"};
        case 12:
            return {key("session", 6), oneOf(2) ? "historySessions" : "historySessionItems"};
        case 13:
            return {packKey(), oneOf(2) ? "contentPacks" : "userContentPacks"};
        case 14:
            return {key("file", 12),
                    oneOf(2) ? "contentPackMediaItems" : "userContentPackMediaItems"};
        default:
            return {trackKey(), "mediaItems"};
    }
}

void LibraryHistory::remove(Writer& t) {
    const auto [key, collection] = anyRow();
    t.removeObjectForKey(key, collection);
}

void LibraryHistory::removeMany(Writer& t) {
    const std::string collection = anyRow().second;
    if (oneOf(12)) {
        t.removeAllObjectsInCollection(collection);
        return;
    }
    Keys keys;
    for (int i = 0; i < 8; ++i) {
        const auto [key, its] = anyRow();
        if (its == collection) keys.emplace_back(key);
    }
    t.removeObjectsForKeys(keys, collection);
}

void LibraryHistory::touch(Writer& t) {
    const auto [key, collection] = anyRow();
    if (oneOf(3)) return t.touchMetadataForKey(key, collection);
    if (oneOf(2)) return t.touchRowForKey(key, collection);
    t.touchObjectForKey(key, collection);
}

/// Writes a row as it is: with metadata, only the metadata, or another row's object.
void LibraryHistory::replace(Writer& t) {
    const auto [key, collection] = anyRow();
    const auto [other, otherCollection] = anyRow();
    const Value object = t.objectForKey(key, collection);
    if (object.isNil()) return;
    if (oneOf(3))
        t.replaceMetadata(Value("metadata"), key, collection);
    else if (oneOf(2))
        t.setObject(object, key, collection, Value("metadata"));
    else
        t.replaceObject(object, key, collection);
    if (oneOf(4)) t.removeObjectForKey(other, otherCollection);
}

/// A row of a class that does not belong where it lies, or that is none.
void LibraryHistory::writeOddRow(Writer& t) {
    const auto [key, collection] = anyRow();
    if (oneOf(3)) {
        t.setObject(Value("a text"), key, collection);
    } else if (oneOf(2)) {
        const auto artist = PLXMediaArtist::initWithUUID(key);
        artist->setName(text());
        t.setObject(artist, key, collection);
    } else {
        const auto track = PLXMediaItem::initWithUUID(key);
        track->setTitle(text());
        t.setObject(track, key, collection);
    }
}

void LibraryHistory::changeRules(Writer& t) {
    if (oneOf(3)) {
        rules_.divisor = 1 + static_cast<int>(draw(3));
        const std::string tag = std::to_string(++filterTag_);
        for (const char* view : filteredViews)
            EXPECT_TRUE(t.ext<YapDatabaseFilteredViewTransaction>(view)->setFiltering(
                filterOf(rules_.divisor), tag));
        return;
    }
    static const char* const columns[] = {"title",    "artist",   "genre",   "album",
                                          "grouping", "comments", "playlist"};
    LibraryRules& rules = rules_;
    rules.word = oneOf(10) ? "" : libraryWords[draw(std::size(libraryWords))].folded;
    rules.column = oneOf(3) ? columns[draw(std::size(columns))] : "";
    rules.isPrefix = oneOf(3);
    if (rules.isPrefix) rules.word.resize(std::min(rules.word.size(), 1 + draw(2)));
    const std::string column = rules.column.empty() ? "" : rules.column + ": ";
    rules.query = rules.word.empty() ? "" : column + rules.word + (rules.isPrefix ? "*" : "");
    if (rules.isPrefix && rules.column.empty() && oneOf(2))
        rules.query = "\"" + rules.word;  // as it is typed; no query
    t.ext<YapDatabaseSearchResultsViewTransaction>("searchResultsView")
        ->performSearchFor(rules.query);
}

void LibraryHistory::operate(Writer& t) {
    using Self = LibraryHistory;
    struct Choice {
        Operation operation;
        std::size_t weight;
    };
    static const Choice choices[] = {
        {&Self::writeTrack, 6},    {&Self::changeTrack, 6},       {&Self::writeEntity, 8},
        {&Self::writeUserData, 4}, {&Self::writeAnalyzedData, 4}, {&Self::writePlaylist, 5},
        {&Self::movePlaylist, 3},  {&Self::changePlaylist, 3},    {&Self::reorderPlaylist, 6},
        {&Self::writeEntry, 10},   {&Self::moveEntry, 3},         {&Self::writeQueue, 3},
        {&Self::writeQueued, 6},   {&Self::writeSession, 3},      {&Self::writePack, 6},
        {&Self::writePackFile, 3}, {&Self::remove, 12},           {&Self::removeMany, 1},
        {&Self::touch, 6},         {&Self::replace, 3},           {&Self::writeOddRow, 1},
        {&Self::changeRules, 3}};
    std::size_t all = 0;
    for (const Choice& choice : choices) all += choice.weight;
    std::size_t drawn = draw(all);
    const Choice* choice = choices;
    for (; drawn >= choice->weight; ++choice) drawn -= choice->weight;
    (this->*choice->operation)(t);
}

void LibraryHistory::commit(std::size_t operations) {
    EXPECT_TRUE(connections_[draw(connections_.size())]->readWrite([&](Writer& t) {
        for (std::size_t i = 0; i < operations; ++i) operate(t);
    }));
}

void LibraryHistory::commit() {
    const LibraryRules before = rules_;
    const bool isRolledBack = oneOf(20), isWatched = oneOf(12);
    const std::size_t operations = oneOf(40) ? 60 : oneOf(3) ? 1 : 1 + draw(6);
    const auto& connection = connections_[draw(connections_.size())];
    EXPECT_TRUE(connection->readWrite([&](Writer& t) {
        for (std::size_t i = 0; i < operations; ++i) {
            operate(t);
            if (isWatched && oneOf(3)) expectViewsOfRows(t, rules_);
        }
        if (isRolledBack) t.rollback();
    }));
    if (isRolledBack) rules_ = before;
}

}  // namespace qsml
