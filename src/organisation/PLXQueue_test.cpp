#include "organisation/PLXQueue.h"

#include <gtest/gtest.h>

#include <thread>

#include "organisation/PLXQueueItem.h"
#include "organisation/detail/testing/FaultyLibrary.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseRelationshipNode.h"
#include "store/YapDatabaseTransaction.h"
#include "testing/OpenLibrary.h"
#include "testing/UndecodableObject.h"
#include "testing/recordTable.h"

namespace qsml {
namespace {

using Keys = OrderedSet<String>;

std::shared_ptr<PLXQueue> filled() {
    auto queue = PLXQueue::initWithUUID("queue");
    queue->setItemUUIDs(Keys{"b", "a", "c"});
    return queue;
}

TEST(GivenArchivesOfAQueue, WhenHeldAgainstTheTableThenNamesOrderDefaultsAndChecksAreThose) {
    expectTable<PLXQueue>({{"itemUUIDs", Takes::arrayOrOrderedSet}}, *filled());
    EXPECT_EQ(PLXQueue::init()->monitoredProperties(), (KeySet{"itemUUIDs"}));
}

TEST(GivenArchivesOfAQueue, WhenTheItemsAreAnArrayOrAnOrderedSetThenTheirOrderIsKept) {
    const std::vector<Value> collections = {Value(Value::Array{Value("b"), Value("a"), Value("b")}),
                                            Value(Keys{"b", "a"})};
    for (const Value& items : collections) {
        const auto queue = recordFrom<PLXQueue>(
            foreignArchive({{"$class", "PLXQueue"}, {"uuid", "u"}, {"itemUUIDs", items}}));
        ASSERT_TRUE(queue);
        EXPECT_EQ(queue->uuid(), "u");
        EXPECT_EQ(queue->itemUUIDs(), (Keys{"b", "a"}));
    }
}

TEST(GivenAFilledQueue, WhenArchivedAndCopiedThenItIsEqualAndTheCopyIsItsOwn) {
    const auto queue = filled();
    const auto before = archiveOf(*queue);
    EXPECT_NE(archiveDescription(before).find("NSOrderedSet"), std::string::npos);
    EXPECT_EQ(recordFrom<PLXQueue>(before)->itemUUIDs(), queue->itemUUIDs());
    queue->makeImmutable();
    const auto copy = queue->copy();
    EXPECT_EQ(archiveOf(*copy), before);
    copy->setItemUUIDs(Keys{"c"});
    EXPECT_EQ(copy->changedProperties(), (KeySet{"itemUUIDs"}));
    EXPECT_EQ(archiveOf(*queue), before);
    EXPECT_THROW(queue->setItemUUIDs({}), PLXDatabaseObjectException);
    EXPECT_EQ(queue->cloudUUID(), "queue-queue");
    EXPECT_EQ(dynamic_cast<YapDatabaseRelationshipNode*>(copy.get()), nullptr) << "no edges";
}

TEST(GivenAFilledQueue, WhenItsArchiveIsDamagedThenItReadsAsARecordOrNil) {
    readDamagedArchives(*filled());
}

void storeQueueWithEntry(YapDatabaseReadWriteTransaction& transaction) {
    const auto queue = PLXQueue::initWithUUID("queue-default");
    queue->setItemUUIDs(Keys{"x"});
    EXPECT_TRUE(transaction.setObject(queue, "queue-default", "queues"));
}

class GivenALibraryWithoutQueues : public OpenLibrary {
protected:
    std::vector<String> storedKeys() {
        std::vector<String> keys;
        manager_.bgDatabaseConnection()->read([&](YapDatabaseReadTransaction& transaction) {
            keys = transaction.allKeysInCollection(PLXDatabaseCollectionQueues);
        });
        return keys;
    }
    std::shared_ptr<const PLXQueue> storedQueue() {
        std::shared_ptr<const PLXQueue> queue;
        manager_.bgDatabaseConnection()->read([&](YapDatabaseReadTransaction& transaction) {
            queue = transaction.object<PLXQueue>("queue-default", "queues");
        });
        return queue;
    }
};

TEST_F(GivenALibraryWithoutQueues, WhenTheDefaultQueueIsAskedThenItIsMadeStoredAndFoundAgain) {
    const auto queue = PLXQueue::defaultQueue(manager_);
    ASSERT_TRUE(queue);
    EXPECT_EQ(queue->uuid(), PLXDefaultQueueUUID);
    EXPECT_EQ(queue->uuid(), "queue-default");
    EXPECT_EQ(queue->itemUUIDs(), std::nullopt);
    EXPECT_TRUE(queue->isImmutable());
    EXPECT_FALSE(queue->hasChangedProperties());
    EXPECT_EQ(storedKeys(), (std::vector<String>{"queue-default"}));

    const auto snapshot = manager_.database()->snapshot();
    const auto again = PLXQueue::defaultQueue(manager_);
    ASSERT_TRUE(again);
    EXPECT_TRUE(again->isEqual(*queue));
    EXPECT_EQ(manager_.database()->snapshot(), snapshot) << "nothing is written";
}

TEST_F(GivenALibraryWithoutQueues, WhenTheStoredQueueHasEntriesThenThatOneComes) {
    EXPECT_TRUE(manager_.bgDatabaseConnection()->readWrite(storeQueueWithEntry));
    const auto found = PLXQueue::defaultQueue(manager_);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->itemUUIDs(), (Keys{"x"}));
}

TEST_F(GivenALibraryWithoutQueues, WhenARecordOfAnotherClassHasTheKeyThenItStaysAndThereIsNoQueue) {
    manager_.bgDatabaseConnection()->readWrite([](YapDatabaseReadWriteTransaction& transaction) {
        transaction.setObject(PLXQueueItem::initWithUUID("queue-default"), "queue-default",
                              "queues");
    });
    const auto snapshot = manager_.database()->snapshot();
    EXPECT_EQ(PLXQueue::defaultQueue(manager_), nullptr);
    EXPECT_EQ(manager_.database()->snapshot(), snapshot);
}

TEST_F(GivenALibraryWithoutQueues, WhenTheStoredQueueCannotBeReadThenItIsNotReplaced) {
    manager_.database()->newConnection()->readWrite([](auto& transaction) {
        transaction.setObject(std::make_shared<UndecodableObject>(), "queue-default", "queues");
    });
    const auto snapshot = manager_.database()->snapshot();
    EXPECT_EQ(PLXQueue::defaultQueue(manager_), nullptr);
    EXPECT_EQ(manager_.database()->snapshot(), snapshot);
}

TEST_F(GivenALibraryWithoutQueues, WhenAnotherStoresOneMeanwhileThenItsEntriesAreKept) {
    commitUnseen(manager_, storeQueueWithEntry);
    ASSERT_FALSE(storedQueue()) << "unseen";
    const auto found = PLXQueue::defaultQueue(manager_);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->itemUUIDs(), (Keys{"x"}));
    EXPECT_EQ(storedQueue()->itemUUIDs(), (Keys{"x"}));
}

