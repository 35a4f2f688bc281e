#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "store/views/detail/mappedChanges.h"
#include "store/views/testing/EditableView.h"
#include "store/views/testing/changeTexts.h"

namespace qsml {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Options = YapDatabaseViewRangeOptions;
using Type = YapDatabaseViewChangeType;

/// Sections: letters, digits, signs.
class GivenAListOfAView : public ::testing::Test {
protected:
    GivenAListOfAView() { mappings_->update(&view_, 1); }

    void show(const Options& options, std::string_view group = "letters") {
        mappings_->setRangeOptions(options, group);
        mappings_->update(&view_, 1);
    }
    void commit() { commits_.push_back(view_.commit()); }
    /// Moves the mappings over the commits; what the list is told of rows.
    std::vector<std::string> changes() {
        if (commits_.empty()) commit();
        const auto before = mappings_->copy();
        mappings_->update(&view_, 1 + commits_.size());
        std::vector<const YapDatabaseViewChanges*> commits;
        for (const auto& commit : commits_) commits.push_back(commit.get());
        detail::mappedChanges(*before, *mappings_, commits, view_, &sections_, &rows_);
        commits_.clear();
        return texts();
    }
    std::vector<std::string> texts() const { return textsOf(rows_); }
    std::vector<std::string> sections() const {
        std::vector<std::string> texts;
        for (const auto& section : sections_)
            texts.push_back((section.type == Type::insertion ? "insert " : "delete ") +
                            section.group.str() + " " + std::to_string(section.index));
        return texts;
    }

