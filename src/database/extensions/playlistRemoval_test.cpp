#include <gtest/gtest.h>

#include "database/extensions/testing/ViewedLibrary.h"
#include "database/extensions/testing/listedRecords.h"

namespace qsml {
namespace {

constexpr std::string_view playlists = "mediaItemPlaylists", items = "mediaItemPlaylistItems",
                           tracks = "mediaItems";

/// What is stored once tracks, entries or playlists are gone, as the records say it.
class GivenStoredPlaylists : public ViewedLibrary {
protected:
    using UUIDs = std::optional<OrderedSet<String>>;

    std::shared_ptr<const PLXMediaItemPlaylist> storedPlaylist(std::string_view uuid) {
        std::shared_ptr<const PLXMediaItemPlaylist> found;
        manager_.bgDatabaseConnection()->read([&](YapDatabaseReadTransaction& t) {
            found = t.object<PLXMediaItemPlaylist>(uuid, playlists);
        });
        return found;
    }
    UUIDs itemsOf(std::string_view uuid) { return storedPlaylist(uuid)->itemUUIDs(); }
    UUIDs childrenOf(std::string_view uuid) { return storedPlaylist(uuid)->childUUIDs(); }

    std::set<String> keysIn(std::string_view collection) {
        std::vector<String> keys;
        manager_.bgDatabaseConnection()->read(
            [&](YapDatabaseReadTransaction& t) { keys = t.allKeysInCollection(collection); });
        return {keys.begin(), keys.end()};
    }
};

TEST_F(GivenStoredPlaylists, WhenATrackGoesThenItsEntriesGoAndNoPlaylistNamesThem) {
    storeAll(tracks, {track("gone", "Gone"), track("kept", "Kept")});
    storeAll(playlists, {playlist("twice", nullptr, {}, list({"1", "2", "3"})),
                         playlist("once", nullptr, {}, list({"4"})),
                         playlist("never", nullptr, {}, list({"5"}))});
    storeAll(items,
             {item("1", "twice", "gone"), item("2", "twice", "kept"), item("3", "twice", "gone"),
              item("4", "once", "gone"), item("5", "never", "kept")});
    remove("gone", tracks);
    EXPECT_EQ(itemsOf("twice"), list({"2"}));
    EXPECT_EQ(itemsOf("once"), list({}));
    EXPECT_EQ(itemsOf("never"), list({"5"}));
    EXPECT_EQ(keysIn(items), (std::set<String>{"2", "5"}));
    EXPECT_EQ(keysIn(tracks), std::set<String>{"kept"});
}

TEST_F(GivenStoredPlaylists, WhenSeveralEntriesGoInOneCommitThenTheOthersKeepTheirPlaces) {
    storeAll(playlists, {playlist("list", nullptr, {}, list({"1", "2", "absent", "3", "4"})),
                         playlist("other", nullptr, {}, list({"5", "6"}))});
    storeAll(items, {item("1", "list"), item("2", "list"), item("3", "list"), item("4", "list"),
                     item("5", "other"), item("6", "other")});
    write([](Writer& t) {
        for (const char* uuid : {"4", "1", "2", "5"}) t.removeObjectForKey(uuid, items);
    });
    EXPECT_EQ(itemsOf("list"), list({"absent", "3"}));
    EXPECT_EQ(itemsOf("other"), list({"6"}));
    EXPECT_EQ(keysIn(items), (std::set<String>{"3", "6"}));
}

TEST_F(GivenStoredPlaylists, WhenOneWithTwoLevelsBelowGoesThenAllOfThemGoWithTheirEntries) {
    storeAll(playlists,
             {playlist("top", nullptr, list({"a", "b"}), list({"0"})),
              playlist("a", "top", list({"aa"}), list({"1"})),
              playlist("aa", "a", list({"aaa"}), list({"2"})),
              playlist("aaa", "aa", {}, list({"3"})), playlist("b", "top", {}, list({"4"}))});
    storeAll(items,
             {item("0", "top"), item("1", "a"), item("2", "aa"), item("3", "aaa"), item("4", "b")});
    remove("a", playlists);
    EXPECT_EQ(keysIn(playlists), (std::set<String>{"b", "top"}));
    EXPECT_EQ(keysIn(items), (std::set<String>{"0", "4"}));
    EXPECT_EQ(childrenOf("top"), list({"b"}));
    EXPECT_EQ(itemsOf("top"), list({"0"}));
    EXPECT_EQ(itemsOf("b"), list({"4"}));
}

}  // namespace
}  // namespace qsml
