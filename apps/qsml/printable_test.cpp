#include "printable.h"

#include <gtest/gtest.h>

namespace qsml::app {
namespace {

TEST(Printable, WhenTheTextIsPlainThenItStays) {
    EXPECT_EQ(printable("Caf\u00E9 \u6771\u4EAC \U0001F3B5 \\ \""),
              "Caf\u00E9 \u6771\u4EAC \U0001F3B5 \\ \"");
}

TEST(Printable, WhenBytesAreNoUTF8ThenTheyAreEscaped) {
    EXPECT_EQ(printable("a\xFF"
                        "b\xC3"),
              "a\\xFFb\\xC3");
    EXPECT_EQ(printable("\xED\xA0\x80"), "\\xED\\xA0\\x80");  // a lone surrogate
}

TEST(Printable, WhenCharactersMoveTheCursorThenTheyAreEscaped) {
    EXPECT_EQ(printable("a\x1B[31m\nb\x7F"), "a\\x1B[31m\\x0Ab\\x7F");
    EXPECT_EQ(printable("\u009B"
                        "2J"),
              "\\xC2\\x9B2J");
    EXPECT_EQ(printable("\u202E"
                        "fdp"),
              "\\xE2\\x80\\xAEfdp");
    EXPECT_EQ(printable(std::string_view("a\0b", 3)), "a\\x00b");
}

TEST(Printable, WhenTooLongThenItIsCutBetweenCharacters) {
    EXPECT_EQ(printable("abcdef", 3), "abc\u2026");
    EXPECT_EQ(printable("\u00E9\u00E9", 3), "\u00E9\u2026");
    EXPECT_EQ(printable("abc", 3), "abc");
}

TEST(DisplayWidth, WhenMeasuredThenWideCharactersTakeTwoAndCombiningOnesNone) {
    EXPECT_EQ(displayWidth("abc"), 3u);
    EXPECT_EQ(displayWidth("\u00E9"), 1u);
    EXPECT_EQ(displayWidth("e\u0301"), 1u);
    EXPECT_EQ(displayWidth("\u6771\u4EAC"), 4u);
}

TEST(Fitted, WhenFittedThenTheWidthIsExact) {
    EXPECT_EQ(fitted("ab", 4), "ab  ");
    EXPECT_EQ(fitted("abcdef", 4), "abc\u2026");
    EXPECT_EQ(fitted("\u6771\u4EAC\u6771", 4), "\u6771\u2026 ");
    for (const char* text : {"", "abc", "\u6771\u4EAC", "e\u0301tude longue"})
        EXPECT_EQ(displayWidth(fitted(text, 5)), 5u) << text;
}

}  // namespace
}  // namespace qsml::app
