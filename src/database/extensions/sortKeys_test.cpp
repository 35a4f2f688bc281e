// Sort keys say the same as the comparisons.
#include "database/extensions/sortKeys.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <limits>

#include "foundation/text.h"
#include "tracks/safeCompare.h"

namespace qsml {
namespace {

using detail::localizedSortKeyOf;
using detail::newestFirstSortKeyOf;
using detail::sortKeyOf;

int signOf(int number) { return (number > 0) - (number < 0); }
int order(const std::string& a, const std::string& b) { return signOf(a.compare(b)); }

/// Texts that are alike in many ways, and nil.
String anyText() {
    static const std::vector<std::string> parts{
        "a",          "A",  "b",      "é",      "É",          "e\u0301",
        "ß",          "ss", "ö",      "z",      " ",          "\x01",
        "ﬀ",          "10", "2",      "東",     "京",         "\uFFFD",
        "\U0001F3A7", "-",  "\u00A0", "\uE000", "\U0010FFFF", std::string(1, '\0')};
    if (*rc::gen::inRange(0, 10) == 0) return {};
    std::string text;
    for (int left = *rc::gen::inRange(0, 4); left > 0; --left) text += *rc::gen::elementOf(parts);
    return text;
}

std::int64_t anyNumber() {
    return *rc::gen::oneOf(rc::gen::arbitrary<std::int64_t>(),
                           rc::gen::inRange<std::int64_t>(-3, 4),
                           rc::gen::element(std::numeric_limits<std::int64_t>::min(),
                                            std::numeric_limits<std::int64_t>::max()));
}

std::optional<Date> anyDate() {
    if (*rc::gen::inRange(0, 8) == 0) return std::nullopt;
    constexpr double infinity = std::numeric_limits<double>::infinity();
    return Date{
        *rc::gen::oneOf(rc::gen::arbitrary<double>(),
                        rc::gen::element(0.0, -0.0, 0.5, -0.5, 7e8, -infinity, infinity,
                                         std::numeric_limits<double>::denorm_min(), std::nan("")))};
}

RC_GTEST_PROP(SortKeys, OrderTextsAsSafeCompareDoes, ()) {
    const String a = anyText(), b = anyText();
    RC_ASSERT(order(sortKeyOf(a), sortKeyOf(b)) == safeCompare(a, b));
}

RC_GTEST_PROP(SortKeys, OrderTextsByTheLocaleAsTheComparisonDoes, ()) {
    const std::string locale = *rc::gen::element<std::string>("en_US", "sv_SE", "de_DE", "ja_JP");
    setCurrentLocale(locale);
    const String a = anyText(), b = anyText();
    const Collation collation;
    const int byKeys = order(localizedSortKeyOf(a, collation), localizedSortKeyOf(b, collation));
    const int byComparison = safeLocalizedCaseInsensitiveCompare(a, b);
    setCurrentLocale("");
    RC_ASSERT(byKeys == byComparison);
}

RC_GTEST_PROP(SortKeys, OrderNumbersByValue, ()) {
    const std::int64_t a = anyNumber(), b = anyNumber();
    RC_ASSERT(order(sortKeyOf(a), sortKeyOf(b)) == (a > b) - (a < b));
    RC_ASSERT(sortKeyOf(a).size() == 8u);  // so that another key may follow it
}

RC_GTEST_PROP(SortKeys, OrderDatesFromTheNewestToTheOldestThenThoseWithoutDate, ()) {
    const auto a = anyDate(), b = anyDate();
    const int expected = a && b ? -safeCompare(a, b) : safeCompare(a, b);
    RC_ASSERT(order(newestFirstSortKeyOf(a), newestFirstSortKeyOf(b)) == expected);
}

TEST(SortKeys, OrderNilBehindEveryTextAndNotAsTheEmptyOne) {
    EXPECT_LT(sortKeyOf(String("")), sortKeyOf(String("\U0010FFFF")));
    EXPECT_LT(sortKeyOf(String("\U0010FFFF")), sortKeyOf(String()));
    const Collation collation;
    EXPECT_LT(localizedSortKeyOf("", collation), localizedSortKeyOf("zz", collation));
    EXPECT_LT(localizedSortKeyOf("\U0010FFFF", collation), localizedSortKeyOf({}, collation));
}

}  // namespace
}  // namespace qsml
