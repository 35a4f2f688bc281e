#include "foundation/OrderedSet.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <algorithm>

using qsml::OrderedSet;

namespace {

/// Equal by its name alone, but hashed by its content too.
struct Alias {
    int name = 0, content = 0;
    friend bool operator==(const Alias& a, const Alias& b) { return a.name == b.name; }
};

}  // namespace

template <>
struct std::hash<Alias> {
    std::size_t operator()(const Alias& alias) const {
        return static_cast<std::size_t>(alias.content);
    }
};

TEST(GivenEqualElementsThatHashDifferently, WhenMadeASetThenAllStayWhateverTheSize) {
    for (const int count : {2, 8, 9, 20}) {
        std::vector<Alias> aliases;
        for (int i = 0; i < count; ++i) aliases.push_back({1, i});
        aliases.push_back({1, 0});
        const OrderedSet<Alias> set(aliases);
        EXPECT_EQ(set.size(), static_cast<std::size_t>(count));
        EXPECT_EQ(set.indexOf({1, 1}), 1U);
        EXPECT_FALSE(set.contains({1, 99}));
    }
}

TEST(GivenAListWithRepeats, WhenMadeASetThenFirstPositionsCount) {
    const OrderedSet<int> set{3, 1, 3, 2, 1};
    EXPECT_EQ(set.elements(), (std::vector{3, 1, 2}));
    EXPECT_EQ(set.indexOf(2), 2u);
    EXPECT_EQ(set.indexOf(9), OrderedSet<int>::npos);
}

TEST(GivenAnEmptySet, WhenReadThenItHasNoElements) {
    const OrderedSet<int> set;
    EXPECT_TRUE(set.empty());
    EXPECT_TRUE(set.list().empty());
    EXPECT_FALSE(set.contains(1));
    EXPECT_EQ(set, OrderedSet<int>(std::vector<int>{}));
}

TEST(GivenTheSameElementsInAnotherOrder, WhenComparedThenTheSetsDiffer) {
    EXPECT_EQ((OrderedSet<int>{1, 2}), (OrderedSet<int>{1, 2, 1}));
    EXPECT_NE((OrderedSet<int>{1, 2}), (OrderedSet<int>{2, 1}));
}

// Small sets are searched, large ones indexed: both answer alike.
RC_GTEST_PROP(OrderedSet, KeepsFirstPositionsAtEverySize, ()) {
    const auto list = *rc::gen::container<std::vector<int>>(rc::gen::inRange(0, 30));
    std::vector<int> expected;
    for (int each : list)
        if (std::ranges::find(expected, each) == expected.end()) expected.push_back(each);
    const OrderedSet<int> set(list);
    RC_ASSERT(set.elements() == expected);
    RC_ASSERT(set.list() == expected);
    for (std::size_t i = 0; i < expected.size(); ++i) RC_ASSERT(set.indexOf(expected[i]) == i);
    RC_ASSERT(!set.contains(30));
}
