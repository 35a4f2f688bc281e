#include "foundation/text.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <cmath>
#include <limits>
#include <thread>
#include <vector>

using namespace qsml;

TEST(GivenMixedText, WhenLowercasedThenTheFullRootMappingApplies) {
    EXPECT_EQ(lowercased("Night DRIVE 12 [x]@{"), "night drive 12 [x]@{");
    EXPECT_EQ(lowercased("ÄÉ"), "äé");
    EXPECT_EQ(lowercased("\u1E9E"), "\u00DF");
    EXPECT_EQ(lowercased("\u039F\u0394\u039F\u03A3"), "\u03BF\u03B4\u03BF\u03C2");  // final sigma
    EXPECT_EQ(lowercased("\u0130"), "i\u0307");   // capital I with dot grows
    EXPECT_EQ(lowercased("E\u0301"), "e\u0301");  // no normalisation
    EXPECT_EQ(lowercased(""), "");
    std::string many, manyLower;
    for (int i = 0; i < 500; ++i) many += "\u0130", manyLower += "i\u0307";
    EXPECT_EQ(lowercased(many), manyLower);
}

TEST(GivenATurkishLocale, WhenLowercasedThenItDoesNotMatter) {
    setCurrentLocale("tr_TR");
    EXPECT_EQ(lowercased("TITLE"), "title");
    EXPECT_EQ(lowercased("TITLE \u00C9"), "title \u00E9");
    setCurrentLocale("");
}

RC_GTEST_PROP(Lowercased, AgreesOnASCIIWithTheFullMapping, ()) {
    const auto text = *rc::gen::container<std::string>(rc::gen::inRange<char>(1, 127));
    std::string full;
    icu::UnicodeString::fromUTF8(text).toLower(icu::Locale::getRoot()).toUTF8String(full);
    RC_ASSERT(lowercased(text) == full);
}

TEST(GivenEachWhitespaceCharacter, WhenTrimmedThenItGoesFromBothEndsOnly) {
    for (auto space : {"\t", "\n", "\v", "\f", "\r", " ", "\u0085", "\u00A0", "\u1680", "\u2000",
                       "\u2005", "\u200A", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000"}) {
        const std::string blank = space, text = blank + blank + "a" + blank + "b" + blank;
        EXPECT_EQ(trimmingWhitespaceAndNewlines(text), "a" + blank + "b")
            << testing::PrintToString(blank);
        EXPECT_EQ(trimmingWhitespaceAndNewlines(blank + blank), "");
    }
}

TEST(GivenOtherCharacters, WhenTrimmedThenTheyStay) {
    for (auto text : {"\u200B", "\u180E", "\uFEFF", "\u2007\u200B", "\x08", "\x0E", "\u0084",
                      "\u200C", "\u3001"}) {
        const auto trimmed = trimmingWhitespaceAndNewlines(text);
        EXPECT_FALSE(trimmed.empty()) << testing::PrintToString(text);
    }
    EXPECT_EQ(trimmingWhitespaceAndNewlines("\u00E0 "), "\u00E0");
    EXPECT_EQ(trimmingWhitespaceAndNewlines("\xA0"), "\xA0");  // no UTF-8: left alone
    EXPECT_EQ(trimmingWhitespaceAndNewlines("\x80\x80 "), "\x80\x80");
}

TEST(GivenATextOfBlanks, WhenChuzzledThenNil) {
    EXPECT_FALSE(chuzzle(String()).has_value());
    EXPECT_FALSE(chuzzle("").has_value());
    EXPECT_FALSE(chuzzle(" \n\u3000").has_value());
    EXPECT_EQ(chuzzle(" a b "), "a b");
    const String clean("a");
    EXPECT_EQ(chuzzle(clean).identity(), clean.identity());
}

namespace {

class GivenALocale : public ::testing::Test {
protected:
    ~GivenALocale() override { setCurrentLocale(""); }
    static int compare(std::string_view locale, std::string_view a, std::string_view b) {
        setCurrentLocale(locale);
        const int order = localizedCaseInsensitiveCompare(a, b);
        EXPECT_EQ(localizedCaseInsensitiveCompare(b, a), -order);
        return order;
    }
};

}  // namespace

TEST_F(GivenALocale, WhenEnglishThenCaseIsIgnoredAndAccentsAreNot) {
    EXPECT_EQ(compare("en_US", "abc", "ABC"), 0);
    EXPECT_EQ(compare("en_US", "e", "\u00C9"), -1);
    EXPECT_EQ(compare("en_US", "z", "a"), 1);
    EXPECT_EQ(compare("en_US", "a", "B"), -1);
    EXPECT_EQ(compare("en_US", "10", "9"), -1);
    EXPECT_EQ(compare("en_US", "ss", "\u00DF"), -1);
    EXPECT_EQ(compare("en_US", "\uFF21", "a"), 0);
    for (auto sign : {"_", " ", "-", "#"}) {
        EXPECT_EQ(compare("en_US", sign, "1"), -1);
        EXPECT_EQ(compare("en_US", sign, ""), 1);
    }
    EXPECT_EQ(compare("en_US", {}, ""), 0);
}

TEST_F(GivenALocale, WhenChangedThenItsOwnRulesApply) {
    EXPECT_EQ(compare("en_US", "\u00E4", "z"), -1);
    EXPECT_EQ(compare("sv_SE", "\u00E4", "z"), 1);
    EXPECT_EQ(compare("da_DK", "\u00E4", "z"), 1);
    EXPECT_EQ(compare("tr_TR", "I", "\u0131"), 0);
    EXPECT_EQ(compare("tr_TR", "i", "\u0130"), 0);
    EXPECT_EQ(compare("tr_TR", "I", "i"), -1);
    EXPECT_EQ(currentLocale(), "tr_TR");
}

TEST_F(GivenALocale, WhenTheSystemsThenAPlainProcessStillIgnoresCase) {
    EXPECT_EQ(compare("", "a", "B"), -1);
    EXPECT_FALSE(currentLocale().empty());
}

TEST_F(GivenALocale, WhenThreadsCompareWhileItChangesThenAllAgree) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([] {
            for (int n = 0; n < 2000; ++n) EXPECT_EQ(localizedCaseInsensitiveCompare("a", "B"), -1);
        });
    for (int n = 0; n < 20; ++n) setCurrentLocale(n % 2 == 0 ? "sv_SE" : "en_US");
    for (auto& thread : threads) thread.join();
}

