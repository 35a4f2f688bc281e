#include "musicalKeys.h"

#include <gtest/gtest.h>

namespace qsml::app {
namespace {

TEST(MusicalKeys, WhenNamedThenMajorKeysComeFirstFromC) {
    EXPECT_EQ(musicalKeyIndex("C"), 0);
    EXPECT_EQ(musicalKeyIndex("F#"), 6);
    EXPECT_EQ(musicalKeyIndex("B"), 11);
    EXPECT_EQ(musicalKeyIndex("Cm"), 12);
    EXPECT_EQ(musicalKeyIndex("Am"), 21);
    EXPECT_EQ(musicalKeyIndex("C#m"), 13);
    EXPECT_EQ(musicalKeyIndex("Bm"), 23);
}

TEST(MusicalKeys, WhenFlatThenItIsTheSharpBelow) {
    EXPECT_EQ(musicalKeyIndex("Dbm"), musicalKeyIndex("C#m"));
    EXPECT_EQ(musicalKeyIndex("Bb"), 10);
    EXPECT_EQ(musicalKeyIndex("Cb"), 11);
    EXPECT_EQ(musicalKeyIndex("E\u266Dm"), 15);
    EXPECT_EQ(musicalKeyIndex("G\u266F"), 8);
}

TEST(MusicalKeys, WhenSpelledOutThenTheModeCounts) {
    EXPECT_EQ(musicalKeyIndex("F# minor"), 18);
    EXPECT_EQ(musicalKeyIndex("eb MAJ"), 3);
    EXPECT_EQ(musicalKeyIndex("CM"), 0);
    EXPECT_EQ(musicalKeyIndex("d min"), 14);
}

TEST(MusicalKeys, WhenOnACamelotWheelThenEachHourIsAFifth) {
    const char* const minors[] = {"G#m", "D#m", "A#m", "Fm", "Cm",  "Gm",
                                  "Dm",  "Am",  "Em",  "Bm", "F#m", "C#m"};
    const char* const majors[] = {"B", "F#", "C#", "G#", "D#", "A#", "F", "C", "G", "D", "A", "E"};
    for (int hour = 1; hour <= 12; ++hour) {
        EXPECT_EQ(musicalKeyName(musicalKeyIndex(std::to_string(hour) + "A")), minors[hour - 1]);
        EXPECT_EQ(musicalKeyName(musicalKeyIndex(std::to_string(hour) + "B")), majors[hour - 1]);
    }
}

TEST(MusicalKeys, WhenInOpenKeyThenTheWheelBeginsAtC) {
    EXPECT_EQ(musicalKeyIndex("1d"), 0);
    EXPECT_EQ(musicalKeyIndex("1m"), 21);
    EXPECT_EQ(musicalKeyIndex("2d"), 7);
    EXPECT_EQ(musicalKeyIndex("12m"), 14);
    EXPECT_EQ(musicalKeyIndex("08A"), 21);
}

TEST(MusicalKeys, WhenItIsNoKeyThenUnknown) {
    for (const char* text : {"", " ", "H", "13A", "0B", "8", "8C", "Amm", "off", "A minorish", "#",
                             "1234567A", "m", "\xFF"})
        EXPECT_EQ(musicalKeyIndex(text), unknownMusicalKey) << text;
}

TEST(MusicalKeys, WhenEveryNameIsReadBackThenItIsItself) {
    for (std::int64_t index = 0; index < 24; ++index)
        EXPECT_EQ(musicalKeyIndex(musicalKeyName(index)), index);
    EXPECT_EQ(musicalKeyName(-1), "");
    EXPECT_EQ(musicalKeyName(24), "");
}

}  // namespace
}  // namespace qsml::app
