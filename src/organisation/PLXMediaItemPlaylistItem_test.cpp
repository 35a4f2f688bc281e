#include "organisation/PLXMediaItemPlaylistItem.h"

#include <gtest/gtest.h>

#include "testing/recordTable.h"

namespace qsml {
namespace {

using Edges = std::vector<YapDatabaseRelationshipEdge>;

std::shared_ptr<PLXMediaItemPlaylistItem> filled() {
    auto item = PLXMediaItemPlaylistItem::initWithUUID("item");
    item->setPlaylistUUID("playlist");
    item->setMediaItemUUID("track");
    return item;
}

TEST(GivenAPlaylistItem, WhenHeldAgainstItsTableThenKeysDefaultsAndChecksAreThose) {
    expectTable<PLXMediaItemPlaylistItem>(
        {{"playlistUUID", Takes::text}, {"mediaItemUUID", Takes::text}}, *filled());
    EXPECT_EQ(PLXMediaItemPlaylistItem::init()->monitoredProperties(),
              (KeySet{"mediaItemUUID", "playlistUUID"}));
    EXPECT_EQ(filled()->cloudUUID(), "mediaitemplaylistitem-item");
}

TEST(GivenAPlaylistItem, WhenAnotherProgramWroteItThenItIsRead) {
    const auto item =
        recordFrom<PLXMediaItemPlaylistItem>(foreignArchive({{"$class", "PLXMediaItemPlaylistItem"},
                                                             {"uuid", "u"},
                                                             {"playlistUUID", "p"},
                                                             {"mediaItemUUID", "m"}}));
    ASSERT_TRUE(item);
    EXPECT_EQ(item->uuid(), "u");
    EXPECT_EQ(item->playlistUUID(), "p");
    EXPECT_EQ(item->mediaItemUUID(), "m");
}

TEST(GivenAFilledPlaylistItem, WhenArchivedAndCopiedThenItIsEqualAndTheCopyIsItsOwn) {
    const auto item = filled();
    const auto before = archiveOf(*item);
    EXPECT_EQ(archiveOf(*recordFrom<PLXMediaItemPlaylistItem>(before)), before);
    item->makeImmutable();
    const auto copy = item->copy();
    EXPECT_EQ(archiveOf(*copy), before);
    copy->setPlaylistUUID("other");
    copy->setMediaItemUUID("other");
    EXPECT_EQ(copy->changedProperties(), (KeySet{"mediaItemUUID", "playlistUUID"}));
    EXPECT_EQ(archiveOf(*item), before);
    EXPECT_THROW(item->setPlaylistUUID("x"), PLXDatabaseObjectException);
    EXPECT_THROW(item->setMediaItemUUID("x"), PLXDatabaseObjectException);
}

TEST(GivenAPlaylistItem, WhenItsEdgesAreAskedThenTheTrackComesBeforeThePlaylist) {
    const auto item = PLXMediaItemPlaylistItem::init();
    EXPECT_EQ(item->yapDatabaseRelationshipEdges(), Edges());
    item->setPlaylistUUID("playlist");
    const YapDatabaseRelationshipEdge toPlaylist{"mediaItemPlaylistItemPlaylist", "playlist",
                                                 "mediaItemPlaylists", 4};
    EXPECT_EQ(item->yapDatabaseRelationshipEdges(), Edges{toPlaylist});
    item->setMediaItemUUID("track");
    EXPECT_EQ(item->yapDatabaseRelationshipEdges(),
              (Edges{{"mediaItemPlaylistItemMediaItem", "track", "mediaItems", 4}, toPlaylist}));
    EXPECT_EQ(PLXMediaItemPlaylistItemMediaItemRelationshipEdgeName,
              "mediaItemPlaylistItemMediaItem");
    EXPECT_EQ(PLXMediaItemPlaylistItemPlaylistRelationshipEdgeName,
              "mediaItemPlaylistItemPlaylist");
    EXPECT_EQ(item->yapDatabaseRelationshipEdgeDeleted(
                  toPlaylist, YapDatabaseRelationshipNode::Reason::destinationNodeDeleted),
              nullptr);
}

TEST(GivenAFilledPlaylistItem, WhenItsArchiveIsDamagedThenItReadsAsARecordOrNil) {
    readDamagedArchives(*filled());
}

}  // namespace
}  // namespace qsml
