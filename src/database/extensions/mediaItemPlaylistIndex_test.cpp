#include <gtest/gtest.h>

#include "database/extensions/testing/IndexedLibrary.h"

namespace qsml {
namespace {

class GivenAnIndexOfPlaylists : public IndexedLibrary {
protected:
    void storePlaylist(const String& name, std::string_view collection = "mediaItemPlaylists") {
        const auto playlist = PLXMediaItemPlaylist::initWithUUID("playlist");
        playlist->setName(name);
        store(playlist, collection);
    }
    Columns indexed() {
        return columns("mediaItemPlaylistIndex", "playlist", "mediaItemPlaylists");
    }
};

TEST_F(GivenAnIndexOfPlaylists, WhenItHasANameThenThatIsItsColumn) {
    storePlaylist("Set 1");
    EXPECT_EQ(indexed(), (Columns{{"name", "Set 1"}}));
    storePlaylist("");
    EXPECT_EQ(indexed(), (Columns{{"name", ""}}));
    storePlaylist(nullptr);
    EXPECT_EQ(indexed(), Columns{});
}

TEST_F(GivenAnIndexOfPlaylists, WhenItLiesInAnyCollectionThenItIsIndexedAndNothingElseIs) {
    storePlaylist("Set 1", "elsewhere");
    store(PLXMediaArtist::initWithName("Band"), "mediaItemPlaylists");
    EXPECT_EQ(rowsIn("mediaItemPlaylistIndex"), 1U);
    remove("playlist", "elsewhere");
    EXPECT_EQ(rowsIn("mediaItemPlaylistIndex"), 0U);
}

}  // namespace
}  // namespace qsml
