#include "foundation/Dictionary.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <map>

using namespace qsml;

TEST(GivenPairs, WhenAKeyRepeatsThenTheLaterValueWinsAtTheFirstPlace) {
    const Dictionary dictionary{{"a", 1}, {"b", 2}, {"a", 3}};
    ASSERT_EQ(dictionary.size(), 2u);
    EXPECT_EQ(dictionary.begin()->first, Value("a"));
    EXPECT_EQ(dictionary["a"], Value(3));
}

TEST(GivenADictionary, WhenAKeyIsAbsentThenNil) {
    const Dictionary dictionary{{"a", 1}};
    EXPECT_TRUE(dictionary["b"].isNil());
    EXPECT_FALSE(dictionary.contains("b"));
    EXPECT_TRUE(Dictionary().empty());
}

TEST(GivenADictionary, WhenNilIsSetThenTheKeyGoesAndTheOthersKeepTheirOrder) {
    Dictionary dictionary{{"a", 1}, {"b", 2}, {"c", 3}};
    dictionary.set("a", {});
    dictionary.set("x", {});
    EXPECT_EQ(dictionary, (Dictionary{{"c", 3}, {"b", 2}}));
    EXPECT_EQ(dictionary["c"], Value(3));
    EXPECT_EQ(dictionary.begin()->first, Value("b"));
}

TEST(GivenADictionary, WhenTheKeyIsNilThenNothingIsSet) {
    Dictionary dictionary;
    dictionary.set({}, 1);
    EXPECT_TRUE(dictionary.empty());
}

TEST(GivenANumberKey, WhenLookedUpByAnEqualNumberThenItIsFound) {
    const Dictionary dictionary{{1, "one"}};
    EXPECT_EQ(dictionary[true], Value("one"));
    EXPECT_EQ(dictionary[1.0], Value("one"));
    EXPECT_TRUE(dictionary["1"].isNil());
}

TEST(GivenTwoDictionaries, WhenComparedThenOrderDoesNotCount) {
    EXPECT_EQ((Dictionary{{"a", 1}, {"b", 2}}), (Dictionary{{"b", 2}, {"a", 1}}));
    EXPECT_NE((Dictionary{{"a", 1}}), (Dictionary{{"a", 2}}));
    EXPECT_NE((Dictionary{{"a", 1}}), (Dictionary{{"b", 1}}));
    EXPECT_NE((Dictionary{{"a", 1}}), Dictionary());
}

TEST(GivenAValueSet, WhenMadeFromRepeatsThenEachIsThereOnce) {
    const ValueSet set{1, true, "a", 1.0};
    EXPECT_EQ(set.size(), 2u);
    EXPECT_TRUE(set.contains(1.0f));
    EXPECT_FALSE(set.contains("1"));
    EXPECT_EQ(set, (ValueSet{"a", 1}));
}

RC_GTEST_PROP(Dictionary, BehavesAsAMap, ()) {
    const auto steps = *rc::gen::container<std::vector<std::pair<int, int>>>(
        rc::gen::pair(rc::gen::inRange(0, 12), rc::gen::inRange(0, 4)));
    Dictionary dictionary;
    std::map<int, int> expected;
    for (const auto& [key, value] : steps) {
        dictionary.set(key, value == 0 ? Value() : Value(value));
        if (value == 0)
            expected.erase(key);
        else
            expected[key] = value;
    }
    RC_ASSERT(dictionary.size() == expected.size());
    for (const auto& [key, value] : expected) RC_ASSERT(dictionary[key] == Value(value));
}
