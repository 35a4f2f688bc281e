#include <gtest/gtest.h>

#include <thread>

#include "filters/detail/testing/WordFilter.h"
#include "tracks/PLXMediaItem.h"

namespace qsml {
namespace {

std::shared_ptr<PLXMediaItem> track(const char* title) {
    auto made = PLXMediaItem::init();
    made->setTitle(title);
    return made;
}

TEST(GivenARuleWithAValue, WhenAskedTwiceForAKeyPathThenItIsTheSamePredicate) {
    const auto rule = WordFilter::initWithWord("Song");
    const auto predicate = rule->predicateForKeyPath("title");
    ASSERT_TRUE(predicate);
    EXPECT_EQ(rule->predicateForKeyPath("title"), predicate);
    EXPECT_NE(rule->predicateForKeyPath("artist"), predicate) << "one a key path";
    EXPECT_EQ(rule->predicateForKeyPath("title"), predicate);
    EXPECT_EQ(rule->timesBuilt(), 2);
    EXPECT_TRUE(predicate->evaluate(*track("Song")));
    EXPECT_FALSE(predicate->evaluate(*track("song")));
}

TEST(GivenARuleWithAValue, WhenAnyPropertyIsSetThenEveryPredicateIsBuiltAnew) {
    const auto rule = WordFilter::initWithWord("Song");
    const std::vector<std::function<void()>> changes = {
        [&] { rule->setName("x"); },
        [&] { rule->setKeyPath("artist"); },
        [&] { rule->setKeyPathIsCollection(true); },
        [&] { rule->setEnabled(false); },
        [&] { rule->setEnabled(false); },  // to what it was
        [&] { rule->setEditing(true); },
        [&] { rule->setWord("Other"); },
        [&] { rule->setOperatorType(1); }};
    for (std::size_t i = 0; i < changes.size(); ++i) {
        const auto title = rule->predicateForKeyPath("title");
        const auto artist = rule->predicateForKeyPath("artist");
        changes[i]();
        EXPECT_NE(rule->predicateForKeyPath("title"), title) << i;
        EXPECT_NE(rule->predicateForKeyPath("artist"), artist) << i;
    }
    EXPECT_TRUE(rule->predicateForKeyPath("title")->evaluate(*track("Other")));
    EXPECT_FALSE(rule->isEnabled()) << "predicates do not depend on it";
}

TEST(GivenARuleWithoutAValue, WhenAskedForAPredicateThenThereIsNoneAndNothingIsKept) {
    const auto rule = WordFilter::initWithWord(nullptr);
    EXPECT_EQ(rule->predicateForKeyPath("title"), nullptr);
    EXPECT_EQ(rule->timesBuilt(), 0);
    rule->setWord("Song");
    EXPECT_NE(rule->predicateForKeyPath("title"), nullptr);
}

TEST(GivenARuleOnATitle, WhenAskedWithAPrefixThenItIsAskedForTheKeyPathBehindIt) {
    const auto rule = WordFilter::initWithWord("Song");
    EXPECT_EQ(rule->predicateForKeyPathPrefix(nullptr), rule->predicateForKeyPath("title"));
    EXPECT_EQ(rule->predicateForKeyPathPrefix("mediaItem"),
              rule->predicateForKeyPath("mediaItem.title"));
    EXPECT_NE(rule->predicateForKeyPathPrefix("mediaItem"), rule->predicateForKeyPath("title"));
    EXPECT_EQ(rule->predicateForKeyPathPrefix("titleID"),
              rule->predicateForKeyPath("titleID.title"));
    const auto holder = PLXMediaItem::init();
    holder->setTitleID(PLXMediaItemTitleID::initWithTitle("Song", "Band", 200, nullptr));
    EXPECT_TRUE(rule->predicateForKeyPathPrefix("titleID")->evaluate(*holder));
    EXPECT_FALSE(rule->predicateForKeyPathPrefix(nullptr)->evaluate(*holder));
}

TEST(GivenARuleWithoutAKeyPath, WhenAskedWithAPrefixThenThereIsNoPredicate) {
    const auto rule = WordFilter::initWithWord("Song");
    rule->setKeyPath(nullptr);
    EXPECT_EQ(rule->predicateForKeyPathPrefix(nullptr), nullptr);
    EXPECT_EQ(rule->predicateForKeyPathPrefix("mediaItem"), nullptr);
}

// What a stored record holds is read by every thread.
TEST(GivenARuleThatNobodyChanges, WhenManyThreadsAskThenAllGetOnePredicate) {
    const std::shared_ptr<const PLXMediaItemFilter> rule = WordFilter::initWithWord("Song");
    std::vector<std::shared_ptr<const Predicate>> got(4);
    std::vector<std::thread> threads;
    for (auto& mine : got)
        threads.emplace_back([&] { mine = rule->predicateForKeyPathPrefix(nullptr); });
    for (auto& thread : threads) thread.join();
    for (const auto& mine : got) EXPECT_EQ(mine, got[0]);
    EXPECT_NE(got[0], nullptr);
}

TEST(GivenAnObservedRule, WhenEditingChangesThenObserversOfTheDisplayedValueAreToldToo) {
    EXPECT_EQ(PLXMediaItemFilter::keyPathsForValuesAffectingDisplayValue(), (KeySet{"editing"}));
    const auto rule = WordFilter::initWithWord("Song");
    std::vector<std::string> told;
    const auto tell = [&](std::string_view key) {
        told.push_back(std::string(key) + "=" + rule->displayValue().str());
    };
    auto display = rule->addObserver("displayValue", tell);
    const auto name = rule->addObserver("name", tell);
    rule->setEditing(true);
    rule->setWord("Other");
    rule->setName("x");
    rule->setEditing(false);
    EXPECT_EQ(told,
              (std::vector<std::string>{"displayValue=...", "name=...", "displayValue=Other"}));
    display.cancel();
    rule->setEditing(true);
    EXPECT_EQ(told.size(), 3U);
}

TEST(GivenAnObservedRule, WhenAnyPropertyIsSetThenObserversOfEveryKeyAreToldAfterIt) {
    const auto rule = WordFilter::initWithWord("Song");
    std::vector<std::string> told;
    const auto token = rule->addObserver("", [&](std::string_view key) { told.emplace_back(key); });
    rule->setName("x");
    rule->setKeyPath("y");
    rule->setKeyPathIsCollection(true);
    rule->setEnabled(true);
    rule->setEditing(true);
    rule->setOperatorType(2);
    EXPECT_EQ(told, (std::vector<std::string>{"name", "keyPath", "keyPathIsCollection", "enabled",
                                              "editing", "displayValue", "operatorType"}));
}

TEST(GivenAnObservedRule, WhenTheObserverAsksForAPredicateThenItIsOfTheNewValues) {
    const auto rule = WordFilter::initWithWord("Song");
    std::shared_ptr<const Predicate> seen = rule->predicateForKeyPath("title");
    const auto token = rule->addObserver(
        "word", [&](std::string_view) { seen = rule->predicateForKeyPath("title"); });
    rule->setWord("Other");
    EXPECT_TRUE(seen->evaluate(*track("Other")));
}

TEST(GivenAnObservedRule, WhenTheObserverLetsGoOfItThenTheSettingEndsWell) {
    auto rule = WordFilter::initWithWord("Song");
    int told = 0;
    auto* setting = rule.get();
    const auto first = rule->addObserver("editing", [&](std::string_view) { rule.reset(); });
    const auto second = rule->addObserver("displayValue", [&](std::string_view) { ++told; });
    setting->setEditing(true);
    EXPECT_EQ(rule, nullptr);
    EXPECT_EQ(told, 1);
}

}  // namespace
}  // namespace qsml
