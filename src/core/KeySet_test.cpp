#include "core/KeySet.h"

#include <gtest/gtest.h>

namespace qsml {
namespace {

TEST(GivenNames, WhenPutIntoASetThenTheyAreDistinctAndInByteOrder) {
    KeySet keys{"b", "a", "b", "B"};
    EXPECT_EQ(std::vector<String>(keys.begin(), keys.end()), (std::vector<String>{"B", "a", "b"}));
    EXPECT_TRUE(keys.contains("a"));
    EXPECT_FALSE(keys.contains("c"));
    EXPECT_EQ(keys.find("c"), nullptr);
    EXPECT_TRUE(keys.insert("aa"));
    EXPECT_FALSE(keys.insert("aa"));
    EXPECT_TRUE(keys.erase("a"));
    EXPECT_FALSE(keys.erase("a"));
    EXPECT_EQ(keys, (KeySet{"B", "aa", "b"}));
    EXPECT_EQ(keys.orderedSet(), (OrderedSet<String>{"B", "aa", "b"}));
    EXPECT_EQ(keys.intersection(KeySet{"b", "c", "B"}), (KeySet{"B", "b"}));
    EXPECT_TRUE((KeySet{"b"}).isSubsetOf(keys));
    EXPECT_FALSE((KeySet{"b", "c"}).isSubsetOf(keys));
}

}  // namespace
}  // namespace qsml
