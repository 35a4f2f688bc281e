#include "store/views/YapDatabaseViewMappings.h"

#include <gtest/gtest.h>

#include "store/views/testing/EditableView.h"
#include "testing/OpenStore.h"

namespace qsml {
namespace {

using Options = YapDatabaseViewRangeOptions;
using Place = YapDatabaseViewPlace;

class GivenMappingsOfThreeGroups : public ::testing::Test {
protected:
    void update() { mappings_->update(&view_, ++snapshot_); }
    void show(const Options& options) {
        mappings_->setRangeOptions(options, "letters");
        update();
    }
    /// The rows that a section shows, by asking for each path.
    std::string shown(std::uint64_t section) {
        std::string keys;
        for (std::uint64_t row = 0; row < mappings_->numberOfItemsInSection(section); ++row) {
            const auto place = mappings_->placeForIndexPath({section, row});
            keys += place ? view_.keyAtIndex(place->index, place->group)->key.str() : "(none)";
        }
        return keys;
    }

    EditableView view_{
        {{"letters", {"a", "b", "c", "d", "e"}}, {"digits", {"1", "2"}}, {"signs", {"!"}}}};
    std::shared_ptr<YapDatabaseViewMappings> mappings_ =
        YapDatabaseViewMappings::initWithGroups({"digits", "letters", "none"}, "view");
    std::uint64_t snapshot_ = 6;
};

TEST_F(GivenMappingsOfThreeGroups, WhenNotYetUpdatedThenSectionsAreThereWithoutRows) {
    EXPECT_EQ(mappings_->view(), "view");
    EXPECT_EQ(mappings_->allGroups(), (std::vector<String>{"digits", "letters", "none"}));
    EXPECT_EQ(mappings_->snapshotOfLastUpdate(), UINT64_MAX);
    EXPECT_EQ(mappings_->numberOfSections(), 3u);
    EXPECT_EQ(mappings_->numberOfItemsInSection(1), 0u);
    EXPECT_TRUE(mappings_->isEmpty());
    EXPECT_EQ(mappings_->placeForIndexPath({0, 0}), std::nullopt);
}

TEST_F(GivenMappingsOfThreeGroups, WhenUpdatedThenSnapshotAndCountsAreNoted) {
    update();
    EXPECT_EQ(mappings_->snapshotOfLastUpdate(), 7u);
    EXPECT_EQ(mappings_->numberOfItemsInSection(0), 2u);
    EXPECT_EQ(mappings_->numberOfItemsInSection(1), 5u);
    EXPECT_EQ(mappings_->numberOfItemsInSection(2), 0u);
    EXPECT_EQ(mappings_->numberOfItemsInSection(3), 0u);
    EXPECT_EQ(mappings_->numberOfItemsInGroup("letters"), 5u);
    EXPECT_EQ(mappings_->numberOfItemsInGroup("signs"), 0u) << "not mapped";
    EXPECT_EQ(mappings_->numberOfItemsInAllGroups(), 7u);
    EXPECT_FALSE(mappings_->isEmpty());
}

TEST_F(GivenMappingsOfThreeGroups, WhenTheViewChangesThenCountsStayUntilTheNextUpdate) {
    update();
    view_.insert("3", "digits", 2);
    EXPECT_EQ(mappings_->numberOfItemsInSection(0), 2u);
    update();
    EXPECT_EQ(mappings_->numberOfItemsInSection(0), 3u);
    EXPECT_EQ(mappings_->snapshotOfLastUpdate(), 8u);
}

TEST_F(GivenMappingsOfThreeGroups, WhenTheViewDoesNotExistThenCountsAreZeroAndTheSnapshotIsNoted) {
    update();
    mappings_->update(nullptr, 9);
    EXPECT_EQ(mappings_->numberOfItemsInAllGroups(), 0u);
    EXPECT_EQ(mappings_->numberOfSections(), 3u);
    EXPECT_EQ(mappings_->snapshotOfLastUpdate(), 9u);
}

TEST_F(GivenMappingsOfThreeGroups, WhenAskedForSectionsThenGroupsAnswerInTheirOrder) {
    update();
    EXPECT_EQ(mappings_->groupForSection(0), String("digits"));
    EXPECT_EQ(mappings_->groupForSection(2), String("none"));
    EXPECT_EQ(mappings_->groupForSection(3), std::nullopt);
    EXPECT_EQ(mappings_->sectionForGroup("letters"), 1u);
    EXPECT_EQ(mappings_->sectionForGroup("signs"), std::nullopt);
}

TEST_F(GivenMappingsOfThreeGroups, WhenPathsAreTranslatedThenBothWaysAgree) {
    update();
    EXPECT_EQ(mappings_->placeForIndexPath({1, 4}), (Place{"letters", 4}));
    EXPECT_EQ(mappings_->placeForIndexPath({1, 5}), std::nullopt);
    EXPECT_EQ(mappings_->placeForIndexPath({3, 0}), std::nullopt);
    EXPECT_EQ(mappings_->indexPathForPlace({"letters", 4}), (IndexPath{1, 4}));
    EXPECT_EQ(mappings_->indexPathForPlace({"letters", 5}), std::nullopt);
    EXPECT_EQ(mappings_->indexPathForPlace({"signs", 0}), std::nullopt) << "not mapped";
}

TEST_F(GivenMappingsOfThreeGroups, WhenAGroupIsNamedTwiceOrNilThenItIsOneSectionOrNone) {
    const auto mappings = YapDatabaseViewMappings::initWithGroups({"a", {}, "b", "a"}, "view");
    EXPECT_EQ(mappings->allGroups(), (std::vector<String>{"a", "b"}));
    EXPECT_EQ(mappings->visibleGroups(), (std::vector<String>{"a", "b"}));
}

TEST_F(GivenMappingsOfThreeGroups, WhenAllAreDynamicThenEmptyOnesVanishWithTheNextUpdate) {
    mappings_->setIsDynamicSectionForAllGroups(true);
    EXPECT_TRUE(mappings_->isDynamicSectionForGroup("none"));
    EXPECT_EQ(mappings_->numberOfSections(), 3u);
    view_.remove("1");
    view_.remove("2");
    update();
    EXPECT_EQ(mappings_->visibleGroups(), (std::vector<String>{"letters"}));
    EXPECT_EQ(mappings_->allGroups().size(), 3u);
    EXPECT_EQ(mappings_->sectionForGroup("digits"), std::nullopt);
    EXPECT_EQ(mappings_->sectionForGroup("letters"), 0u);
    EXPECT_EQ(mappings_->indexPathForPlace({"letters", 2}), (IndexPath{0, 2}));
    EXPECT_EQ(mappings_->indexPathForPlace({"digits", 0}), std::nullopt);
    view_.insert("9", "none", 0);
    update();
    EXPECT_EQ(mappings_->visibleGroups(), (std::vector<String>{"letters", "none"}));
}

TEST_F(GivenMappingsOfThreeGroups, WhenDynamicIsSetTwiceThenTheLastCallWins) {
    mappings_->setIsDynamicSectionForAllGroups(true);
    mappings_->setIsDynamicSection(false, "none");
    EXPECT_FALSE(mappings_->isDynamicSectionForGroup("none"));
    EXPECT_TRUE(mappings_->isDynamicSectionForGroup("digits"));
    mappings_->setIsDynamicSection(true, "letters");
    mappings_->setIsDynamicSectionForAllGroups(false);
    EXPECT_FALSE(mappings_->isDynamicSectionForGroup("letters"));
    mappings_->setIsDynamicSection(true, "signs");
    EXPECT_FALSE(mappings_->isDynamicSectionForGroup("signs")) << "not mapped";
}

TEST_F(GivenMappingsOfThreeGroups, WhenADynamicSectionShowsNoRowOfItsGroupThenItVanishes) {
    mappings_->setIsDynamicSection(true, "letters");
    show(Options::fixedRange(2, 5));
    EXPECT_EQ(mappings_->visibleGroups(), (std::vector<String>{"digits", "none"}));
}

TEST_F(GivenMappingsOfThreeGroups, WhenARangeIsSetThenItTakesEffectWithTheNextUpdate) {
    update();
    mappings_->setRangeOptions(Options::fixedRange(2, 1), "letters");
    EXPECT_EQ(shown(1), "abcde");
    update();
    EXPECT_EQ(shown(1), "bc");
    EXPECT_EQ(mappings_->numberOfItemsInGroup("letters"), 2u);
    EXPECT_EQ(mappings_->numberOfItemsInAllGroups(), 4u);
    mappings_->removeRangeOptionsForGroup("letters");
    EXPECT_EQ(mappings_->rangeOptionsForGroup("letters"), std::nullopt);
    EXPECT_EQ(shown(1), "bc");
    update();
    EXPECT_EQ(shown(1), "abcde");
}

TEST_F(GivenMappingsOfThreeGroups, WhenARangeCountsFromTheBeginningThenIndexesAreShifted) {
    show(Options::fixedRange(3, 1));
    EXPECT_EQ(mappings_->placeForIndexPath({1, 0}), (Place{"letters", 1}));
    EXPECT_EQ(mappings_->placeForIndexPath({1, 3}), std::nullopt);
    EXPECT_EQ(mappings_->indexPathForPlace({"letters", 0}), std::nullopt);
    EXPECT_EQ(mappings_->indexPathForPlace({"letters", 3}), (IndexPath{1, 2}));
    EXPECT_EQ(mappings_->indexPathForPlace({"letters", 4}), std::nullopt);
}

TEST_F(GivenMappingsOfThreeGroups, WhenARangeCountsFromTheEndThenIndexesAreShifted) {
    show(Options::fixedRange(3, 1, Options::Pin::end));
    EXPECT_EQ(shown(1), "bcd");
    EXPECT_EQ(mappings_->indexPathForPlace({"letters", 1}), (IndexPath{1, 0}));
    EXPECT_EQ(mappings_->indexPathForPlace({"letters", 4}), std::nullopt);
    view_.insert("f", "letters", 5);
    update();
    EXPECT_EQ(shown(1), "cde");
}

TEST_F(GivenMappingsOfThreeGroups, WhenARangeIsLongerThanWhatExistsThenItShrinksAndGrowsBack) {
    show(Options::fixedRange(4, 3));
    EXPECT_EQ(mappings_->rangeOptionsForGroup("letters"), Options::fixedRange(2, 3));
    EXPECT_EQ(shown(1), "de");
    for (const char* key : {"f", "g", "h"}) view_.insert(key, "letters", 9);
    update();
    EXPECT_EQ(mappings_->rangeOptionsForGroup("letters"), Options::fixedRange(4, 3));
    EXPECT_EQ(shown(1), "defg");

    show(Options::fixedRange(5, 6, Options::Pin::end));
    EXPECT_EQ(mappings_->rangeOptionsForGroup("letters"),
              Options::fixedRange(2, 6, Options::Pin::end));
    EXPECT_EQ(shown(1), "ab");
}

TEST_F(GivenMappingsOfThreeGroups, WhenARangeLiesBeyondTheGroupThenItIsEmpty) {
    show(Options::fixedRange(UINT64_MAX, UINT64_MAX));
    EXPECT_EQ(mappings_->rangeOptionsForGroup("letters"), Options::fixedRange(0, UINT64_MAX));
    EXPECT_EQ(mappings_->numberOfItemsInSection(1), 0u);
    show(Options::fixedRange(UINT64_MAX, 7, Options::Pin::end));
    EXPECT_EQ(mappings_->numberOfItemsInSection(1), 0u);
    EXPECT_EQ(mappings_->indexPathForPlace({"letters", 0}), std::nullopt);
}

TEST_F(GivenMappingsOfThreeGroups, WhenOptionsAreAskedForThenOnlyThoseThatWereSetAnswer) {
    EXPECT_EQ(mappings_->rangeOptionsForGroup("letters"), std::nullopt);
    auto options = Options::fixedRange(9, 1);
    mappings_->setRangeOptions(options, "letters");
    options.length = 1;  // copied in: this is too late
    EXPECT_EQ(mappings_->rangeOptionsForGroup("letters"), Options::fixedRange(9, 1))
        << "nothing is known of the group yet";
    mappings_->setRangeOptions(options, "signs");
    EXPECT_EQ(mappings_->rangeOptionsForGroup("signs"), std::nullopt) << "not mapped";
}

TEST_F(GivenMappingsOfThreeGroups, WhenCopiedThenTheCopyIsIndependent) {
    show(Options::fixedRange(2, 0));
    const auto copy = mappings_->copy();
    view_.remove("1");
    mappings_->removeRangeOptionsForGroup("letters");
    update();
    EXPECT_EQ(copy->snapshotOfLastUpdate(), 7u);
    EXPECT_EQ(copy->numberOfItemsInSection(0), 2u);
    EXPECT_EQ(copy->numberOfItemsInSection(1), 2u);
    EXPECT_EQ(mappings_->numberOfItemsInSection(0), 1u);
    EXPECT_EQ(mappings_->numberOfItemsInSection(1), 5u);
}

class GivenAStoreWithoutThatView : public OpenStore {};

TEST_F(GivenAStoreWithoutThatView, WhenUpdatedThenCountsAreZeroAndTheSnapshotIsNoted) {
    ASSERT_TRUE(store_.set("key", "text"));
    const auto mappings = YapDatabaseViewMappings::initWithGroups({"a"}, "view");
    store_.connection().read([&](auto& transaction) {
        mappings->updateWithTransaction(transaction);
        EXPECT_EQ(mappings->snapshotOfLastUpdate(), transaction.snapshot());
    });
    EXPECT_EQ(mappings->numberOfItemsInSection(0), 0u);
}

}  // namespace
}  // namespace qsml
