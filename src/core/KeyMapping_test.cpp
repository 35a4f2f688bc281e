#include "core/KeyMapping.h"

#include <gtest/gtest.h>

namespace qsml {
namespace {

using Pairs = std::vector<std::pair<String, String>>;

Pairs pairsOf(const KeyMapping& mapping) { return {mapping.begin(), mapping.end()}; }

TEST(GivenAMapping, WhenANameIsLookedUpThenItsPartnerOrNilComes) {
    const KeyMapping mapping(Pairs{{"b", "2"}, {"a", "1"}});
    EXPECT_EQ(mapping["a"], "1");
    EXPECT_EQ(mapping["b"], "2");
    EXPECT_FALSE(mapping["c"]);
    EXPECT_FALSE(mapping[""]);
    EXPECT_FALSE(KeyMapping()["a"]);
}

TEST(GivenAMapping, WhenANameComesTwiceThenTheLaterPairCounts) {
    EXPECT_EQ(pairsOf(KeyMapping(Pairs{{"a", "1"}, {"b", "2"}, {"a", "3"}})),
              (Pairs{{"a", "3"}, {"b", "2"}}));
}

TEST(GivenAMapping, WhenInvertedThenEachPairIsReversedAndTheLastOfOneNameStays) {
    const KeyMapping mapping(Pairs{{"a", "x"}, {"b", "y"}, {"c", "x"}});
    EXPECT_EQ(pairsOf(mapping.inverse()), (Pairs{{"x", "c"}, {"y", "b"}}));
}

}  // namespace
}  // namespace qsml
