#include "store/YapDatabaseNotification.h"

#include <atomic>

#include "foundation/NotificationCenter.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "testing/OpenStore.h"
#include "testing/TemporaryDirectory.h"

namespace qsml {
namespace {

using Writer = YapDatabaseReadWriteTransaction;
using CommitPointer = std::shared_ptr<const YapDatabaseCommit>;

/// Notifications run when the test drains the store.
class GivenAnObserver : public OpenStore {
protected:
    void SetUp() override {
        OpenStore::SetUp();
        token_ = NotificationCenter::defaultCenter().addObserver(
            std::string(YapDatabaseModifiedNotification), &store_.database(),
            [this](const Notification& notification) { posted_.push_back(notification); });
    }
    template <class T>
    T fact(std::size_t index, std::string_view key) const {
        const T* found = posted_.at(index).info<T>(key);
        return found ? *found : T();
    }
    CommitPointer commit(std::size_t index) const {
        auto found = fact<CommitPointer>(index, YapDatabaseCommitKey);
        return found ? found : std::make_shared<const YapDatabaseCommit>();
    }

    NotificationCenter::Token token_;
    std::vector<Notification> posted_;
};

TEST_F(GivenAnObserver, WhenCommittedThenEachCommitIsPostedOnceInOrderWithItsFacts) {
    store_.connection().readWrite([](Writer& t) {
        t.setObject("a", "k", "texts");
        t.setObject("b", "k", "texts");
        t.setYapDatabaseModifiedNotificationCustomObject(std::string("mine"));
    });
    store_.set("l", "c");
    store_.drain();
    ASSERT_EQ(posted_.size(), 2u);
    EXPECT_EQ(fact<std::uint64_t>(0, YapDatabaseSnapshotKey), 1u);
    EXPECT_EQ(fact<std::uint64_t>(1, YapDatabaseSnapshotKey), 2u);
    EXPECT_EQ(fact<const void*>(0, YapDatabaseConnectionKey), &store_.connection());
    EXPECT_EQ(fact<std::string>(0, YapDatabaseCustomKey), "mine");
    EXPECT_FALSE(posted_[1].info<std::string>(YapDatabaseCustomKey));
    ASSERT_EQ(commit(0)->changes.size(), 1u);
    EXPECT_EQ(commit(0)->changes[0].row, (YapDatabaseCollectionKey{"texts", "k"}));
    EXPECT_TRUE(commit(0)->changes[0].object);
    EXPECT_FALSE(commit(0)->isForeign);
}

TEST_F(GivenAnObserver, WhenNothingWasCommittedThenNothingIsPosted) {
    store_.connection().readWrite([](Writer& t) {
        t.setObject("a", "k", "texts");
        t.rollback();
    });
    store_.connection().readWrite([](Writer&) {});
    store_.drain();
    EXPECT_TRUE(posted_.empty());
}

TEST_F(GivenAnObserver, WhenACollectionIsRemovedThenEachKeyIsNamed) {
    store_.set("k", "a");
    store_.set("l", "b");
    store_.connection().readWrite([](Writer& t) { t.removeAllObjectsInCollection("texts"); });
    store_.drain();
    ASSERT_EQ(posted_.size(), 3u);
    ASSERT_EQ(commit(2)->changes.size(), 2u);
    for (const auto& change : commit(2)->changes) EXPECT_TRUE(change.removed);
}

TEST_F(GivenAnObserver, WhenTouchedThenTheHalvesAreTold) {
    store_.set("k", "a");
    store_.connection().readWrite([](Writer& t) { t.touchObjectForKey("k", "texts"); });
    store_.connection().readWrite([](Writer& t) { t.touchMetadataForKey("k", "texts"); });
    store_.connection().readWrite([](Writer& t) { t.touchRowForKey("k", "texts"); });
    store_.drain();
    ASSERT_EQ(posted_.size(), 4u);
    const auto halves = [&](std::size_t index) {
        const auto& change = commit(index)->changes.at(0);
        return std::pair(change.object, change.metadata);
    };
    EXPECT_EQ(halves(1), std::pair(true, false));
    EXPECT_EQ(halves(2), std::pair(false, true));
    EXPECT_EQ(halves(3), std::pair(true, true));
}

TEST_F(GivenAnObserver, WhenTheDatabaseIsGoneThenClosedIsPostedAfterwardsAndNothingElse) {
    std::atomic<int> closed{0};
    const auto token = NotificationCenter::defaultCenter().addObserver(
        std::string(YapDatabaseClosedNotification), &store_.database(),
        [&](const Notification&) { ++closed; });
    store_.set("k", "a");
    store_.close();
    EXPECT_EQ(closed, 1);
    EXPECT_TRUE(store_.open());
}

TEST(GivenANotificationQueue, WhenItGoesBeforeTheDatabaseThenCommitsAndClosingStillWork) {
    const TemporaryDirectory directory;
    auto queue = std::make_unique<DispatchQueue>("tests.short-lived");
    YapDatabaseOptions options;
    options.notificationQueue = queue.get();
    auto database = YapDatabase::initWithPath(directory.path() + "/store.db", {}, {}, options);
    ASSERT_TRUE(database);
    const auto connection = database->newConnection();
    queue = nullptr;
    EXPECT_TRUE(connection->readWrite([](Writer& t) { t.removeAllObjectsInAllCollections(); }));
    connection->asyncReadWrite([](Writer&) {});
    bool done = false;
    EXPECT_TRUE(connection->read([&](YapDatabaseReadTransaction&) { done = true; }));
    EXPECT_TRUE(done);
    database = nullptr;
}

}  // namespace
}  // namespace qsml
