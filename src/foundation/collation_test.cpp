#include "foundation/collation.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include "foundation/text.h"

namespace qsml {
namespace {

int orderOf(const std::string& a, const std::string& b) {
    const int order = a.compare(b);
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

rc::Gen<std::string> aTitle() {
    const auto word = rc::gen::element<std::string>(
        "a", "A", "\u00e4", "b", "Z", "ss", "\u00df", " ", "-", "(", "1", "10", "9", "\u4e2d",
        "\u3042", "\u0416", "\u0436", "\U0001F600", "e\u0301", "\u00e9", "\ufb01", "");
    return rc::gen::map(rc::gen::container<std::vector<std::string>>(word),
                        [](const std::vector<std::string>& words) {
                            std::string text;
                            for (const std::string& one : words) text += one;
                            return text;
                        });
}

class GivenALocaleOfSortKeys : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override { setCurrentLocale(GetParam()); }
    void TearDown() override { setCurrentLocale(""); }
};

TEST_P(GivenALocaleOfSortKeys, WhenKeysAreComparedThenTheyOrderAsTheTextsDo) {
    rc::check([] {
        const std::string a = *aTitle(), b = *aTitle();
        RC_ASSERT(orderOf(localizedCaseInsensitiveSortKey(a), localizedCaseInsensitiveSortKey(b)) ==
                  localizedCaseInsensitiveCompare(a, b));
    });
}

INSTANTIATE_TEST_SUITE_P(Some, GivenALocaleOfSortKeys,
                         ::testing::Values("en_US", "de_DE@collation=phonebook", "sv_SE", "ja_JP"));

TEST(SortKeys, WhenATextIsLongThenItsKeyIsWhole) {
    const std::string a(5000, 'a');
    EXPECT_LT(localizedCaseInsensitiveSortKey(a), localizedCaseInsensitiveSortKey(a + "b"));
    EXPECT_EQ(localizedCaseInsensitiveSortKey(a + "b"), localizedCaseInsensitiveSortKey(a + "B"));
}

TEST(SortKeys, WhenTheLocaleDiffersThenSoDoesTheIdentity) {
    setCurrentLocale("sv_SE");
    const std::string swedish = collationIdentity();
    EXPECT_EQ(swedish.substr(0, 6), "sv_SE ");
    setCurrentLocale("de_DE");
    EXPECT_NE(collationIdentity(), swedish);
    setCurrentLocale("");
}

TEST(SortKeys, WhenTheLocaleChangesThenACollationKeepsItsOwn) {
    setCurrentLocale("sv_SE");
    const Collation swedish;
    const std::string key = swedish.sortKey("\u00f6");
    setCurrentLocale("en_US");
    EXPECT_EQ(swedish.sortKey("\u00f6"), key);
    EXPECT_EQ(swedish.compare("\u00f6", "z"), 1);
    EXPECT_EQ(Collation().compare("\u00f6", "z"), -1);
    EXPECT_EQ(swedish.identity().substr(0, 6), "sv_SE ");
    setCurrentLocale("");
}

}  // namespace
}  // namespace qsml
