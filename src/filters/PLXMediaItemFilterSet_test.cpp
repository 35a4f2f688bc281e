#include "filters/PLXMediaItemFilterSet.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include "filters/detail/testing/WordFilter.h"
#include "filters/registerFilterClasses.h"
#include "testing/recordTable.h"

namespace qsml {
namespace {

using Set = PLXMediaItemFilterSet;
using Rules = std::vector<std::shared_ptr<const PLXMediaItemFilter>>;

std::shared_ptr<Set> setOf(const Rules& rules, String uuid = "set") {
    auto made = Set::initWithUUID(std::move(uuid));
    made->setName("Set");
    made->setFilters(rules);
    return made;
}

std::shared_ptr<Set> filled() {
    return setOf({WordFilter::initWithWord("a"), WordFilter::initWithWord("b")});
}

Value foreignRule(const char* word) {
    return Value(Dictionary{{"$class", "WordFilter"}, {"keyPath", "title"}, {"word", word}});
}

TEST(GivenAFilterSet, WhenHeldAgainstItsTableThenKeysDefaultsAndChecksAreThose) {
    expectTable<Set>({{"name", Takes::text}, {"filters", Takes::array}}, *filled());
    EXPECT_EQ(Set::init()->monitoredProperties(), (KeySet{"name", "filters"}));
    EXPECT_EQ(Set::classObject().cloudType(), "MediaItemFilterSet");
}

TEST(GivenArchivesOfAFilterSet, WhenAnotherProgramWroteThemThenRulesOfEveryKindAreRead) {
    registerFilterClasses();
    (void)WordFilter::classObject();
    const auto read = recordFrom<Set>(foreignArchive(
        {{"$class", "PLXMediaItemFilterSet"},
         {"uuid", "u"},
         {"name", "Mine"},
         {"filters", Value::Array{foreignRule("a"), foreignObject("PLXMediaItemFilter"),
                                  foreignRule("b"), Value("no rule")}}}));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->uuid(), "u");
    EXPECT_EQ(read->name(), "Mine");
    ASSERT_EQ(read->filters()->size(), 3U);
    const auto wordAt = [&](std::size_t i) {
        const auto rule = std::dynamic_pointer_cast<const WordFilter>(read->filters()->at(i));
        return rule ? rule->word() : String();
    };
    EXPECT_EQ(wordAt(0), "a");
    EXPECT_EQ(wordAt(1), nullptr) << "a rule of no kind";
    EXPECT_EQ(wordAt(2), "b");
    EXPECT_FALSE(read->filters()->at(0)->isEnabled()) << "the key is missing";
}

TEST(GivenAFilledFilterSet, WhenReadBackThenItIsEqual) {
    const auto set = filled();
    const auto read = recordFrom<Set>(archiveOf(*set));
    ASSERT_TRUE(read);
    EXPECT_TRUE(set->isEqual(*read));
    EXPECT_EQ(archiveOf(*read), archiveOf(*set));
}

TEST(GivenAFilledFilterSet, WhenARuleOfItsCopyIsChangedThenItsOwnIsNot) {
    const auto set = filled();
    set->makeImmutable();
    const auto copy = set->copy();
    EXPECT_TRUE(copy->isEqual(*set));
    EXPECT_NE(copy->filters()->front(), set->filters()->front()) << "deep";
    auto rules = *copy->filters();
    const auto changed = std::dynamic_pointer_cast<WordFilter>(rules.front()->copyObject());
    ASSERT_TRUE(changed);
    changed->setWord("changed");
    rules.front() = changed;
    copy->setFilters(rules);
    EXPECT_EQ(copy->changedProperties(), (KeySet{"filters"}));
    EXPECT_FALSE(copy->isEqual(*set));
    EXPECT_TRUE(set->isEqual(*filled()));
    EXPECT_THROW(set->setFilters(rules), PLXDatabaseObjectException);
    EXPECT_THROW(set->setName("x"), PLXDatabaseObjectException);
}

TEST(GivenARuleOfAFilterSet, WhenItsGiverChangesItThenTheSetsOwnIsNot) {
    const auto rule = WordFilter::initWithWord("a");
    const auto set = setOf({rule});
    rule->setWord("changed");
    EXPECT_TRUE(set->filters()->front()->isEqual(*WordFilter::initWithWord("a")));
}

TEST(GivenAFilterSetWithoutRules, WhenCopiedAndArchivedThenNilStaysNilAndEmptyStaysEmpty) {
    const auto none = Set::initWithUUID("u");
    const auto empty = setOf({}, "u");
    empty->setName(nullptr);
    EXPECT_EQ(none->copy()->filters(), std::nullopt);
    EXPECT_TRUE(empty->copy()->filters()->empty());
    EXPECT_EQ(recordFrom<Set>(archiveOf(*none))->filters(), std::nullopt);
    EXPECT_TRUE(recordFrom<Set>(archiveOf(*empty))->filters()->empty());
    EXPECT_TRUE(none->isEqual(*none->copy()));
    EXPECT_FALSE(none->isEqual(*empty));
    EXPECT_FALSE(empty->isEqual(*none));
}

TEST(GivenTwoFilterSets, WhenUUIDNameOrRulesDifferThenTheyAreNotEqual) {
    const auto set = filled();
    const auto differsFrom = [&](const std::shared_ptr<Set>& other) {
        EXPECT_EQ(set->isEqual(*other), other->isEqual(*set));
        return !set->isEqual(*other);
    };
    EXPECT_FALSE(differsFrom(filled()));
    EXPECT_TRUE(differsFrom(setOf(*set->filters(), "other")));
    EXPECT_TRUE(differsFrom(setOf({WordFilter::initWithWord("a")})));
    EXPECT_TRUE(differsFrom(setOf({WordFilter::initWithWord("b"), WordFilter::initWithWord("a")})));
    EXPECT_TRUE(differsFrom(setOf({WordFilter::initWithWord("a"), PLXMediaItemFilter::init()})));
    const auto renamed = filled();
    renamed->setName("Other");
    EXPECT_TRUE(differsFrom(renamed));
    renamed->setName(nullptr);
    EXPECT_TRUE(differsFrom(renamed));
    EXPECT_EQ(set->hash(), renamed->hash()) << "that of the UUID";
    EXPECT_FALSE(set->isEqualToFilterSet(nullptr));
    EXPECT_FALSE(set->isEqual(*PLXMediaItemFilter::init()));
    const auto twin = Set::initWithUUID("set");
    EXPECT_TRUE(twin->isEqualToDatabaseObject(set.get())) << "as records";
    EXPECT_FALSE(twin->isEqual(*set));
}

TEST(GivenAFilledFilterSet, WhenItsArchiveIsDamagedThenItReadsAsARecordOrNil) {
    readDamagedArchives(*filled());
}

std::shared_ptr<Set> anyFilterSet() {
    auto set = Set::initWithUUID(*rc::gen::element(std::string("a"), std::string("b")));
    if (*rc::gen::arbitrary<bool>()) set->setName(*rc::gen::element("", "Set", "\u00fc"));
    Rules rules;
    for (int count = *rc::gen::inRange(0, 4); count > 0; --count) {
        const auto rule = WordFilter::init();
        rule->setEnabled(*rc::gen::arbitrary<bool>());
        rule->setKeyPathIsCollection(*rc::gen::arbitrary<bool>());
        rule->setOperatorType(*rc::gen::inRange(-1, 7));
        if (*rc::gen::arbitrary<bool>()) rule->setWord(*rc::gen::element("x", "y", ""));
        rules.push_back(rule);
    }
    if (*rc::gen::arbitrary<bool>()) set->setFilters(rules);
    return set;
}

RC_GTEST_PROP(FilterSetLaws, AnArchiveReadBackAndACopyAreEqual, ()) {
    const auto set = anyFilterSet();
    const auto copy = set->copy();
    RC_ASSERT(set->isEqual(*copy) && copy->isEqual(*set));
    RC_ASSERT(archiveOf(*copy) == archiveOf(*set));
    const auto read = recordFrom<Set>(archiveOf(*set));
    RC_ASSERT(read && read->isEqual(*set) && set->isEqual(*read));
}

RC_GTEST_PROP(FilterSetLaws, EqualMeansEqualBytes, ()) {
    const auto a = anyFilterSet(), b = anyFilterSet();
    RC_ASSERT(a->isEqual(*b) == b->isEqual(*a));
    RC_ASSERT(a->isEqual(*b) == (archiveOf(*a) == archiveOf(*b)));
}

}  // namespace
}  // namespace qsml
