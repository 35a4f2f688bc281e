#include "database/testing/LibraryWithLists.h"
#include "store/views/YapDatabaseViewMappings.h"
#include "store/views/testing/foreignCommit.h"
#include "testing/LogCapture.h"

namespace qsml {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class GivenAListWithADelegate : public FilledLibraryWithAList {};

TEST_F(GivenAListWithADelegate, WhenACommitTouchesNoneOfItsGroupsThenItHearsNothing) {
    write([](Writer& t) {
        t.setObject(Value("fruit/1"), "apple", "others");
        put(t, "cat", "animals/1");
    });
    settle();
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(list_->viewMappings()->snapshotOfLastUpdate(),
              manager_.uiDatabaseConnection()->snapshot());
}

TEST_F(GivenAListWithADelegate, WhenRowsAreInsertedThenTheirNewPathsAreTold) {
    write([](Writer& t) {
        put(t, "elderberry", "fruit/5");
        put(t, "avocado", "fruit/0");
        put(t, "chive", "herbs/2");
    });
    settle();
    EXPECT_THAT(calls(), ElementsAre("begin", "insert 0.0", "insert 0.5", "insert 1.1", "end"));
}

TEST_F(GivenAListWithADelegate, WhenRowsAreDeletedThenTheirOldPathsAreTold) {
    write([](Writer& t) {
        t.removeObjectForKey("apple", "things");
        put(t, "cherry", "in no group");
        put(t, "basil", "elsewhere/1");
    });
    settle();
    EXPECT_THAT(calls(), ElementsAre("begin", "delete 1.0", "delete 0.2", "delete 0.0", "end"));
}

TEST_F(GivenAListWithADelegate, WhenARowMovesThenBothPathsAreTold) {
    put("date", "fruit/0");
    settle();
    EXPECT_THAT(calls(), ElementsAre("begin", "move 0.3 0.0", "end"));
    put("date", "herbs/0");
    settle();
    EXPECT_THAT(calls(), ElementsAre("begin", "move 0.0 1.0", "end"));
}

TEST_F(GivenAListWithADelegate, WhenARowIsUpdatedThenItsOldPathIsTold) {
    write([](Writer& t) {
        put(t, "avocado", "fruit/0");
        t.touchObjectForKey("cherry", "things");
    });
    settle();
    EXPECT_THAT(calls(), ElementsAre("begin", "insert 0.0", "update 0.2", "end"));
}

TEST_F(GivenAListWithADelegate, WhenSectionsAreDynamicThenTheyAreToldBeforeRows) {
    list_->viewMappings()->setIsDynamicSectionForAllGroups(true);
    write([](Writer& t) {
        t.removeObjectForKey("basil", "things");
        t.removeObjectForKey("apple", "things");
    });
    settle();
    EXPECT_THAT(calls(), ElementsAre("begin", "delete section 1", "delete 0.0", "end"));
    EXPECT_EQ(list_->numberOfSections(), 1u);
    write([](Writer& t) {
        put(t, "basil", "herbs/1");
        put(t, "avocado", "fruit/0");
    });
    settle();
    EXPECT_THAT(calls(), ElementsAre("begin", "insert section 1", "insert 0.0", "end"));
}

TEST_F(GivenAListWithADelegate, WhenSeveralCommitsAreAnnouncedTogetherThenItHearsThemAsOne) {
    put("date", "fruit/0");
    put("avocado", "fruit/00");
    remove("avocado");
    settle();
    EXPECT_THAT(calls(), ElementsAre("begin", "move 0.3 0.0", "end"));
}

TEST_F(GivenAListWithADelegate, WhenTheDelegatePerformsUpdatesThenItGetsThemAsABlock) {
    delegate_->performUpdates = [this](PLXViewDataSource& source, const auto& updates) {
        EXPECT_EQ(&source, list_.get());
        calls_.push_back("before");
        updates();
        calls_.push_back("after");
    };
    put("avocado", "fruit/0");
    settle();
    EXPECT_THAT(calls(), ElementsAre("begin", "before", "insert 0.0", "after", "end"));
}

TEST_F(GivenAListWithADelegate, WhenTheDelegateDropsTheBlockThenNoRowIsTold) {
    delegate_->performUpdates = [](PLXViewDataSource&, const auto&) {};
    put("avocado", "fruit/0");
    settle();
    EXPECT_THAT(calls(), ElementsAre("begin", "end"));
    EXPECT_EQ(list_->numberOfRowsInSection(0), 5u);
}

TEST_F(GivenAListWithADelegate, WhenTheBlockOutlivesListOrDelegateThenItTellsNothing) {
    std::vector<PLXViewDataSourceDelegate::Block> kept;
    delegate_->performUpdates = [&](PLXViewDataSource&, const auto& updates) {
        kept.push_back(updates);
    };
    put("avocado", "fruit/0");
    settle();
    calls();
    const std::weak_ptr<PLXViewDataSource> list = list_;
    list_.reset();
    EXPECT_TRUE(list.expired()) << "the block holds it";
    kept.front()();
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(GivenAListWithADelegate, WhenTheDelegateAnswersNothingThenNothingIsToldAndTheListFollows) {
    *delegate_ = {};
    write([](Writer& t) {
        put(t, "avocado", "fruit/0");
        put(t, "date", "fruit/00");
        t.removeObjectForKey("apple", "things");
        t.touchObjectForKey("basil", "things");
    });
    settle();
    EXPECT_THAT(shown(*list_), ElementsAre("fruit/0 fruit/00 fruit/2 fruit/3 ", "herbs/1 "));
}

TEST_F(GivenAListWithADelegate, WhenTheDelegateReadsTheListThenItIsAsAfterTheUpdate) {
    delegate_->willBeginUpdates = [this](PLXViewDataSource& source) {
        calls_.push_back(std::to_string(source.numberOfRowsInSection(0)) + " " +
                         source.itemAtIndexPath({0, 0}).string().str());
    };
    put("avocado", "fruit/0");
    settle();
    EXPECT_THAT(calls(), ElementsAre("5 fruit/0", "insert 0.0", "end"));
}

TEST_F(GivenAListWithADelegate, WhenTheDelegateLetsTheListGoThenTheUpdateEndsInOrder) {
    delegate_->willBeginUpdates = [this](PLXViewDataSource&) { list_.reset(); };
    put("avocado", "fruit/0");
    settle();
    EXPECT_THAT(calls(), ElementsAre("insert 0.0", "end"));
}

TEST_F(GivenAListWithADelegate, WhenARangeIsShownThenRowsCrossItsEdges) {
    list_->setRange({0, 2}, "fruit");
    put("avocado", "fruit/0");
    settle();
    EXPECT_THAT(calls(), ElementsAre("begin", "delete 0.1", "insert 0.0", "end"));
}

TEST_F(GivenAListWithADelegate, WhenItsRangeIsSetBeforeItIsToldThenItIsOnlyToldOfLaterCommits) {
    const LogCapture log;
    const auto later = list();  // told after list_
    later->setDelegate(delegate_);
    const auto setsRange = std::make_shared<PLXViewDataSourceDelegate>();
    setsRange->didEndUpdates = [&](PLXViewDataSource&) { later->setRange({0, 2}, "fruit"); };
    list_->setDelegate(setsRange);
    put("avocado", "fruit/0");
    settle();
    EXPECT_THAT(shown(*later), ElementsAre("fruit/0 fruit/1 ", "herbs/1 "));
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
    list_->setDelegate(nullptr);
    put("avocado", "fruit/9");
    settle();
    EXPECT_THAT(calls(), ElementsAre("begin", "delete 0.0", "insert 0.1", "end"));
}

// The notification.

TEST_F(GivenAListWithADelegate, WhenTheHostPostsTheNotificationItselfThenItCounts) {
    put("avocado", "fruit/0");
    const auto commits = manager_.uiDatabaseConnection()->beginLongLivedReadTransaction();
    ASSERT_EQ(commits.size(), 1u);
    NotificationCenter::defaultCenter().post(
        {std::string(PLXUIDatabaseConnectionDidUpdateNotification),
         this,
         {{std::string(PLXUIDatabaseConnectionNotificationsKey), commits}}});
    EXPECT_THAT(calls(), ElementsAre("begin", "insert 0.0", "end"));
}

TEST_F(GivenAListWithADelegate, WhenTheNotificationHasNoCommitsThenNothingHappens) {
    const auto snapshot = list_->viewMappings()->snapshotOfLastUpdate();
    auto& center = NotificationCenter::defaultCenter();
    center.post({std::string(PLXUIDatabaseConnectionDidUpdateNotification), nullptr, {}});
    center.post(
        {std::string(PLXUIDatabaseConnectionDidUpdateNotification),
         nullptr,
         {{std::string(PLXUIDatabaseConnectionNotificationsKey), YapDatabaseNotifications()}}});
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(list_->viewMappings()->snapshotOfLastUpdate(), snapshot);
}

TEST_F(GivenAListWithADelegate, WhenTheHostPostsTheCommitsItselfThenTheyAreTold) {
    put("avocado", "fruit/0");
    const auto commits = manager_.uiDatabaseConnection()->beginLongLivedReadTransaction();
    NotificationCenter::defaultCenter().post(
        {std::string(PLXUIDatabaseConnectionDidUpdateNotification),
         nullptr,
         {{std::string(PLXUIDatabaseConnectionNotificationsKey), commits}}});
    EXPECT_THAT(calls(), ElementsAre("begin", "insert 0.0", "end"));
    settle();
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(GivenAListWithADelegate, WhenAnotherManagerPostsThenTheListIsNotConcerned) {
    put("avocado", "fruit/0");
    const auto commits = manager_.uiDatabaseConnection()->beginLongLivedReadTransaction();
    const PLXDatabaseManager other;
    NotificationCenter::defaultCenter().post(
        {std::string(PLXUIDatabaseConnectionDidUpdateNotification),
         &other,
         {{std::string(PLXUIDatabaseConnectionNotificationsKey), commits},
          {std::string(PLXUIDatabaseConnectionKey), static_cast<const void*>(&other)}}});
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(GivenAListWithADelegate, WhenItsViewIsRegisteredLaterThenItsRowsAreToldAsInsertions) {
    LogCapture log;
    list_ = PLXViewDataSource::initWithView("later", bothGroups(), manager_);
    list_->setDelegate(delegate_);
    put("date", "fruit/5");
    settle();
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(list_->viewMappings()->snapshotOfLastUpdate(),
              manager_.uiDatabaseConnection()->snapshot());
    registerThings("later");
    settle();
    EXPECT_THAT(calls(), ElementsAre("begin", "insert 0.0", "insert 0.1", "insert 0.2",
                                     "insert 0.3", "insert 1.0", "end"));
    EXPECT_THAT(log.lines(), Each(Not(HasSubstr("Warning"))));
}

TEST_F(GivenAListWithADelegate, WhenItsViewIsUnregisteredThenItIsEmpty) {
    ASSERT_TRUE(manager_.database()->unregisterExtension("things"));
    settle();
    EXPECT_THAT(shown(*list_), ElementsAre("", ""));
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(GivenAListWithADelegate, WhenAnotherProcessCommitsThenEveryRowThatStayedIsUpdated) {
    commitElsewhere(*manager_.database());
    EXPECT_TRUE(manager_.bgDatabaseConnection()->read([](auto&) {}));
    list_->setIndexPathForSelectedRow(IndexPath{0, 3});
    settle();
    EXPECT_THAT(calls(), ElementsAre("begin", "update 0.0", "update 0.1", "update 0.2",
                                     "update 0.3", "update 1.0", "end"));
    EXPECT_EQ(list_->indexPathForSelectedRow(), (IndexPath{0, 3}));
}

}  // namespace
}  // namespace qsml
