#include <gtest/gtest.h>

#include "database/extensions/testing/ViewedLibrary.h"
#include "foundation/text.h"

namespace qsml {
namespace {

class GivenViewsOfTracks : public ViewedLibrary {
protected:
    GivenViewsOfTracks() { setCurrentLocale("en_US"); }
    ~GivenViewsOfTracks() override { setCurrentLocale(""); }

    static std::shared_ptr<PLXMediaItemPlaylist> playlist(std::string_view uuid, const String& name,
                                                          std::int64_t type = 0) {
        auto made = named<PLXMediaItemPlaylist>(uuid, name);
        made->setType(type);
        return made;
    }
    static std::shared_ptr<PLXMediaItem> trackFrom(std::string_view uuid, const String& source) {
        auto made = track(uuid, uuid);
        made->setOriginSourceID(source);
        return made;
    }
    static std::shared_ptr<PLXMediaItemAnalyzedData> inKey(std::string_view uuid,
                                                           std::int64_t index) {
        auto made = PLXMediaItemAnalyzedData::initWithUUID(uuid);
        made->setKeySignatureIndex(index);
        return made;
    }
};

TEST_F(GivenViewsOfTracks, WhenEntitiesAreStoredThenTheMediaViewGroupsThemByClass) {
    storeAll("mediaItems", {track("t", "Title")});
    storeAll("mediaArtists", {named<PLXMediaArtist>("ar", "Artist")});
    storeAll("mediaAlbums", {named<PLXMediaAlbum>("al", "Album")});
    storeAll("mediaGenres", {named<PLXMediaGenre>("g", "Genre")});
    storeAll("mediaLabels", {named<PLXMediaLabel>("l", "Label")});
    storeAll("mediaItemPlaylists", {playlist("p", "Playlist")});
    EXPECT_EQ(shown("mediaView"), (Groups{{"mediaItem", {"t"}},
                                          {"artist", {"ar"}},
                                          {"album", {"al"}},
                                          {"genre", {"g"}},
                                          {"label", {"l"}},
                                          {"playlist", {"p"}}}));
}

TEST_F(GivenViewsOfTracks, WhenAnEntityLiesInTheCollectionOfOthersThenItsClassCounts) {
    storeAll("mediaItems", {named<PLXMediaArtist>("x", "Artist")});
    storeAll("mediaLabels", {track("y", "Title")});
    EXPECT_EQ(shown("mediaView"), (Groups{{"artist", {"x"}}, {"mediaItem", {"y"}}}));
    EXPECT_EQ(shown("mediaItemsView"), Groups());
    EXPECT_EQ(shown("mediaItemOriginalSourceView"), Groups());
}

TEST_F(GivenViewsOfTracks, WhenARowIsOfAnotherClassOrCollectionThenItIsInNoView) {
    storeAll("mediaItems", {PLXMediaItemTag::initWithValue("tag")});
    storeAll("mediaItemTags", {track("t", "Title")});
    storeAll("mediaItemAnalyzedData", {track("u", "Title")});
    storeAll("mediaItemUserData", {inKey("v", 1)});
    write([](Writer& t) { t.setObject(Value("a text"), "w", "mediaItems"); });
    for (const char* view : {"mediaView", "mediaItemsView", "mediaItemOriginalSourceView",
                             "mediaItemKeySignatureIndexView"})
        EXPECT_EQ(shown(view), Groups()) << view;
}

TEST_F(GivenViewsOfTracks, WhenAPlaylistIsTheRootThenTheMediaViewLeavesItOut) {
    storeAll("mediaItemPlaylists",
             {playlist("top", "R", 1), playlist("folder", "F", 2), playlist("odd", "O", -1)});
    EXPECT_EQ(shown("mediaView"), (Groups{{"playlist", {"folder", "odd"}}}));
    EXPECT_EQ(shown("mediaItemPlaylistsView"), (Groups{{"root", {"top", "folder", "odd"}}}));
    change<PLXMediaItemPlaylist>("odd", "mediaItemPlaylists", [](auto& p) { p.setType(1); });
    change<PLXMediaItemPlaylist>("top", "mediaItemPlaylists", [](auto& p) { p.setType(0); });
    EXPECT_EQ(shown("mediaView"), (Groups{{"playlist", {"folder", "top"}}}));
}

TEST_F(GivenViewsOfTracks, WhenTitlesDifferInCaseAndAccentsThenTheMediaViewFollowsTheLocale) {
    storeAll("mediaItems", {track("none", nullptr), track("zulu", "Zulu"), track("echo", "Écho"),
                            track("amber", "amber"), track("Blue", "Blue"), track("blue", "blue"),
                            track("fire", "fire"), track("empty", ""), track("ebb", "ebb"),
                            track("none2", {}), track("BLUE", "BLUE"), track("ed", "Ed")});
    EXPECT_EQ(shown("mediaView", "mediaItem"),
              (Keys{"empty", "amber", "Blue", "blue", "BLUE", "ebb", "echo", "ed", "fire", "zulu",
                    "none", "none2"}));
}

TEST_F(GivenViewsOfTracks, WhenNamesDifferThenEveryOtherGroupFollowsTheLocale) {
    const Keys inOrder{"1", "2", "3", "4", "5"};
    const auto rows = [](auto make) {
        return std::vector<Row>{make("4", "Zulu"), make("1", "amber"), make("5", nullptr),
                                make("2", "Écho"), make("3", "fire")};
    };
    storeAll("mediaArtists", rows(named<PLXMediaArtist>));
    storeAll("mediaAlbums", rows(named<PLXMediaAlbum>));
    storeAll("mediaGenres", rows(named<PLXMediaGenre>));
    storeAll("mediaLabels", rows(named<PLXMediaLabel>));
    storeAll("mediaItemPlaylists", rows(named<PLXMediaItemPlaylist>));
    EXPECT_EQ(shown("mediaView"), (Groups{{"artist", inOrder},
                                          {"album", inOrder},
                                          {"genre", inOrder},
                                          {"label", inOrder},
                                          {"playlist", inOrder}}));
    change<PLXMediaArtist>("1", "mediaArtists", [](auto& artist) { artist.setName("gold"); });
    EXPECT_EQ(shown("mediaView", "artist"), (Keys{"2", "3", "1", "4", "5"}));
}

TEST_F(GivenViewsOfTracks, WhenTitlesDifferThenTheMediaItemsViewFollowsTheirCharacters) {
    storeAll("mediaItems", {track("none", nullptr), track("echo", "Écho"), track("amber", "amber"),
                            track("zulu", "Zulu"), track("empty", ""), track("amber2", "amber"),
                            track("amberx", "amber x"), track("high", "\U0001F3A7")});
    EXPECT_EQ(shown("mediaItemsView"),
              (Groups{{"mediaItem",
                       {"empty", "zulu", "amber", "amber2", "amberx", "echo", "high", "none"}}}));
}

TEST_F(GivenViewsOfTracks, WhenTitlesAreEqualThenTheOlderRowComesFirst) {
    storeAll("mediaItems", {track("b", "Same"), track("a", "Same"), track("c", "Same")});
    change<PLXMediaItem>("b", "mediaItems", [](auto& item) { item.setGrouping("x"); });
    EXPECT_EQ(shown("mediaItemsView", "mediaItem"), (Keys{"b", "a", "c"}));
    remove("b", "mediaItems");
    storeAll("mediaItems", {track("b", "Same")});
    for (const char* view : {"mediaItemsView", "mediaView"})
        EXPECT_EQ(shown(view, "mediaItem"), (Keys{"a", "c", "b"}));
}

TEST_F(GivenViewsOfTracks, WhenTracksHaveSourcesThenEachIsAGroupInTheOrderOfTitles) {
    auto first = trackFrom("c", "disk");
    first->setTitle("a");
    storeAll("mediaItems", {trackFrom("b", "disk"), first, trackFrom("x", nullptr),
                            trackFrom("y", ""), trackFrom("z", "none")});
    EXPECT_EQ(shown("mediaItemOriginalSourceView"),
              (Groups{{"disk", {"c", "b"}}, {"none", {"x", "z"}}, {"", {"y"}}}));
    change<PLXMediaItem>("c", "mediaItems", [](auto& item) { item.setOriginSourceID(nullptr); });
    EXPECT_EQ(shown("mediaItemOriginalSourceView"),
              (Groups{{"disk", {"b"}}, {"none", {"c", "x", "z"}}, {"", {"y"}}}));
}

TEST_F(GivenViewsOfTracks, WhenTheKeyIsUnknownThenAnalyzedDataIsInNoGroup) {
    storeAll("mediaItemAnalyzedData",
             {inKey("unknown", -1), inKey("first", 0), inKey("b", 23), inKey("a", 23),
              inKey("low", INT64_MIN), inKey("high", INT64_MAX), inKey("ten", 10)});
    EXPECT_EQ(shown("mediaItemKeySignatureIndexView"), (Groups{{"0", {"first"}},
                                                               {"10", {"ten"}},
                                                               {"23", {"b", "a"}},
                                                               {"9223372036854775807", {"high"}}}));
    change<PLXMediaItemAnalyzedData>("first", "mediaItemAnalyzedData",
                                     [](auto& data) { data.setKeySignatureIndex(-1); });
    change<PLXMediaItemAnalyzedData>("unknown", "mediaItemAnalyzedData",
                                     [](auto& data) { data.setKeySignatureIndex(23); });
    EXPECT_EQ(shown("mediaItemKeySignatureIndexView", "0"), Keys());
    EXPECT_EQ(shown("mediaItemKeySignatureIndexView", "23"), (Keys{"unknown", "b", "a"}));
}

TEST_F(GivenViewsOfTracks, WhenARowBecomesOneOfAnotherClassThenItChangesGroups) {
    storeAll("mediaItems", {track("x", "Title")});
    storeAll("mediaItems", {named<PLXMediaArtist>("x", "Artist")});
    EXPECT_EQ(shown("mediaView"), (Groups{{"artist", {"x"}}}));
    EXPECT_EQ(shown("mediaItemsView"), Groups());
    write([](Writer& t) { t.setObject(Value("a text"), "x", "mediaItems"); });
    EXPECT_EQ(shown("mediaView"), Groups());
}

}  // namespace
}  // namespace qsml
