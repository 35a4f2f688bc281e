// What a view tells a list of the commits that its connection moved over.
#include <gmock/gmock.h>

#include "store/views/YapDatabaseFilteredView.h"
#include "store/views/YapDatabaseSearchResultsView.h"
#include "store/views/YapDatabaseViewMappings.h"
#include "store/views/detail/comparedStates.h"
#include "store/views/testing/OpenViews.h"
#include "store/views/testing/changeTexts.h"
#include "store/views/testing/foreignCommit.h"
#include "testing/LogCapture.h"

namespace qsml {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using Texts = std::vector<std::string>;
using Type = YapDatabaseViewChangeType;
using View = YapDatabaseViewTransaction;
using Notifications = YapDatabaseNotifications;

/// Sections "a" (s2 blue, s4 dawn) and "b" (s6 fire) of a view, on a pinned connection.
class GivenAListOfSongs : public OpenViews {
protected:
    void SetUp() override {
        OpenViews::SetUp();
        write([](Writer& t) {
            t.setObject(Value("a|blue"), "s2", "songs");
            t.setObject(Value("a|dawn"), "s4", "songs");
            t.setObject(Value("b|fire"), "s6", "songs");
        });
        reader_ = store_.database().newConnection();
        move();
        show("songs");
    }
    void show(const std::string& view) {
        mappings_ = YapDatabaseViewMappings::initWithGroups({"a", "b"}, view);
        update();
    }
    Notifications move() { return reader_->beginLongLivedReadTransaction(); }
    void update() {
        reader_->read([&](Reader& t) { mappings_->updateWithTransaction(t); });
    }
    Texts told(const Notifications& notifications) {
        std::vector<YapDatabaseViewSectionChange> sections;
        std::vector<YapDatabaseViewRowChange> rows;
        reader_->read([&](Reader& t) {
            t.ext<View>(mappings_->view())
                ->getSectionChanges(&sections, &rows, notifications, *mappings_);
        });
        EXPECT_THAT(sections, IsEmpty());
        return textsOf(rows);
    }
    /// Moves over a commit of another process.
    Notifications moveOverCommitElsewhere() {
        commitElsewhere(store_.database());
        EXPECT_TRUE(store_.connection().read([](Reader&) {}));
        return move();
    }