TEST(GivenBytes, WhenCheckedForUTF8ThenOnlyWellFormedOnesPass) {
    for (auto text : {"", "a", "\x7F", "\u0080", "\u07FF", "\u0800", "\uD7FF", "\uE000", "\uFFFF",
                      "\U00010000", "\U0010FFFF", "12345678\u00E9", "1234567\u00E9"})
        EXPECT_TRUE(isValidUTF8(text)) << testing::PrintToString(text);
    for (auto text : {"\x80",
                      "\xBF",
                      "\xC0\x80",
                      "\xC1\xBF",
                      "\xE0\x80\x80",
                      "\xE0\x9F\xBF",
                      "\xED\xA0\x80",
                      "\xED\xBF\xBF",
                      "\xF0\x80\x80\x80",
                      "\xF0\x8F\xBF\xBF",
                      "\xF4\x90\x80\x80",
                      "\xF5\x80\x80\x80",
                      "\xFF",
                      "\xC2",
                      "\xE2\x82",
                      "\xF0\x9F\x98",
                      "12345678\x80",
                      "1234567\xC3",
                      "\xC3\x41",
                      "\xE2\x82\x41",
                      "\xF0\x9F\x98\x41"})
        EXPECT_FALSE(isValidUTF8(text)) << testing::PrintToString(text);
    EXPECT_TRUE(isValidUTF8(std::string_view("\0\0", 2)));
}

RC_GTEST_PROP(IsValidUTF8, AgreesWithTheReplacingConverter, ()) {
    const auto pieces = *rc::gen::container<std::vector<std::string>>(
        rc::gen::element<std::string>("abcdefgh", "a", "\u00E9", "\u20AC", "\U0001F600", "\x80",
                                      "\xE2\x82", "\xED\xA0\x80", "\xF4"));
    std::string text, back;
    for (const auto& piece : pieces) text += piece;
    icu::UnicodeString::fromUTF8(text).toUTF8String(back);
    RC_ASSERT(isValidUTF8(text) == (back == text));
}

TEST(GivenReals, WhenRoundedThenHalvesGoAwayFromZeroAndExtremesAreClamped) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(roundedHalfAwayFromZero(127.5f), 128);
    EXPECT_EQ(roundedHalfAwayFromZero(-0.5f), -1);
    EXPECT_EQ(roundedHalfAwayFromZero(120.49f), 120);
    EXPECT_EQ(roundedHalfAwayFromZero(0.49999997f), 0);
    EXPECT_EQ(roundedHalfAwayFromZero(std::nanf("")), 0);
    EXPECT_EQ(roundedHalfAwayFromZero(infinity), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(roundedHalfAwayFromZero(9223372036854775808.0f),
              std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(roundedHalfAwayFromZero(-infinity), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(roundedHalfAwayFromZero(-9223372036854775808.0f),
              std::numeric_limits<std::int64_t>::min());
}

TEST(GivenTheKnownVectors, WhenHashedThenTheDigestsNeverChange) {
    EXPECT_EQ(md5Hash(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(md5Hash("abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(md5Hash("\t\t0"), "b1de3e6f1eadcc6cdd67ad7cd2635dc4");
    EXPECT_EQ(md5Hash("night drive\tthe examples\t450"), "717882d6da131ecd87af300ad339144f");
    EXPECT_EQ(md5Hash("Caf\u00E9"), "4655bd14eebfaf444e5b33d6851dbbd0");
}
