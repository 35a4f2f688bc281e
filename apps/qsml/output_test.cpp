#include "output.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

namespace qsml::app {
namespace {

TEST(JSONText, WhenRealsAreWrittenThenTheFewestDigitsReadBack) {
    EXPECT_EQ(printableJSON(327.273f), "327.273");
    EXPECT_EQ(printableJSON(0.1f), "0.1");
    EXPECT_EQ(printableJSON(128.0f), "128");
    for (const float number : {1.0f / 3, 16777217.0f, 1e-40f, 3.4e38f})
        EXPECT_EQ(std::strtof(printableJSON(number).c_str(), nullptr), number);
}

TEST(JSONText, WhenEntriesAreNilOrNotFiniteThenTheyAreLeftOut) {
    EXPECT_EQ(printableJSON(Dictionary{{"a", String()}, {"b", NAN}, {"c", ""}, {"d", false}}),
              R"({"c":"","d":false})");
}

TEST(JSONText, WhenAValueHasNoJSONFormThenItIsAText) {
    EXPECT_EQ(printableJSON(Date{0}), R"("2001-01-01T00:00:00Z")");
    EXPECT_EQ(printableJSON(OrderedSet<String>{"b", "a"}), R"(["b","a"])");
    EXPECT_EQ(printableJSON(String("a\xFF\n\"")), R"("a\\xFF\\x0A\"")");
}

TEST(PlayingTime, WhenWrittenThenItIsToTheNearestSecond) {
    EXPECT_EQ(playingTime(327.273), "5:27");
    EXPECT_EQ(playingTime(309.6), "5:10");
    EXPECT_EQ(playingTime(3723), "1:02:03");
    EXPECT_EQ(playingTime(0.4), "0:00");
}

TEST(Grouped, WhenWrittenThenThousandsStandApart) {
    EXPECT_EQ(grouped(0), "0");
    EXPECT_EQ(grouped(999), "999");
    EXPECT_EQ(grouped(1234567), "1,234,567");
}

}  // namespace
}  // namespace qsml::app
