#include "organisation/PLXHistorySessionItem.h"

#include <gtest/gtest.h>

#include "testing/recordTable.h"

namespace qsml {
namespace {

std::shared_ptr<PLXHistorySessionItem> filled() {
    auto item = PLXHistorySessionItem::initWithUUID("item");
    item->setSessionUUID("session");
    item->setTitleID(PLXMediaItemTitleID::initWithTitle("Song", "Band", 200, "ISRC"));
    item->setDeckNumber(2);
    item->setStartTime(Date{30.5});
    return item;
}

TEST(GivenArchivesOfAHistorySessionItem,
     WhenHeldAgainstTheTableThenNamesOrderDefaultsAndChecksAreThose) {
    expectTable<PLXHistorySessionItem>({{"sessionUUID", Takes::text},
                                        {"titleID", Takes::object},
                                        {"deckNumber", Takes::whole, 0},
                                        {"startTime", Takes::date}},
                                       *filled());
    EXPECT_EQ(PLXHistorySessionItem::init()->monitoredProperties(),
              (KeySet{"sessionUUID", "titleID", "deckNumber", "startTime"}));
}

TEST(GivenArchivesOfAHistorySessionItem, WhenAnotherProgramWroteThemThenTheyAreRead) {
    const Dictionary titleID{{"$class", "PLXMediaItemTitleID"}, {"uuid", "t"}, {"title", "Song"}};
    const auto item =
        recordFrom<PLXHistorySessionItem>(foreignArchive({{"$class", "PLXHistorySessionItem"},
                                                          {"uuid", "u"},
                                                          {"sessionUUID", "s"},
                                                          {"titleID", Value(titleID)},
                                                          {"deckNumber", 3},
                                                          {"startTime", Date{2.5}}}));
    ASSERT_TRUE(item);
    EXPECT_EQ(item->uuid(), "u");
    EXPECT_EQ(item->sessionUUID(), "s");
    ASSERT_TRUE(item->titleID());
    EXPECT_EQ(item->titleID()->title(), "Song");
    EXPECT_EQ(item->deckNumber(), 3);
    EXPECT_EQ(item->startTime(), Date{2.5});
}

TEST(GivenAFilledHistorySessionItem, WhenArchivedAndCopiedThenItIsEqualAndTheCopyIsItsOwn) {
    const auto item = filled();
    const auto before = archiveOf(*item);
    EXPECT_NE(archiveDescription(before).find(R"("deckNumber":2)"), std::string::npos)
        << "an integer, inline";
    const auto read = recordFrom<PLXHistorySessionItem>(before);
    ASSERT_TRUE(read);
    EXPECT_EQ(archiveOf(*read), before);
    EXPECT_EQ(read->titleID()->isrc(), "ISRC");
    EXPECT_EQ(read->startTime(), Date{30.5});
    item->makeImmutable();
    const auto copy = item->copy();
    EXPECT_NE(copy->titleID(), item->titleID()) << "deep";
    EXPECT_EQ(archiveOf(*copy), before);
    copy->setDeckNumber(1);
    EXPECT_EQ(copy->changedProperties(), (KeySet{"deckNumber"}));
    EXPECT_EQ(archiveOf(*item), before);
    EXPECT_THROW(item->setStartTime({}), PLXDatabaseObjectException);
    EXPECT_EQ(item->cloudUUID(), "historysessionitem-item");
}

TEST(GivenAHistorySessionItem, WhenItsEdgesAreAskedThenItGoesWithItsSession) {
    using Edges = std::vector<YapDatabaseRelationshipEdge>;
    const auto item = PLXHistorySessionItem::init();
    EXPECT_EQ(item->yapDatabaseRelationshipEdges(), Edges());
    item->setSessionUUID("session");
    EXPECT_EQ(item->yapDatabaseRelationshipEdges(),
              (Edges{{"historySessionItemSession", "session", "historySessions", 4}}));
    EXPECT_EQ(PLXHistorySessionItemSessionRelationshipEdgeName, "historySessionItemSession");
    EXPECT_EQ(item->yapDatabaseRelationshipEdgeDeleted(
                  {}, YapDatabaseRelationshipNode::Reason::destinationNodeDeleted),
              nullptr);
}

TEST(GivenAFilledHistorySessionItem, WhenItsArchiveIsDamagedThenItReadsAsARecordOrNil) {
    readDamagedArchives(*filled());
}

}  // namespace
}  // namespace qsml
