#include "filters/predicateForFilterSet.h"

#include <gtest/gtest.h>

#include "filters/PLXMediaItemFilterSet.h"
#include "filters/detail/testing/WordFilter.h"
#include "tracks/PLXMediaItem.h"

namespace qsml {
namespace {

using Rules = std::vector<std::shared_ptr<PLXMediaItemFilter>>;

std::shared_ptr<WordFilter> rule(const char* keyPath, String word) {
    auto made = WordFilter::initWithWord(std::move(word));
    made->setKeyPath(keyPath);
    return made;
}

std::shared_ptr<PLXMediaItem> track(const char* title, const char* comment) {
    auto made = PLXMediaItem::init();
    made->setTitle(title);
    made->setComments(comment);
    made->setTitleID(PLXMediaItemTitleID::initWithTitle(title, "Band", 200, {}));
    return made;
}

std::shared_ptr<const Predicate> predicateOf(const Rules& rules, RulesToMeet toMeet,
                                             DisabledRules disabled = DisabledRules::areSkipped) {
    const auto set = PLXMediaItemFilterSet::init();
    set->setFilters(rules);
    return predicateForFilterSet(*set, toMeet, disabled);
}

TEST(GivenASetOfTwoRules, WhenAllAreToBeMetThenOneIsNotEnoughAndWhenAnyThenItIs) {
    const Rules rules{rule("title", "Song"), rule("comments", "live")};
    const auto all = predicateOf(rules, RulesToMeet::all);
    const auto any = predicateOf(rules, RulesToMeet::any);
    EXPECT_TRUE(all->evaluate(*track("Song", "live")));
    EXPECT_FALSE(all->evaluate(*track("Song", "studio")));
    EXPECT_FALSE(all->evaluate(*track("Other", "live")));
    EXPECT_TRUE(any->evaluate(*track("Song", "studio")));
    EXPECT_TRUE(any->evaluate(*track("Other", "live")));
    EXPECT_FALSE(any->evaluate(*track("Other", "studio")));
}

TEST(GivenASetWithADisabledRule, WhenItIsSkippedThenItDoesNotCountAndElseItDoes) {
    const Rules rules{rule("title", "Song"), rule("comments", "live")};
    rules[1]->setEnabled(false);
    const auto song = track("Song", "studio");
    EXPECT_TRUE(predicateOf(rules, RulesToMeet::all, DisabledRules::areSkipped)->evaluate(*song));
    EXPECT_FALSE(predicateOf(rules, RulesToMeet::all, DisabledRules::count)->evaluate(*song));
    const auto other = track("Other", "live");
    EXPECT_FALSE(predicateOf(rules, RulesToMeet::any, DisabledRules::areSkipped)->evaluate(*other));
    EXPECT_TRUE(predicateOf(rules, RulesToMeet::any, DisabledRules::count)->evaluate(*other));
}

TEST(GivenASetWithARuleThatFormsNoPredicate, WhenAskedThenTheOthersAloneDecide) {
    const auto all = predicateOf({rule("title", nullptr), rule("title", "Song")}, RulesToMeet::all);
    ASSERT_TRUE(all);
    EXPECT_TRUE(all->evaluate(*track("Song", "live")));
    EXPECT_FALSE(all->evaluate(*track("Other", "live")));
}

TEST(GivenASetWithNothingToMeet, WhenAskedThenThereIsNoPredicate) {
    const auto disabled = rule("title", "Song");
    disabled->setEnabled(false);
    for (const RulesToMeet toMeet : {RulesToMeet::all, RulesToMeet::any}) {
        EXPECT_EQ(predicateOf({}, toMeet), nullptr);
        EXPECT_EQ(predicateOf({rule("title", nullptr)}, toMeet), nullptr);
        EXPECT_EQ(predicateOf({disabled}, toMeet), nullptr);
        EXPECT_EQ(
            predicateForFilterSet(*PLXMediaItemFilterSet::init(), toMeet, DisabledRules::count),
            nullptr)
            << "nil rules";
    }
}

TEST(GivenASetOfRulesOnATitle, WhenAskedWithAPrefixThenEachIsAskedForTheKeyPathBehindIt) {
    const auto set = PLXMediaItemFilterSet::init();
    set->setFilters(Rules{rule("title", "Inner")});
    const auto holder = track("Inner", "live");
    holder->setTitle("Outer");
    const auto prefixed =
        predicateForFilterSet(*set, RulesToMeet::all, DisabledRules::areSkipped, "titleID");
    EXPECT_TRUE(prefixed->evaluate(*holder));
    EXPECT_FALSE(predicateForFilterSet(*set, RulesToMeet::all, DisabledRules::areSkipped)
                     ->evaluate(*holder));
    set->setFilters(Rules());
    EXPECT_TRUE(prefixed->evaluate(*holder)) << "made of the rules as they were";
}

}  // namespace
}  // namespace qsml
