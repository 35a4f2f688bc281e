#include "filters/PLXMediaItemFilter.h"

#include <gtest/gtest.h>

#include "filters/detail/testing/WordFilter.h"
#include "testing/foreignArchive.h"
#include "testing/recordArchives.h"
#include "tracks/PLXMediaItem.h"

namespace qsml {

QSML_DEFINE_FILTER(WordFilter)
QSML_DEFINE_FILTER(LoudWordFilter)

namespace {

using Rule = PLXMediaItemFilter;

std::shared_ptr<WordFilter> filled() {
    auto rule = WordFilter::initWithWord("Song");
    rule->setKeyPathIsCollection(true);
    rule->setEnabled(false);
    rule->setOperatorType(3);
    return rule;
}

TEST(GivenANewRule, WhenAskedThenItIsEnabledAndEverythingElseIsEmpty) {
    const auto rule = Rule::init();
    EXPECT_TRUE(rule->isEnabled());
    EXPECT_EQ(rule->name(), nullptr);
    EXPECT_EQ(rule->keyPath(), nullptr);
    EXPECT_FALSE(rule->keyPathIsCollection());
    EXPECT_FALSE(rule->isEditing());
    EXPECT_EQ(rule->displayValue(), nullptr);
    EXPECT_EQ(rule->predicateForKeyPath("title"), nullptr);
    EXPECT_TRUE(Rule::supportsSecureCoding());
    EXPECT_TRUE(WordFilter::init()->isEnabled());
}

TEST(GivenArchivesOfARule, WhenWrittenThenTheKeysAreThoseOfTheFormatInItsOrder) {
    const std::vector<std::string> keys = {"name", "keyPath", "keyPathContainsMultipleValues",
                                           "enabled"};
    EXPECT_EQ(archivedKeys(*Rule::init()), keys);
    auto withOwn = keys;
    withOwn.insert(withOwn.end(), {"word", "operatorType"});
    EXPECT_EQ(archivedKeys(*filled()), withOwn) << "those of the base first";
    const auto text = archiveDescription(archiveOf(*filled()));
    EXPECT_NE(text.find(R"(["WordFilter","PLXMediaItemFilter","NSObject"])"), std::string::npos)
        << text;
    EXPECT_NE(text.find(R"("keyPathContainsMultipleValues":true)"), std::string::npos) << text;
    EXPECT_NE(text.find(R"("enabled":false)"), std::string::npos) << text;
}

TEST(GivenArchivesOfARule, WhenReadBackThenEveryArchivedPropertyIsEqual) {
    const auto rule = filled();
    rule->setEditing(true);
    const auto read = recordFrom<WordFilter>(archiveOf(*rule));
    ASSERT_TRUE(read);
    EXPECT_TRUE(rule->isEqual(*read));
    EXPECT_EQ(read->name(), "Word");
    EXPECT_EQ(read->keyPath(), "title");
    EXPECT_TRUE(read->keyPathIsCollection());
    EXPECT_FALSE(read->isEnabled());
    EXPECT_FALSE(read->isEditing());
    EXPECT_EQ(read->word(), "Song");
    EXPECT_EQ(archiveOf(*read), archiveOf(*rule));
}

TEST(GivenArchivesOfARule, WhenAnotherProgramWroteItThenItIsRead) {
    const auto read = recordFrom<WordFilter>(
        foreignArchive({{"$class", Value::Array{"WordFilter", "PLXMediaItemFilter"}},
                        {"name", "Title"},
                        {"keyPath", "title"},
                        {"keyPathContainsMultipleValues", true},
                        {"enabled", true},
                        {"word", "Song"}}));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->name(), "Title");
    EXPECT_EQ(read->keyPath(), "title");
    EXPECT_TRUE(read->keyPathIsCollection());
    EXPECT_TRUE(read->isEnabled());
    EXPECT_EQ(read->word(), "Song");
}

TEST(GivenArchivesOfARule, WhenEnabledIsMissingThenTheRuleIsDisabled) {
    const auto read = recordFrom<Rule>(foreignArchive({{"$class", "PLXMediaItemFilter"}}));
    ASSERT_TRUE(read);
    EXPECT_FALSE(read->isEnabled());
    EXPECT_EQ(read->name(), nullptr);
}

TEST(GivenArchivesOfARule, WhenThePropertysNameIsTheKeyThenItIsNotRead) {
    const auto read = recordFrom<Rule>(
        foreignArchive({{"$class", "PLXMediaItemFilter"}, {"keyPathIsCollection", true}}));
    EXPECT_FALSE(read->keyPathIsCollection());
}

TEST(GivenArchivesOfARule, WhenNameOrKeyPathIsNoTextThenItIsNil) {
    for (const Value& wrong : {Value(5), Value(Date{5}), Value(Value::Array{"x"}),
                               foreignObject("PLXMediaItemFilter")}) {
        const auto read = recordFrom<Rule>(foreignArchive(
            {{"$class", "PLXMediaItemFilter"}, {"name", wrong}, {"keyPath", wrong}}));
        ASSERT_TRUE(read);
        EXPECT_EQ(read->name(), nullptr) << wrong.description();
        EXPECT_EQ(read->keyPath(), nullptr) << wrong.description();
    }
}

TEST(GivenArchivesOfARule, WhenDamagedThenTheyReadAsARuleOrNil) {
    readDamagedArchives<Rule>(*filled());
}

TEST(GivenAFilledRule, WhenCopiedThroughItsBaseThenTheCopyIsOfItsClassAndItsOwn) {
    const auto rule = filled();
    const std::shared_ptr<Rule> copy = std::static_pointer_cast<Rule>(rule)->copy();
    const auto word = std::dynamic_pointer_cast<WordFilter>(copy);
    ASSERT_TRUE(word);
    EXPECT_TRUE(word->isEqual(*rule));
    word->setWord("Other");
    word->setEnabled(true);
    EXPECT_EQ(rule->word(), "Song");
    EXPECT_FALSE(rule->isEnabled());
}

TEST(GivenARuleThatIsEdited, WhenCopiedThenEditingPredicatesAndObserversStayBehind) {
    const auto rule = WordFilter::initWithWord("Song");
    rule->setEditing(true);
    int told = 0;
    const auto token = rule->addObserver("name", [&](std::string_view) { ++told; });
    const auto mine = rule->predicateForKeyPath("title");
    const auto copy = rule->copy();
    EXPECT_FALSE(copy->isEditing());
    EXPECT_NE(copy->predicateForKeyPath("title"), mine);
    copy->setName("x");
    EXPECT_EQ(told, 0);
    EXPECT_EQ(rule->predicateForKeyPath("title"), mine) << "changing the copy leaves the cache";
}

TEST(GivenTwoRules, WhenAnArchivedPropertyDiffersThenTheyAreNotEqual) {
    const auto differsBy = [](auto change) {
        const auto other = filled();
        change(*other);
        EXPECT_EQ(filled()->isEqual(*other), other->isEqual(*filled()));
        return !filled()->isEqual(*other);
    };
    EXPECT_FALSE(differsBy([](WordFilter&) {}));
    EXPECT_FALSE(differsBy([](WordFilter& rule) { rule.setEditing(true); }));
    EXPECT_FALSE(differsBy([](WordFilter& rule) { (void)rule.predicateForKeyPath("x"); }));
    EXPECT_TRUE(differsBy([](WordFilter& rule) { rule.setName("Other"); }));
    EXPECT_TRUE(differsBy([](WordFilter& rule) { rule.setName(nullptr); }));
    EXPECT_TRUE(differsBy([](WordFilter& rule) { rule.setKeyPath("artist"); }));
    EXPECT_TRUE(differsBy([](WordFilter& rule) { rule.setKeyPathIsCollection(false); }));
    EXPECT_TRUE(differsBy([](WordFilter& rule) { rule.setEnabled(true); }));
    EXPECT_TRUE(differsBy([](WordFilter& rule) { rule.setWord("song"); }));
    EXPECT_TRUE(differsBy([](WordFilter& rule) { rule.setOperatorType(4); }));
}

TEST(GivenTwoRules, WhenBothHaveNoNameThenTheyAreEqual) {
    EXPECT_TRUE(Rule::init()->isEqual(*Rule::init()));
    EXPECT_FALSE(Rule::init()->isEqualToFilter(nullptr));
    EXPECT_EQ(filled()->hash(), filled()->hash());
}

TEST(GivenARuleAndOneOfASubclass, WhenComparedThenEqualOneWayOnly) {
    const auto word = filled();
    const auto loud = LoudWordFilter::init();
    loud->setName(word->name());
    loud->setKeyPath(word->keyPath());
    loud->setKeyPathIsCollection(true);
    loud->setEnabled(false);
    loud->setWord(word->word());
    loud->setOperatorType(3);
    EXPECT_TRUE(word->isEqual(*loud));
    EXPECT_FALSE(loud->isEqual(*word));
    EXPECT_EQ(word->hash(), loud->hash()) << "equal ones have one hash";
    EXPECT_FALSE(word->isEqual(*PLXMediaItem::init()));
}

TEST(GivenTheNoticeOfApplications, WhenItsNameIsReadThenItIsTheirs) {
    EXPECT_EQ(PLXMediaItemFilterDidChangedNotification, "PLXMediaItemFilterDidChangedNotification");
}

}  // namespace
}  // namespace qsml
