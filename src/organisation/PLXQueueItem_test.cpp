#include "organisation/PLXQueueItem.h"

#include <gtest/gtest.h>

#include "testing/recordTable.h"

namespace qsml {
namespace {

std::shared_ptr<PLXQueueItem> filled() {
    auto item = PLXQueueItem::initWithUUID("item");
    item->setQueueUUID("queue");
    item->setTitleID(PLXMediaItemTitleID::initWithTitle("Song", "Band", 200, "ISRC"));
    return item;
}

TEST(GivenArchivesOfAQueueItem, WhenHeldAgainstTheTableThenNamesOrderDefaultsAndChecksAreThose) {
    expectTable<PLXQueueItem>({{"queueUUID", Takes::text}, {"titleID", Takes::object}}, *filled());
    EXPECT_EQ(PLXQueueItem::init()->monitoredProperties(), (KeySet{"queueUUID", "titleID"}));
}

TEST(GivenArchivesOfAQueueItem, WhenAnotherProgramWroteATitleIDThenItIsRead) {
    const Dictionary titleID{{"$class", "PLXMediaItemTitleID"}, {"uuid", "t"}, {"title", "Song"}};
    const auto item = recordFrom<PLXQueueItem>(foreignArchive({{"$class", "PLXQueueItem"},
                                                               {"uuid", "u"},
                                                               {"queueUUID", "q"},
                                                               {"titleID", Value(titleID)}}));
    ASSERT_TRUE(item);
    EXPECT_EQ(item->uuid(), "u");
    EXPECT_EQ(item->queueUUID(), "q");
    ASSERT_TRUE(item->titleID());
    EXPECT_EQ(item->titleID()->uuid(), "t");
    EXPECT_EQ(item->titleID()->title(), "Song");
}

TEST(GivenAFilledQueueItem, WhenArchivedAndCopiedThenItIsEqualAndTheCopyIsItsOwn) {
    const auto item = filled();
    const auto before = archiveOf(*item);
    const auto read = recordFrom<PLXQueueItem>(before);
    ASSERT_TRUE(read);
    EXPECT_EQ(archiveOf(*read), before);
    EXPECT_EQ(read->titleID()->isrc(), "ISRC");
    item->makeImmutable();
    const auto copy = item->copy();
    EXPECT_NE(copy->titleID(), item->titleID()) << "deep";
    EXPECT_EQ(archiveOf(*copy), before);
    copy->setQueueUUID("other");
    copy->setTitleID(nullptr);
    EXPECT_EQ(copy->changedProperties(), (KeySet{"queueUUID", "titleID"}));
    EXPECT_EQ(archiveOf(*item), before);
    EXPECT_THROW(item->setQueueUUID("x"), PLXDatabaseObjectException);
    EXPECT_THROW(item->setTitleID(nullptr), PLXDatabaseObjectException);
    EXPECT_EQ(item->cloudUUID(), "queueitem-item");
}

TEST(GivenATitleIDOfAQueueItem, WhenTheGiversChangesThenTheItemsDoesNot) {
    const auto id = PLXMediaItemTitleID::initWithTitle("Song", "Band", 200, nullptr);
    const auto item = PLXQueueItem::init();
    item->setTitleID(id);
    id->setTitle("changed");
    EXPECT_EQ(item->titleID()->title(), "Song");
}

TEST(GivenAQueueItem, WhenItsEdgesAreAskedThenItGoesWithItsQueue) {
    using Edges = std::vector<YapDatabaseRelationshipEdge>;
    const auto item = PLXQueueItem::init();
    EXPECT_EQ(item->yapDatabaseRelationshipEdges(), Edges());
    item->setQueueUUID("queue");
    EXPECT_EQ(item->yapDatabaseRelationshipEdges(),
              (Edges{{"queueItemQueue", "queue", "queues", 4}}));
    EXPECT_EQ(PLXQueueItemQueueRelationshipEdgeName, "queueItemQueue");
    EXPECT_EQ(item->yapDatabaseRelationshipEdgeDeleted(
                  {}, YapDatabaseRelationshipNode::Reason::destinationNodeDeleted),
              nullptr);
}

TEST(GivenAFilledQueueItem, WhenItsArchiveIsDamagedThenItReadsAsARecordOrNil) {
    readDamagedArchives(*filled());
}

}  // namespace
}  // namespace qsml