    EditableView view_{{{"letters", {"a", "b", "c", "d", "e", "f"}},
                        {"digits", {"1", "2"}},
                        {"signs", {"!"}},
                        {"hidden", {"x", "y"}}}};
    std::shared_ptr<YapDatabaseViewMappings> mappings_ =
        YapDatabaseViewMappings::initWithGroups({"letters", "digits", "signs"}, "view");
    std::vector<std::shared_ptr<const YapDatabaseViewChanges>> commits_;
    std::vector<YapDatabaseViewSectionChange> sections_;
    std::vector<YapDatabaseViewRowChange> rows_;
};

TEST(ViewChangeTypes, HaveTheNumbersThatHostsKnow) {
    EXPECT_EQ(static_cast<int>(Type::insertion), 1);
    EXPECT_EQ(static_cast<int>(Type::deletion), 2);
    EXPECT_EQ(static_cast<int>(Type::move), 3);
    EXPECT_EQ(static_cast<int>(Type::update), 4);
    EXPECT_EQ(static_cast<int>(YapDatabaseViewChangedObject), 1);
    EXPECT_EQ(static_cast<int>(YapDatabaseViewChangedMetadata), 2);
    EXPECT_EQ(static_cast<int>(YapDatabaseViewChangedDependency), 4);
}

TEST_F(GivenAListOfAView, WhenNothingOfTheViewChangedThenBothListsAreEmpty) {
    EXPECT_THAT(changes(), IsEmpty());
    EXPECT_THAT(sections(), IsEmpty());
}

TEST_F(GivenAListOfAView, WhenRowsAreInsertedThenPathsAreThoseAfterTheChange) {
    view_.insert("n", "letters", 2);
    view_.insert("m", "letters", 0);
    view_.insert("3", "digits", 9);
    EXPECT_THAT(changes(), ElementsAre("insert m - 0.0", "insert n - 0.3", "insert 3 - 1.2"));
    EXPECT_EQ(rows_[0].flags, 3u);
    EXPECT_EQ(rows_[0].row, EditableView::row("m"));
}

TEST_F(GivenAListOfAView, WhenRowsAreDeletedThenPathsAreThoseBeforeTheChangeAndDescend) {
    view_.remove("b");
    view_.remove("e");
    view_.remove("1");
    EXPECT_THAT(changes(), ElementsAre("delete 1 1.0 -", "delete e 0.4 -", "delete b 0.1 -"));
}

TEST_F(GivenAListOfAView, WhenARowIsUpdatedThenOnlyItsOldPathIsGiven) {
    view_.insert("n", "letters", 0);
    view_.touch("d", YapDatabaseViewChangedDependency);
    EXPECT_THAT(changes(), ElementsAre("insert n - 0.0", "update d 0.3 -"));
    EXPECT_EQ(rows_[1].flags, 4u);
}

TEST_F(GivenAListOfAView, WhenOtherRowsAreOnlyShiftedThenTheyAreNotReported) {
    view_.remove("a");
    view_.insert("m", "letters", 1);
    view_.insert("n", "letters", 2);
    EXPECT_THAT(changes(), ElementsAre("delete a 0.0 -", "insert m - 0.1", "insert n - 0.2"));
}

TEST_F(GivenAListOfAView, WhenARowMovesAndChangesThenItIsOneMoveWithFlags) {
    view_.move("e", "letters", 1);
    EXPECT_THAT(changes(), ElementsAre("move e 0.4 0.1"));
    EXPECT_EQ(rows_[0].flags, 1u);
}

TEST_F(GivenAListOfAView, WhenAListedRowIsAsItWasThenItIsNotReported) {
    view_.touch("b", 0);
    EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(GivenAListOfAView, WhenARowOnlyShiftsAmongMovedOnesThenItIsAnUpdate) {
    view_.move("f", "letters", 0);
    view_.touch("c");
    EXPECT_THAT(changes(), ElementsAre("move f 0.5 0.0", "update c 0.2 -"));
}

TEST_F(GivenAListOfAView, WhenEveryRowIsListedThenAsFewAsPossibleMove) {
    for (const char* key : {"a", "b", "c", "d", "e"}) view_.touch(key);
    view_.move("f", "letters", 0);
    EXPECT_THAT(changes(), ElementsAre("move f 0.5 0.0", "update a 0.0 -", "update b 0.1 -",
                                       "update c 0.2 -", "update d 0.3 -", "update e 0.4 -"));
}

TEST_F(GivenAListOfAView, WhenARowChangesItsSectionThenItMoves) {
    view_.move("b", "digits", 1);
    EXPECT_THAT(changes(), ElementsAre("move b 0.1 1.1"));
}

TEST_F(GivenAListOfAView, WhenARowCrossesBetweenMappedAndUnmappedGroupsThenItIsDeletedOrInserted) {
    view_.move("b", "hidden", 0);
    view_.move("x", "digits", 0);
    view_.touch("y");
    EXPECT_THAT(changes(), ElementsAre("delete b 0.1 -", "insert x - 1.0"));
}

TEST_F(GivenAListOfAView, WhenSeveralKindsAreListedThenInTheirOrder) {
    view_.remove("a");
    view_.remove("!");
    view_.insert("n", "letters", 0);
    view_.insert("+", "signs", 0);
    view_.move("2", "digits", 0);
    view_.move("f", "letters", 1);
    view_.touch("c");
    view_.touch("b");
    EXPECT_THAT(changes(), ElementsAre("delete ! 2.0 -", "delete a 0.0 -", "insert n - 0.0",
                                       "insert + - 2.0", "move f 0.5 0.1", "move 2 1.1 1.0",
                                       "update b 0.1 -", "update c 0.2 -"));
}

// Ranges.

TEST_F(GivenAListOfAView, WhenARowIsInsertedAtTheTopOfAFullRangeThenTheLastOneIsPushedOut) {
    show(Options::fixedRange(3, 0));
    view_.insert("n", "letters", 0);
    EXPECT_THAT(changes(), ElementsAre("delete c 0.2 -", "insert n - 0.0"));
}

TEST_F(GivenAListOfAView, WhenARowOfARangeGoesThenTheNextOneFollows) {
    show(Options::fixedRange(3, 0));
    view_.remove("b");
    EXPECT_THAT(changes(), ElementsAre("delete b 0.1 -", "insert d - 0.2"));
    EXPECT_EQ(rows_[1].flags, 0u);
    EXPECT_EQ(rows_[1].row, EditableView::row("d"));
}

TEST_F(GivenAListOfAView, WhenRowsBeforeARangeChangeThenRowsEnterAtItsBeginning) {
    show(Options::fixedRange(3, 2));
    view_.insert("n", "letters", 0);
    EXPECT_THAT(changes(), ElementsAre("delete e 0.2 -", "insert b - 0.0"));
    view_.remove("n");
    view_.remove("a");
    EXPECT_THAT(changes(), ElementsAre("delete c 0.1 -", "delete b 0.0 -", "insert e - 0.1",
                                       "insert f - 0.2"));
}

TEST_F(GivenAListOfAView, WhenARangeCountsFromTheEndThenRowsCrossItsBeginning) {
    show(Options::fixedRange(3, 1, Options::Pin::end));  // c d e
    view_.insert("n", "letters", 9);
    EXPECT_THAT(changes(), ElementsAre("delete c 0.0 -", "insert f - 0.2"));
    view_.insert("m", "letters", 0);
    EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(GivenAListOfAView, WhenAChangedRowCrossesTheEdgeOfARangeThenItIsDeletedOrInserted) {
    show(Options::fixedRange(3, 0));
    view_.move("b", "letters", 4);
    EXPECT_THAT(changes(), ElementsAre("delete b 0.1 -", "insert d - 0.2"));
    view_.move("f", "letters", 0);
    EXPECT_THAT(changes(), ElementsAre("delete d 0.2 -", "insert f - 0.0"));
}

TEST_F(GivenAListOfAView, WhenOnlyHiddenRowsChangeThenNothingIsReported) {
    show(Options::fixedRange(3, 0));
    view_.touch("e");
    view_.move("f", "letters", 3);
    EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(GivenAListOfAView, WhenAShrunkRangeHasRoomAgainThenItGrowsBack) {
    show(Options::fixedRange(4, 4));  // e f
    view_.insert("n", "letters", 9);
    view_.insert("m", "letters", 0);
    EXPECT_THAT(changes(), ElementsAre("insert d - 0.0", "insert n - 0.3"));
}

TEST_F(GivenAListOfAView, WhenARangeIsSetAndUpdatedThenNoRowsAreReported) {
    show(Options::fixedRange(3, 0));
    EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(GivenAListOfAView, WhenOrderChangesOnlyAgainstRowsThatAreNotShownThenNothingMoves) {
    show(Options::fixedRange(2, 2));
    view_.insert("n", "letters", 0);
    view_.move("c", "letters", 2);  // past "b", which comes into sight only now
    EXPECT_THAT(changes(), ElementsAre("delete d 0.1 -", "insert b - 0.1", "update c 0.0 -"));
}

// Sections.

TEST_F(GivenAListOfAView, WhenADynamicSectionEmptiesThenItIsDeletedWithoutItsRows) {
    mappings_->setIsDynamicSectionForAllGroups(true);
    view_.remove("1");
    view_.remove("2");
    view_.remove("!");
    view_.touch("a");
    EXPECT_THAT(changes(), ElementsAre("update a 0.0 -"));
    EXPECT_THAT(sections(), ElementsAre("delete signs 2", "delete digits 1"));
}

TEST_F(GivenAListOfAView, WhenADynamicSectionFillsThenItIsInsertedWithoutItsRows) {
    mappings_->setIsDynamicSectionForAllGroups(true);
    for (const char* key : {"1", "2", "!"}) view_.remove(key);
    changes();
    view_.insert("?", "signs", 0);
    view_.insert("7", "digits", 0);
    view_.insert("g", "letters", 9);
    EXPECT_THAT(changes(), ElementsAre("insert g - 0.6"));
    EXPECT_THAT(sections(), ElementsAre("insert digits 1", "insert signs 2"));
}

TEST_F(GivenAListOfAView, WhenSectionsComeAndGoThenIndexesAreThoseAfterAndBefore) {
    mappings_->setIsDynamicSectionForAllGroups(true);
    for (const char* key : {"1", "2"}) view_.remove(key);
    changes();  // letters, signs
    for (const char* key : {"a", "b", "c", "d", "e", "f"}) view_.remove(key);
    view_.insert("3", "digits", 0);
    view_.touch("!");
    EXPECT_THAT(changes(), ElementsAre("update ! 1.0 -"));
    EXPECT_THAT(sections(), ElementsAre("delete letters 0", "insert digits 0"));
}

TEST_F(GivenAListOfAView, WhenARowMovesOutOfADeletedSectionThenItIsInserted) {
    mappings_->setIsDynamicSectionForAllGroups(true);
    view_.move("!", "letters", 0);
    EXPECT_THAT(changes(), ElementsAre("insert ! - 0.0"));
    EXPECT_THAT(sections(), ElementsAre("delete signs 2"));
}

TEST_F(GivenAListOfAView, WhenARowMovesIntoAnInsertedSectionThenItIsDeleted) {
    mappings_->setIsDynamicSectionForAllGroups(true);
    view_.remove("!");
    changes();
    view_.move("a", "signs", 0);
    EXPECT_THAT(changes(), ElementsAre("delete a 0.0 -"));
    EXPECT_THAT(sections(), ElementsAre("insert signs 2"));
}

TEST_F(GivenAListOfAView, WhenStaticSectionsEmptyThenTheyStay) {
    view_.remove("!");
    EXPECT_THAT(changes(), ElementsAre("delete ! 2.0 -"));
    EXPECT_THAT(sections(), IsEmpty());
}

// Several commits.

TEST_F(GivenAListOfAView, WhenARowIsInsertedAndThenChangedThenItIsOneInsertion) {
    view_.insert("n", "letters", 0, YapDatabaseViewChangedObject);
    commit();
    view_.move("n", "letters", 3, YapDatabaseViewChangedMetadata);
    commit();
    EXPECT_THAT(changes(), ElementsAre("insert n - 0.3"));
    EXPECT_EQ(rows_[0].flags, 3u);
}

TEST_F(GivenAListOfAView, WhenARowIsInsertedAndThenDeletedThenNothingIsReported) {
    view_.insert("n", "letters", 0);
    commit();
    view_.remove("n");
    commit();
    EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(GivenAListOfAView, WhenARowIsChangedAndThenDeletedThenItIsOneDeletion) {
    view_.move("b", "digits", 0);
    commit();
    view_.remove("b");
    commit();
    EXPECT_THAT(changes(), ElementsAre("delete b 0.1 -"));
}

TEST_F(GivenAListOfAView, WhenARowIsDeletedAndInsertedAgainThenItIsAnUpdateOrAMove) {
    view_.remove("b");
    view_.remove("d");
    commit();
    view_.insert("b", "letters", 1, YapDatabaseViewChangedObject);
    view_.insert("d", "letters", 0, YapDatabaseViewChangedMetadata);
    commit();
    EXPECT_THAT(changes(), ElementsAre("move d 0.3 0.0", "update b 0.1 -"));
    EXPECT_EQ(rows_[0].flags, 3u) << "it may have been written while it was away";
    EXPECT_EQ(rows_[1].flags, 3u);
}

TEST_F(GivenAListOfAView, WhenARowComesBackWithoutFlagsThenItIsUpdatedAllTheSame) {
    view_.remove("b");
    commit();
    view_.insert("b", "letters", 1, 0);
    commit();
    EXPECT_THAT(changes(), ElementsAre("update b 0.1 -"));
    EXPECT_EQ(rows_[0].flags, 3u);
}

TEST_F(GivenAListOfAView, WhenARowComesBackForAnotherReasonThenItMayHaveBeenWrittenMeanwhile) {
    view_.remove("b");
    commit();
    view_.insert("b", "letters", 1, YapDatabaseViewChangedDependency);
    commit();
    EXPECT_THAT(changes(), ElementsAre("update b 0.1 -"));
    EXPECT_EQ(rows_[0].flags, 7u);
}

TEST_F(GivenAListOfAView, WhenARowIsDeletedAndInsertedInOneCommitThenItIsAnUpdateOrAMove) {
    view_.remove("b");
    view_.insert("b", "letters", 1);
    view_.remove("d");
    view_.insert("d", "letters", 0);
    EXPECT_THAT(changes(), ElementsAre("move d 0.3 0.0", "update b 0.1 -"));
}

TEST_F(GivenAListOfAView, WhenARowChangesInSeveralCommitsThenItsFlagsAreJoined) {
    for (const unsigned flag : {1u, 4u, 2u}) {
        view_.touch("c", flag);
        commit();
    }
    EXPECT_THAT(changes(), ElementsAre("update c 0.2 -"));
    EXPECT_EQ(rows_[0].flags, 7u);
}

TEST_F(GivenAListOfAView, WhenARowMovesThereAndBackThenItIsAnUpdate) {
    view_.move("b", "digits", 0);
    commit();
    view_.move("b", "letters", 1);
    commit();
    EXPECT_THAT(changes(), ElementsAre("update b 0.1 -"));
}

TEST_F(GivenAListOfAView, WhenCommitsShiftEachOthersRowsThenPathsAreOfTheFirstAndLastSnapshot) {
    view_.touch("c");
    commit();
    view_.remove("a");
    view_.insert("n", "letters", 1);
    commit();
    view_.touch("f");
    view_.insert("m", "letters", 0);
    commit();
    view_.remove("b");
    commit();
    EXPECT_THAT(changes(), ElementsAre("delete b 0.1 -", "delete a 0.0 -", "insert m - 0.0",
                                       "insert n - 0.1", "update c 0.2 -", "update f 0.5 -"));
}

// A registration, and when nobody knows what changed.

TEST_F(GivenAListOfAView, WhenTheViewWasNotThereBeforeThenEveryMappedRowIsInserted) {
    mappings_->update(nullptr, 1);
    EditableView filled;
    for (const char* key : {"c", "b", "a"}) filled.insert(key, "letters", 0);
    filled.insert("x", "hidden", 0);
    view_ = filled;
    EXPECT_THAT(changes(), ElementsAre("insert a - 0.0", "insert b - 0.1", "insert c - 0.2"));
}

TEST_F(GivenAListOfAView, WhenReplacedThenAllRowsAreDeletedAndInserted) {
    mappings_->setIsDynamicSection(true, "signs");
    show(Options::fixedRange(2, 1));
    const auto before = mappings_->copy();
    view_.remove("!");
    view_.insert("n", "letters", 0);
    mappings_->update(&view_, 9);
    detail::mappedReplacement(*before, *mappings_, view_, &sections_, &rows_);
    EXPECT_THAT(sections(), ElementsAre("delete signs 2"));
    EXPECT_THAT(texts(), ElementsAre("delete  1.1 -", "delete  1.0 -", "delete  0.1 -",
                                     "delete  0.0 -", "insert a - 0.0", "insert b - 0.1",
                                     "insert 1 - 1.0", "insert 2 - 1.1"));
    EXPECT_FALSE(rows_[0].row.key) << "unknown";
}

TEST_F(GivenAListOfAView, WhenListsAreNotEmptyThenTheyAreReplaced) {
    view_.touch("a");
    changes();
    EXPECT_THAT(changes(), IsEmpty());
}

TEST(LongestIncreasingRun, AnswersPlacesInOrder) {
    using detail::longestIncreasingRun;
    EXPECT_THAT(longestIncreasingRun({}), IsEmpty());
    EXPECT_THAT(longestIncreasingRun({7}), ElementsAre(0u));
    EXPECT_THAT(longestIncreasingRun({1, 2, 3}), ElementsAre(0u, 1u, 2u));
    EXPECT_THAT(longestIncreasingRun({5, 0, 1, 9, 2, 3}), ElementsAre(1u, 2u, 4u, 5u));
    EXPECT_EQ(longestIncreasingRun({3, 2, 1}).size(), 1u);
}

}  // namespace
}  // namespace qsml
