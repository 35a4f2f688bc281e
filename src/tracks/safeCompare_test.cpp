#include "tracks/safeCompare.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "foundation/text.h"

namespace qsml {
namespace {

const String nil;

TEST(GivenAValueAndNil, WhenComparedThenNilComesLast) {
    EXPECT_EQ(safeCompare(String("a"), nil), -1);
    EXPECT_EQ(safeCompare(nil, String("a")), 1);
    EXPECT_EQ(safeCompare(nil, nil), 0);
    EXPECT_EQ(safeCompare(String(""), nil), -1) << "an empty text is a value";
    EXPECT_EQ(safeCompare(std::optional(Date{1}), std::optional<Date>()), -1);
    EXPECT_EQ(safeCompare(std::optional<Date>(), std::optional(Date{1})), 1);
    EXPECT_EQ(safeCompare(std::optional<Date>(), std::optional<Date>()), 0);
    EXPECT_EQ(safeCompare(Value(1), Value()), -1);
    EXPECT_EQ(safeCompare(Value(), Value(1)), 1);
    EXPECT_EQ(safeCompare(Value(), Value()), 0);
    EXPECT_EQ(safeLocalizedCaseInsensitiveCompare("a", nil), -1);
    EXPECT_EQ(safeLocalizedCaseInsensitiveCompare(nil, "a"), 1);
    EXPECT_EQ(safeLocalizedCaseInsensitiveCompare(nil, nil), 0);
}

TEST(GivenTwoValues, WhenComparedThenTheirOwnOrderCounts) {
    EXPECT_EQ(safeCompare(String("B"), String("a")), -1);
    EXPECT_EQ(safeCompare(String("b"), String("a")), 1);
    EXPECT_EQ(safeCompare(String("a"), String("a")), 0);
    EXPECT_EQ(safeCompare(std::optional(Date{1}), std::optional(Date{2})), -1);
    EXPECT_EQ(safeCompare(std::optional(Date{2}), std::optional(Date{1})), 1);
    EXPECT_EQ(safeCompare(Value("a"), Value("b")), -1);
    EXPECT_EQ(safeCompare(Value(Date{2}), Value(Date{1})), 1);
}

TEST(GivenNumbersOfDifferentKinds, WhenComparedThenValuesCount) {
    constexpr auto largest = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(safeCompare(Value(1), Value(1.0)), 0);
    EXPECT_EQ(safeCompare(Value(true), Value(1)), 0);
    EXPECT_EQ(safeCompare(Value(1), Value(1.5)), -1);
    EXPECT_EQ(safeCompare(Value(1.5F), Value(1)), 1);
    EXPECT_EQ(safeCompare(Value(-1), Value(std::uint64_t{1})), -1);
    EXPECT_EQ(safeCompare(Value(std::numeric_limits<std::uint64_t>::max()), Value(largest)), 1);
    EXPECT_EQ(safeCompare(Value(largest - 1), Value(largest)), -1) << "not through reals";
    EXPECT_EQ(safeCompare(Value(largest), Value(0x1p63)), -1) << "one less than that real";
    EXPECT_EQ(safeCompare(Value(0x1p63), Value(largest)), 1);
    EXPECT_EQ(safeCompare(Value(std::uint64_t{1} << 63), Value(0x1p63)), 0);
    EXPECT_EQ(safeCompare(Value(std::numeric_limits<std::uint64_t>::max()), Value(0x1p64)), -1);
    EXPECT_EQ(safeCompare(Value(std::numeric_limits<std::int64_t>::min()), Value(-0x1p63)), 0);
    EXPECT_EQ(safeCompare(Value(std::nan("")), Value(-1e300)), -1);
    EXPECT_EQ(safeCompare(Value(3), Value(std::nan(""))), 1);
    EXPECT_EQ(safeCompare(Value(std::nan("")), Value(std::nan(""))), 0);
}

TEST(GivenTwoTexts, WhenComparedForPeopleThenCaseIsIgnoredAndAccentsCount) {
    setCurrentLocale("en_US");
    EXPECT_EQ(safeLocalizedCaseInsensitiveCompare("abc", "ABC"), 0);
    EXPECT_EQ(safeLocalizedCaseInsensitiveCompare("a", "B"), -1);
    EXPECT_EQ(safeLocalizedCaseInsensitiveCompare("b", "A"), 1);
    EXPECT_EQ(safeLocalizedCaseInsensitiveCompare("e", "é"), -1);
    setCurrentLocale("");
}

}  // namespace
}  // namespace qsml