TEST_F(GivenALibraryWithoutQueues, WhenManyThreadsAskThenOneQueueIsMade) {
    const auto before = manager_.database()->snapshot();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([this] { EXPECT_TRUE(PLXQueue::defaultQueue(manager_)); });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(manager_.database()->snapshot(), before + 1);
}

TEST(GivenAQueueLibraryWhoseFileFails, WhenTheDefaultQueueIsAskedThenItIsStoredOrNull) {
    std::shared_ptr<const PLXQueue> queue;
    const auto ask = [&](PLXDatabaseManager& manager) { queue = PLXQueue::defaultQueue(manager); };
    const auto verify = [&](PLXDatabaseManager& reopened) {
        std::uint64_t stored = 0;
        ASSERT_TRUE(reopened.bgDatabaseConnection()->read(
            [&](auto& transaction) { stored = transaction.numberOfKeysInCollection("queues"); }));
        EXPECT_EQ(stored, queue ? 1U : 0U);
        EXPECT_TRUE(PLXQueue::defaultQueue(reopened)) << "once the file works again";
    };
    EXPECT_GT(FaultyLibrary().forEachFailingWrite({}, ask, verify), 2U);
}

// Whether the queue cannot be read at first or when it is looked for again.
TEST(GivenAQueueLibraryWhoseFileFails, WhenAStoredQueueIsAskedThenItIsNeverReplaced) {
    for (const bool isUnseen : {false, true}) {
        FaultyLibrary library;
        library.arrange = [&](PLXDatabaseManager& manager) {
            if (isUnseen) commitUnseen(manager, storeQueueWithEntry);
        };
        const auto prepare = [&](PLXDatabaseManager& manager) {
            if (!isUnseen) manager.bgDatabaseConnection()->readWrite(storeQueueWithEntry);
        };
        const auto ask = [](PLXDatabaseManager& manager) {
            const auto queue = PLXQueue::defaultQueue(manager);
            EXPECT_TRUE(!queue || queue->itemUUIDs() == Keys{"x"});
        };
        const auto verify = [](PLXDatabaseManager& reopened) {
            const auto stored = PLXQueue::defaultQueue(reopened);
            ASSERT_TRUE(stored);
            EXPECT_EQ(stored->itemUUIDs(), (Keys{"x"}));
        };
        EXPECT_GT(library.forEachFailingRead(prepare, ask, verify), 1U);
    }
}

TEST(GivenAManagerThatIsNotSetUp, WhenTheDefaultQueueIsAskedThenThereIsNone) {
    PLXDatabaseManager manager;
    EXPECT_EQ(PLXQueue::defaultQueue(manager), nullptr);
}

TEST(GivenTheSharedManager, WhenTheDefaultQueueIsAskedThenItIsThatOfTheSharedLibrary) {
    auto& manager = sharedLibrary();
    const auto queue = PLXQueue::defaultQueue();
    ASSERT_TRUE(queue);
    EXPECT_TRUE(queue->isEqual(*PLXQueue::defaultQueue(manager)));
}

}  // namespace
}  // namespace qsml
