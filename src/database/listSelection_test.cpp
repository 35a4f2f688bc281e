// The selection of a list follows its record through one update.
#include "database/testing/LibraryWithLists.h"

namespace qsml {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class GivenASelectedRow : public FilledLibraryWithAList {
protected:
    void SetUp() override {
        FilledLibraryWithAList::SetUp();
        list_->setIndexPathForSelectedRow(IndexPath{0, 3});
    }
};

TEST_F(GivenASelectedRow, WhenSetThenItsRecordIsRemembered) {
    EXPECT_EQ(list_->indexPathForSelectedRow(), (IndexPath{0, 3}));
    EXPECT_EQ(list_->selectedItemKey(), "date");
    EXPECT_EQ(list_->selectedCollection(), "things");
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(GivenASelectedRow, WhenClearedThenTheRecordIsForgotten) {
    list_->setIndexPathForSelectedRow(std::nullopt);
    EXPECT_EQ(list_->indexPathForSelectedRow(), std::nullopt);
    EXPECT_FALSE(list_->selectedItemKey());
    EXPECT_FALSE(list_->selectedCollection());
}

TEST_F(GivenASelectedRow, WhenSetToWhereNoRowIsThenThePathStaysWithoutARecord) {
    for (const IndexPath path : {IndexPath{0, 4}, IndexPath{7, 0}}) {
        list_->setIndexPathForSelectedRow(path);
        EXPECT_EQ(list_->indexPathForSelectedRow(), path);
        EXPECT_FALSE(list_->selectedItemKey());
        EXPECT_FALSE(list_->selectedCollection());
    }
}

TEST_F(GivenASelectedRow, WhenItsRecordMovesTwiceThenOnlyTheFirstMoveIsFollowed) {
    put("date", "fruit/0");
    settle();
    EXPECT_EQ(list_->indexPathForSelectedRow(), (IndexPath{0, 0}));
    EXPECT_FALSE(list_->selectedItemKey());
    EXPECT_FALSE(list_->selectedCollection());
    put("date", "fruit/9");
    settle();
    EXPECT_EQ(list_->indexPathForSelectedRow(), (IndexPath{0, 0}));
}

TEST_F(GivenASelectedRow, WhenSetAgainThenTheNextMoveIsFollowedToo) {
    put("date", "fruit/0");
    settle();
    list_->setIndexPathForSelectedRow(list_->indexPathForSelectedRow());
    put("date", "fruit/9");
    settle();
    EXPECT_EQ(list_->indexPathForSelectedRow(), (IndexPath{0, 3}));
}

TEST_F(GivenASelectedRow, WhenOtherRowsShiftItThenThePathFollows) {
    put("avocado", "fruit/0");
    settle();
    EXPECT_EQ(list_->indexPathForSelectedRow(), (IndexPath{0, 4}));
}

TEST_F(GivenASelectedRow, WhenItsRecordMovesToAnotherSectionThenThePathFollows) {
    put("date", "herbs/9");
    settle();
    EXPECT_EQ(list_->indexPathForSelectedRow(), (IndexPath{1, 1}));
}

TEST_F(GivenASelectedRow, WhenItsRecordIsRemovedThenNothingIsSelected) {
    remove("date");
    settle();
    EXPECT_EQ(list_->indexPathForSelectedRow(), std::nullopt);
}

TEST_F(GivenASelectedRow, WhenAnUpdateLeavesItInPlaceThenTheRecordIsForgottenAllTheSame) {
    put("mint", "herbs/2");
    settle();
    EXPECT_EQ(list_->indexPathForSelectedRow(), (IndexPath{0, 3}));
    EXPECT_FALSE(list_->selectedItemKey());
}

TEST_F(GivenASelectedRow, WhenACommitChangesNothingShownThenTheRecordStaysRemembered) {
    put("cat", "animals/1");
    settle();
    EXPECT_EQ(list_->selectedItemKey(), "date");
    put("date", "fruit/0");
    settle();
    EXPECT_EQ(list_->indexPathForSelectedRow(), (IndexPath{0, 0}));
}

TEST_F(GivenASelectedRow, WhenTheDelegateIsToldThenTheSelectionIsStillTheOldOne) {
    delegate_->didEndUpdates = [this](PLXViewDataSource& source) {
        calls_.push_back("selected " + textOf(*source.indexPathForSelectedRow()));
    };
    put("date", "fruit/0");
    settle();
    EXPECT_THAT(calls(), ElementsAre("begin", "move 0.3 0.0", "selected 0.3"));
    EXPECT_EQ(list_->indexPathForSelectedRow(), (IndexPath{0, 0}));
}

TEST_F(GivenASelectedRow, WhenTheDelegateSelectsDuringAnUpdateThenThatRecordIsForgottenAtItsEnd) {
    delegate_->didEndUpdates = [](PLXViewDataSource& source) {
        source.setIndexPathForSelectedRow(IndexPath{0, 1});
    };
    put("date", "fruit/0");
    settle();
    EXPECT_EQ(list_->indexPathForSelectedRow(), (IndexPath{0, 1}));
    EXPECT_FALSE(list_->selectedItemKey());
}

TEST_F(GivenASelectedRow, WhenThereIsNoDelegateThenTheSelectionFollowsAllTheSame) {
    list_->setDelegate(nullptr);
    put("date", "fruit/0");
    settle();
    EXPECT_EQ(list_->indexPathForSelectedRow(), (IndexPath{0, 0}));
    EXPECT_FALSE(list_->selectedItemKey());
}

TEST_F(GivenASelectedRow, WhenTheGroupHasARangeThenTheRecordIsThatOfTheIndexInTheWholeGroup) {
    list_->setRange({2, 2}, "fruit");
    list_->setIndexPathForSelectedRow(IndexPath{0, 1});
    EXPECT_EQ(list_->itemAtIndexPath({0, 1}).string(), "fruit/4");
    EXPECT_EQ(list_->selectedItemKey(), "banana");
}

}  // namespace
}  // namespace qsml
