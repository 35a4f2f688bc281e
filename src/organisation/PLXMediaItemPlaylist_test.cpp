#include "organisation/PLXMediaItemPlaylist.h"

#include <gtest/gtest.h>

#include "database/collectionNames.h"
#include "testing/recordTable.h"

namespace qsml {
namespace {

using Playlist = PLXMediaItemPlaylist;
using Keys = OrderedSet<String>;
using Edges = std::vector<YapDatabaseRelationshipEdge>;
constexpr auto gone = YapDatabaseRelationshipNode::Reason::destinationNodeDeleted;

std::shared_ptr<PLXMediaItemFilterSet> rules() {
    const auto rule = PLXMediaItemFilter::init();
    rule->setKeyPath("title");
    auto set = PLXMediaItemFilterSet::initWithUUID("rules");
    set->setFilters(std::vector{rule});
    return set;
}

std::shared_ptr<Playlist> filled() {
    auto playlist = Playlist::initWithUUID("playlist");
    playlist->setName("Friday");
    playlist->setParentUUID("parent");
    playlist->setType(7);
    playlist->setChildUUIDs(Keys{"child-2", "child-1"});
    playlist->setItemUUIDs(Keys{"item-2", "item-1"});
    playlist->setFilterSet(rules());
    return playlist;
}

TEST(GivenAPlaylist, WhenHeldAgainstItsTableThenKeysDefaultsAndChecksAreThose) {
    expectTable<Playlist>({{"name", Takes::text},
                           {"parentUUID", Takes::text},
                           {"type", Takes::whole, 0},
                           {"childUUIDs", Takes::anything},
                           {"itemUUIDs", Takes::orderedSet},
                           {"filterSet", Takes::object}},
                          *filled());
    EXPECT_EQ(Playlist::init()->monitoredProperties(),
              (KeySet{"childUUIDs", "filterSet", "itemUUIDs", "name", "parentUUID", "type"}));
    EXPECT_EQ(filled()->cloudUUID(), "mediaitemplaylist-playlist");
    EXPECT_NE(archiveDescription(archiveOf(*filled())).find("\"type\":7"), std::string::npos);
}

TEST(GivenAPlaylist, WhenAnotherProgramWroteItThenItIsRead) {
    const Value rule(Dictionary{{"$class", "PLXMediaItemFilter"}, {"keyPath", "bpm"}});
    const Value set(Dictionary{
        {"$class", "PLXMediaItemFilterSet"}, {"uuid", "rules"}, {"filters", Value::Array{rule}}});
    const auto playlist = recordFrom<Playlist>(
        foreignArchive({{"$class", Value::Array{"PLXMediaItemPlaylist", "PLXCloudDatabaseObject",
                                                "PLXDatabaseObject"}},
                        {"uuid", "u"},
                        {"name", "Friday"},
                        {"parentUUID", "p"},
                        {"type", 7},
                        {"childUUIDs", Value(Keys{"b", "a"})},
                        {"itemUUIDs", Value(Keys{"d", "c"})},
                        {"filterSet", set}}));
    ASSERT_TRUE(playlist);
    EXPECT_EQ(playlist->uuid(), "u");
    EXPECT_EQ(playlist->name(), "Friday");
    EXPECT_EQ(playlist->parentUUID(), "p");
    EXPECT_EQ(playlist->type(), 7);
    EXPECT_EQ(playlist->childUUIDs(), (Keys{"b", "a"}));
    EXPECT_EQ(playlist->itemUUIDs(), (Keys{"d", "c"}));
    ASSERT_TRUE(playlist->filterSet());
    EXPECT_EQ(playlist->filterSet()->uuid(), "rules");
    EXPECT_EQ(playlist->filterSet()->filters()->at(0)->keyPath(), "bpm");
}

TEST(GivenAFilledPlaylist, WhenReadBackThenEveryPropertyIsEqual) {
    const auto playlist = filled();
    const auto read = recordFrom<Playlist>(archiveOf(*playlist));
    ASSERT_TRUE(read);
    for (const String& name : playlist->monitoredProperties())
        EXPECT_EQ(read->valueForKey(name), playlist->valueForKey(name)) << name;
    EXPECT_EQ(read->childUUIDs(), (Keys{"child-2", "child-1"})) << "in order";
    EXPECT_EQ(archiveOf(*read), archiveOf(*playlist));
}

TEST(GivenAFilledPlaylist, WhenItsCopyIsChangedThenItStaysAsItWas) {
    const auto playlist = filled();
    const auto before = archiveOf(*playlist);
    playlist->makeImmutable();
    const auto copy = playlist->copy();
    EXPECT_EQ(archiveOf(*copy), before);
    EXPECT_NE(copy->filterSet(), playlist->filterSet()) << "deep";
    EXPECT_NE(copy->filterSet()->filters()->at(0), playlist->filterSet()->filters()->at(0));
    copy->setName(nullptr);
    copy->setParentUUID(nullptr);
    copy->setType(0);
    copy->setChildUUIDs(std::nullopt);
    copy->setItemUUIDs(std::nullopt);
    copy->setFilterSet(nullptr);
    EXPECT_EQ(copy->changedProperties(), playlist->monitoredProperties());
    EXPECT_EQ(archiveOf(*playlist), before);
    EXPECT_THROW(playlist->setChildUUIDs(Keys{"x"}), PLXDatabaseObjectException);
    EXPECT_THROW(playlist->setFilterSet(nullptr), PLXDatabaseObjectException);
    EXPECT_EQ(archiveOf(*playlist), before);
}

TEST(GivenTheRulesOfAPlaylist, WhenTheirGiverChangesThemThenThePlaylistsOwnAreNot) {
    const auto set = rules();
    const auto playlist = Playlist::init();
    playlist->setFilterSet(set);
    set->setName("changed");
    EXPECT_EQ(playlist->filterSet()->name(), nullptr);
    EXPECT_TRUE(playlist->filterSet()->isEqual(*rules()));
}

TEST(GivenAPlaylist, WhenItsEdgesAreAskedThenItemsThenChildrenThenTheParentCome) {
    EXPECT_EQ(Playlist::init()->yapDatabaseRelationshipEdges(), Edges());
    EXPECT_EQ(filled()->yapDatabaseRelationshipEdges(),
              (Edges{{"mediaItemPlaylistItem", "item-2", "mediaItemPlaylistItems", 2},
                     {"mediaItemPlaylistItem", "item-1", "mediaItemPlaylistItems", 2},
                     {"mediaItemPlaylistChild", "child-2", "mediaItemPlaylists", 2},
                     {"mediaItemPlaylistChild", "child-1", "mediaItemPlaylists", 2},
                     {"mediaItemPlaylistParent", "parent", "mediaItemPlaylists", 4}}));
    EXPECT_EQ(PLXMediaItemPlaylistItemRelationshipEdgeName, "mediaItemPlaylistItem");
    EXPECT_EQ(PLXMediaItemPlaylistChildRelationshipEdgeName, "mediaItemPlaylistChild");
    EXPECT_EQ(PLXMediaItemPlaylistParentRelationshipEdgeName, "mediaItemPlaylistParent");
}

std::shared_ptr<Playlist> toldOf(const Playlist& playlist, const char* edge, String key) {
    return std::static_pointer_cast<Playlist>(playlist.yapDatabaseRelationshipEdgeDeleted(
        {edge, std::move(key), "any collection", 2}, gone));
}

TEST(GivenAStoredPlaylist, WhenAnItemOrChildIsGoneThenACopyWithoutItComes) {
    const auto playlist = filled();
    playlist->makeImmutable();
    const auto withoutItem = toldOf(*playlist, "mediaItemPlaylistItem", "item-2");
    ASSERT_TRUE(withoutItem);
    EXPECT_EQ(withoutItem->itemUUIDs(), Keys{"item-1"});
    EXPECT_EQ(withoutItem->childUUIDs(), playlist->childUUIDs());
    EXPECT_EQ(withoutItem->changedProperties(), (KeySet{"itemUUIDs"}));
    EXPECT_FALSE(withoutItem->isImmutable());
    EXPECT_TRUE(withoutItem->isEqual(*playlist));

    const auto withoutChild = toldOf(*playlist, "mediaItemPlaylistChild", "child-1");
    ASSERT_TRUE(withoutChild);
    EXPECT_EQ(withoutChild->childUUIDs(), Keys{"child-2"});
    EXPECT_EQ(withoutChild->itemUUIDs(), playlist->itemUUIDs());
    EXPECT_EQ(playlist->itemUUIDs()->size(), 2U) << "the stored one stays true";
}

TEST(GivenAStoredPlaylist, WhenWhatIsGoneIsInNoListThenTheCopyHasTheSameLists) {
    const auto playlist = filled();
    EXPECT_EQ(toldOf(*playlist, "mediaItemPlaylistItem", "child-1")->itemUUIDs(),
              playlist->itemUUIDs());
    const auto plain = Playlist::init();
    EXPECT_EQ(toldOf(*plain, "mediaItemPlaylistItem", "x")->itemUUIDs(), std::nullopt);
    EXPECT_EQ(toldOf(*plain, "mediaItemPlaylistChild", "x")->childUUIDs(), std::nullopt);
    plain->setItemUUIDs(Keys{"x"});
    EXPECT_EQ(toldOf(*plain, "mediaItemPlaylistItem", "x")->itemUUIDs(), Keys{});
}

TEST(GivenAStoredPlaylist, WhenTheParentOrAnotherEdgeIsGoneThenNothingChanges) {
    EXPECT_EQ(toldOf(*filled(), "mediaItemPlaylistParent", "parent"), nullptr);
    EXPECT_EQ(toldOf(*filled(), "another", "item-1"), nullptr);
    EXPECT_EQ(filled()->yapDatabaseRelationshipEdgeDeleted({}, gone), nullptr);
}

TEST(GivenAStoredPlaylist, WhenItIsToldThenTheReasonDoesNotCount) {
    using Reason = YapDatabaseRelationshipNode::Reason;
    for (const Reason reason : {Reason::edgeDeleted, Reason::sourceNodeDeleted, gone})
        EXPECT_TRUE(filled()->yapDatabaseRelationshipEdgeDeleted(
            {"mediaItemPlaylistItem", "item-1", "mediaItemPlaylistItems", 2}, reason));
}

TEST(GivenAFilledPlaylist, WhenItsArchiveIsDamagedThenItReadsAsARecordOrNil) {
    readDamagedArchives(*filled());
}

}  // namespace
}  // namespace qsml
