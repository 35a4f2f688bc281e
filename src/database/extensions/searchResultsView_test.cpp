#include "store/views/YapDatabaseSearchResultsView.h"

#include <gtest/gtest.h>

#include "database/extensions/testing/ViewedLibrary.h"
#include "foundation/text.h"

namespace qsml {
namespace {

class GivenASearch : public ViewedLibrary {
protected:
    GivenASearch() { setCurrentLocale("en_US"); }
    ~GivenASearch() override { setCurrentLocale(""); }

    /// Something of every kind that has "bells" in its name; a track by its genre alone.
    void SetUp() override {
        ViewedLibrary::SetUp();
        auto byGenre = track("byGenre", "Another");
        byGenre->setGenreUUIDs(list({"genre"}));
        auto byArtist = track("byArtist", "a first");
        byArtist->setArtistUUIDs(list({"artist"}));
        storeAll("mediaItems",
                 {track("byTitle", "The Bells"), byGenre, byArtist, track("other", "Whistles")});
        storeAll("mediaArtists", {named<PLXMediaArtist>("artist", "Bells and Co")});
        storeAll("mediaAlbums", {named<PLXMediaAlbum>("album", "Bells")});
        storeAll("mediaGenres", {named<PLXMediaGenre>("genre", "Bells")});
        storeAll("mediaLabels", {named<PLXMediaLabel>("label", "Bells")});
        auto root = named<PLXMediaItemPlaylist>("root", "bells root");
        root->setType(PLXMediaItemPlaylist::typeRoot);
        storeAll("mediaItemPlaylists", {named<PLXMediaItemPlaylist>("playlist", "bells"), root});
    }
    void search(std::string_view query) {
        write([&](Writer& t) {
            auto* view = t.ext<YapDatabaseSearchResultsViewTransaction>("searchResultsView");
            ASSERT_TRUE(view);
            view->performSearchFor(query);
            EXPECT_EQ(view->query(), query);
        });
    }
    Groups found() { return shown("searchResultsView"); }
    Groups found(std::string_view query) {
        search(query);
        return found();
    }
};

TEST_F(GivenASearch, WhenNothingWasSearchedThenNothingIsFound) { EXPECT_EQ(found(), Groups()); }

TEST_F(GivenASearch, WhenEveryKindMatchesThenOnlyTheFourGroupsAreShownInTheOrderOfTheirParent) {
    EXPECT_EQ(found("bells"), (Groups{{"mediaItem", {"byArtist", "byGenre", "byTitle"}},
                                      {"artist", {"artist"}},
                                      {"album", {"album"}},
                                      {"playlist", {"playlist"}}}));
}

TEST_F(GivenASearch, WhenAGenreMatchesThenItsTracksAreFoundAndTheGenreIsNot) {
    EXPECT_EQ(found("genre: bells"), (Groups{{"mediaItem", {"byGenre"}}}));
}

TEST_F(GivenASearch, WhenTheQueryChangesThenTheResultsDo) {
    EXPECT_EQ(found("whistles"), (Groups{{"mediaItem", {"other"}}}));
    EXPECT_EQ(found("nowhere"), Groups());
    EXPECT_EQ(found("artist: bells"),
              (Groups{{"mediaItem", {"byArtist"}}, {"artist", {"artist"}}}));
    EXPECT_EQ(found(""), Groups());
}

TEST_F(GivenASearch, WhenTheQueryIsMalformedThenItIsTakenAsTypedText) {
    EXPECT_EQ(found("\"the bel"), (Groups{{"mediaItem", {"byTitle"}}}));
    EXPECT_EQ(found("(((("), Groups());
}

TEST_F(GivenASearch, WhenRecordsChangeThenTheResultsFollowInTheSameCommit) {
    search("bells");
    write([](Writer& t) {
        change<PLXMediaArtist>(t, "artist", "mediaArtists", [](auto& a) { a.setName("Horns"); });
        change<PLXMediaItem>(t, "other", "mediaItems", [](auto& i) { i.setTitle("A bells"); });
        EXPECT_EQ(groupsShown(t, "searchResultsView"),
                  (Groups{{"mediaItem", {"other", "byGenre", "byTitle"}},
                          {"album", {"album"}},
                          {"playlist", {"playlist"}}}));
    });
    remove("album", "mediaAlbums");
    change<PLXMediaItemPlaylist>("root", "mediaItemPlaylists", [](auto& p) { p.setType(0); });
    change<PLXMediaGenre>("genre", "mediaGenres", [](auto& g) { g.setName("Horns"); });
    EXPECT_EQ(found(),
              (Groups{{"mediaItem", {"other", "byTitle"}}, {"playlist", {"playlist", "root"}}}));
}

TEST_F(GivenASearch, WhenASearchIsRolledBackThenTheResultsOfTheOneBeforeStay) {
    search("whistles");
    write([](Writer& t) {
        t.ext<YapDatabaseSearchResultsViewTransaction>("searchResultsView")
            ->performSearchFor("bells");
        t.rollback();
    });
    EXPECT_EQ(found(), (Groups{{"mediaItem", {"other"}}}));
}

TEST_F(GivenASearch, WhenAskedForItsMakingThenItIsNotKeptAndStandsOnTheSearchAndTheMediaView) {
    const auto extension = manager_.database()->registeredExtension("searchResultsView");
    const auto* view = dynamic_cast<const YapDatabaseSearchResultsView*>(extension.get());
    ASSERT_TRUE(view);
    EXPECT_EQ(view->fullTextSearchName(), "searchIndex");
    EXPECT_EQ(view->parentViewName(), "mediaView");
    EXPECT_EQ(view->versionTag(), "2");
    EXPECT_FALSE(view->isPersistent());
    for (const char* group : {"mediaItem", "artist", "album", "playlist"})
        EXPECT_TRUE(view->isAllowed(group)) << group;
    for (const char* group : {"genre", "label", "", "mediaItems"})
        EXPECT_FALSE(view->isAllowed(group)) << group;
}

}  // namespace
}  // namespace qsml