    std::shared_ptr<YapDatabaseConnection> reader_;
    std::shared_ptr<YapDatabaseViewMappings> mappings_;
    LogCapture log_;
};

TEST_F(GivenAListOfSongs, WhenACommitWasSkippedThenTheWholeListIsReplacedAndFollowsAgain) {
    song("s3", "a|cold");
    move();
    song("s7", "b|amber");
    EXPECT_THAT(told(move()),
                UnorderedElementsAre("delete  0.1 -", "delete  0.0 -", "delete  1.0 -",
                                     "insert s2 - 0.0", "insert s3 - 0.1", "insert s4 - 0.2",
                                     "insert s7 - 1.0", "insert s6 - 1.1"));
    EXPECT_EQ(log_.linesWith("the whole list is replaced").size(), 1u);
    EXPECT_EQ(mappings_->snapshotOfLastUpdate(), reader_->snapshot());
    song("s1", "a|amber");
    EXPECT_THAT(told(move()), ElementsAre("insert s1 - 0.0"));
}

TEST_F(GivenAListOfSongs, WhenTheMappingsHaveSeenTheCommitsThenNothingIsTold) {
    song("s3", "a|cold");
    const Notifications seen = move();
    update();
    EXPECT_THAT(told(seen), IsEmpty());
    EXPECT_EQ(mappings_->numberOfItemsInSection(0), 3u);
    song("s1", "a|amber");
    Notifications both = seen;
    for (const auto& commit : move()) both.push_back(commit);
    EXPECT_THAT(told(both), ElementsAre("insert s1 - 0.0"));
    EXPECT_THAT(told(both), IsEmpty());
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(GivenAListOfSongs, WhenTheMappingsHaveSeenNothingThenEverythingIsInserted) {
    mappings_ = YapDatabaseViewMappings::initWithGroups({"b"}, "songs");
    song("s7", "b|amber");
    EXPECT_THAT(told(move()), ElementsAre("insert s7 - 0.0", "insert s6 - 0.1"));
}

// Questions to the notifications.

TEST_F(GivenAListOfSongs, WhenCommitsAreAskedThenOnlyViewsAndGroupsThatTheyTouchedAnswer) {
    song("s3", "a|cold");
    const Notifications commits = move();
    EXPECT_TRUE(View::hasChangesForNotifications("songs", commits));
    EXPECT_FALSE(View::hasChangesForNotifications("evenSongs", commits));
    EXPECT_FALSE(View::hasChangesForNotifications("nowhere", commits));
    EXPECT_TRUE(View::hasChangesForGroup("a", "songs", commits));
    EXPECT_FALSE(View::hasChangesForGroup("b", "songs", commits));
    EXPECT_TRUE(View::hasChangesForAnyGroups({"b", "a"}, "songs", commits));
    EXPECT_FALSE(View::hasChangesForAnyGroups({"b", "c"}, "songs", commits));
    EXPECT_FALSE(View::hasChangesForAnyGroups({}, "songs", commits));
    EXPECT_FALSE(View::hasChangesForNotifications("songs", {}));
}

TEST_F(GivenAListOfSongs, WhenARowLeavesAGroupThenBothGroupsHaveChanges) {
    song("s4", "b|dawn");
    const Notifications commits = move();
    EXPECT_TRUE(View::hasChangesForGroup("a", "songs", commits));
    EXPECT_TRUE(View::hasChangesForGroup("b", "songs", commits));
}

TEST_F(GivenAListOfSongs, WhenARowIsTouchedThenItsGroupHasChanges) {
    write([](Writer& t) { t.touchObjectForKey("s6", "songs"); });
    const Notifications commits = move();
    EXPECT_TRUE(View::hasChangesForGroup("b", "songs", commits));
    EXPECT_FALSE(View::hasChangesForGroup("a", "songs", commits));
}

TEST_F(GivenAListOfSongs, WhenAnotherProcessCommitsThenAnyViewAndGroupMayHaveChanges) {
    const Notifications commits = moveOverCommitElsewhere();
    EXPECT_TRUE(View::hasChangesForNotifications("songs", commits));
    EXPECT_TRUE(View::hasChangesForGroup("b", "songs", commits));
}

// Commits of another process.

TEST_F(GivenAListOfSongs, WhenAnotherProcessCommitsThenEveryRowThatStayedIsUpdated) {
    EXPECT_THAT(told(moveOverCommitElsewhere()),
                ElementsAre("update s2 0.0 -", "update s4 0.1 -", "update s6 1.0 -"));
}

TEST_F(GivenAListOfSongs, WhenAnotherProcessCommitsThenTheFilterInForceStays) {
    write([](Writer& t) {
        EXPECT_TRUE(
            t.ext<YapDatabaseFilteredViewTransaction>("evenSongs")
                ->setFiltering([](auto&, auto, auto, std::string_view key) { return key == "s4"; },
                               "other"));
    });
    move();
    show("evenSongs");
    EXPECT_THAT(told(moveOverCommitElsewhere()), ElementsAre("update s4 0.0 -"));
    read([](Reader& t) {
        EXPECT_EQ(t.ext<YapDatabaseFilteredViewTransaction>("evenSongs")->versionTag(), "other");
    });
    song("s2", "a|echo");
    EXPECT_EQ(shown("evenSongs"), (Groups{{"a", {"s4"}}}));
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAListOfSongs, WhenAnotherProcessCommitsThenTheSearchInForceStays) {
    write([](Writer& t) {
        t.ext<YapDatabaseSearchResultsViewTransaction>("found")->performSearchFor("fire");
    });
    move();
    show("found");
    EXPECT_THAT(told(moveOverCommitElsewhere()), ElementsAre("update s6 1.0 -"));
    song("s8", "b|fire");
    EXPECT_THAT(told(move()), ElementsAre("insert s8 - 1.1"));
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAListOfSongs, WhenAListIsLongThenItsStatesAreNotCompared) {
    const auto before = mappings_->copy();
    moveOverCommitElsewhere();
    update();
    std::vector<YapDatabaseViewSectionChange> sections;
    std::vector<YapDatabaseViewRowChange> rows;
    const auto compares = [&](std::uint64_t longest) {
        bool areCompared = false;
        reader_->read([&](Reader& t) {
            View& view = *t.ext<View>("songs");
            areCompared =
                detail::comparedStates(*before, *mappings_, view, &sections, &rows, longest);
        });
        return areCompared;
    };
    EXPECT_FALSE(compares(2));
    EXPECT_THAT(rows, IsEmpty());
    EXPECT_TRUE(compares(3));
    EXPECT_EQ(rows.size(), 3u);
}

}  // namespace
}  // namespace qsml
