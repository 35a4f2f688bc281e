#include "tagTexts.h"

#include <gtest/gtest.h>

namespace qsml::app {
namespace {

using Names = std::vector<std::string>;

TEST(TagTexts, WhenANumberHasACountThenBothAreRead) {
    const auto both = numberAndCountFromTag("3/12");
    ASSERT_TRUE(both);
    EXPECT_EQ(both->number, 3);
    EXPECT_EQ(both->count, 12);
    EXPECT_EQ(numberAndCountFromTag(" 03 ")->number, 3);
    EXPECT_EQ(numberAndCountFromTag("/9")->count, 9);
}

TEST(TagTexts, WhenANumberMakesNoSenseThenNothing) {
    for (const char* text : {"A1", "-3", "3/x", "1/2/3", "99999999999999999999", "3.5"})
        EXPECT_FALSE(numberAndCountFromTag(text)) << text;
}

TEST(TagTexts, WhenATempoIsPlausibleThenItIsRead) {
    EXPECT_EQ(tempoFromTag("128"), 128.0f);
    EXPECT_EQ(tempoFromTag(" 127,95 "), 127.95f);
    EXPECT_EQ(tempoFromTag("0"), 0.0f);
}

TEST(TagTexts, WhenATempoMakesNoSenseThenNothing) {
    for (const char* text : {"fast", "-1", "1000", "1e2", "nan", "inf", "12 8", "0x10", "128bpm"})
        EXPECT_FALSE(tempoFromTag(text)) << text;
}

TEST(TagTexts, WhenADayIsNamedThenThereIsADate) {
    const auto time = releaseTimeFromTag("2012-12-15");
    ASSERT_TRUE(time && time->date);
    EXPECT_EQ(iso8601(*time->date), "2012-12-15T00:00:00Z");
    EXPECT_EQ(time->year, 2012);
    EXPECT_EQ(iso8601(*releaseTimeFromTag("2012-12-15 10:20:30")->date), "2012-12-15T10:20:30Z");
}

TEST(TagTexts, WhenNoDayIsNamedThenThereIsOnlyAYear) {
    for (const char* text : {"2012", "2012-12"}) {
        const auto time = releaseTimeFromTag(text);
        ASSERT_TRUE(time) << text;
        EXPECT_EQ(time->year, 2012);
        EXPECT_FALSE(time->date);
        EXPECT_TRUE(time->isWhole);
    }
}

TEST(TagTexts, WhenTheDayDoesNotExistThenTheYearStays) {
    for (const char* text : {"2012-02-30", "2012-00-00", "2012/1/2", "2012 spring"}) {
        const auto time = releaseTimeFromTag(text);
        ASSERT_TRUE(time) << text;
        EXPECT_EQ(time->year, 2012);
        EXPECT_FALSE(time->date);
        EXPECT_FALSE(time->isWhole);
    }
}

TEST(TagTexts, WhenThereIsNoYearThenNothing) {
    for (const char* text : {"", "12", "0000-01-01", "20125", "soon", "15.12.2012"})
        EXPECT_FALSE(releaseTimeFromTag(text)) << text;
}

TEST(TagTexts, WhenAnISRCIsWholeThenItIsNormalised) {
    EXPECT_EQ(isrcFromTag("us-rc1-76-07839"), "USRC17607839");
    EXPECT_EQ(isrcFromTag("GBAYE6800011"), "GBAYE6800011");
    for (const char* text : {"", "USRC1760783", "USRC176078390", "1SRC17607839", "USRC1760783X"})
        EXPECT_FALSE(isrcFromTag(text)) << text;
}

TEST(TagTexts, WhenNamesAreSplitThenEverySeparatorCounts) {
    EXPECT_EQ(splitNames("A; B;C"), (Names{"A", "B", "C"}));
    EXPECT_EQ(splitNames("A, B & C"), (Names{"A", "B", "C"}));
    EXPECT_EQ(splitNames("A / B Feat. C ft. D featuring E vs. F"),
              (Names{"A", "B", "C", "D", "E", "F"}));
    EXPECT_EQ(splitNames(" ; ,"), Names{});
}

TEST(TagTexts, WhenASeparatorIsPartOfANameThenItDoesNotSplit) {
    EXPECT_EQ(splitNames("AC/DC"), Names{"AC/DC"});
    EXPECT_EQ(splitNames("R&B"), Names{"R&B"});
    EXPECT_EQ(splitNames("Defeat. Ed"), Names{"Defeat. Ed"});
}

}  // namespace
}  // namespace qsml::app
