#include "foundation/Date.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <ctime>
#include <limits>

using qsml::Date;
using qsml::dateFromISO8601;
using qsml::iso8601;

namespace {

std::optional<double> seconds(std::string_view text) {
    const auto date = dateFromISO8601(text);
    return date ? std::optional(date->secondsSinceReferenceDate) : std::nullopt;
}

constexpr std::int64_t firstMillisecond = -63'113'904'000'000;  // 0001-01-01T00:00:00Z
constexpr std::int64_t lastMillisecond = 252'423'993'599'999;   // 9999-12-31T23:59:59.999Z

}  // namespace

TEST(GivenAnInstant, WhenWrittenThenMillisecondsShowOnlyWhereThereAreAny) {
    EXPECT_EQ(iso8601({0}), "2001-01-01T00:00:00Z");
    EXPECT_EQ(iso8601({0.5}), "2001-01-01T00:00:00.500Z");
    EXPECT_EQ(iso8601({-0.001}), "2000-12-31T23:59:59.999Z");
    EXPECT_EQ(iso8601({1355529600 - Date::unixTimeOfReferenceDate}), "2012-12-15T00:00:00Z");
    EXPECT_EQ(iso8601({0.9996}), "2001-01-01T00:00:01Z");
    EXPECT_EQ(iso8601({-1e-7}), "2001-01-01T00:00:00Z");
}

TEST(GivenInstantsOutsideTheYears1To9999, WhenWrittenThenNil) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (double each : {infinity, -infinity, std::numeric_limits<double>::quiet_NaN(), 1e300,
                        (firstMillisecond - 1) / 1000.0, (lastMillisecond + 1) / 1000.0})
        EXPECT_FALSE(iso8601({each}).has_value()) << each;
    EXPECT_EQ(iso8601({firstMillisecond / 1000.0}), "0001-01-01T00:00:00Z");
    EXPECT_EQ(iso8601({lastMillisecond / 1000.0}), "9999-12-31T23:59:59.999Z");
}

TEST(GivenEachDocumentedForm, WhenReadThenTheInstantIsRight) {
    EXPECT_EQ(seconds("2001"), 0);
    EXPECT_EQ(seconds("2001-02"), 31 * 86400);
    EXPECT_EQ(seconds("2001-01-02"), 86400);
    EXPECT_EQ(seconds("2001-01-01T01:02"), 3720);
    EXPECT_EQ(seconds("2001-01-01T01:02Z"), 3720);
    EXPECT_EQ(seconds("2001-01-01T01:02:03"), 3723);
    EXPECT_EQ(seconds("2001-01-01T01:02:03.25"), std::nullopt);
    EXPECT_EQ(seconds("2001-01-01T01:02:03.250Z"), 3723.25);
    EXPECT_EQ(seconds("2001-01-01T02:00:00+02:00"), 0);
    EXPECT_EQ(seconds("2001-01-01T02:00+0200"), 0);
    EXPECT_EQ(seconds("2000-12-31T19:30:00-04:30"), 0);
}

TEST(GivenDaysAndTimesThatDoNotExist, WhenReadThenNothing) {
    for (auto text : {"2001-02-29", "1900-02-29", "2100-02-29", "2000-02-30", "2001-00-01",
                      "2001-13-01", "2001-01-00", "2001-01-32", "2001-04-31", "0000", "0000-01-01",
                      "2001-01-01T24:00", "2001-01-01T23:60", "2001-01-01T23:59:60",
                      "2001-01-01T00:00+24:00", "2001-01-01T00:00+00:60"})
        EXPECT_EQ(seconds(text), std::nullopt) << text;
    EXPECT_TRUE(seconds("2000-02-29").has_value());
    EXPECT_TRUE(seconds("2004-02-29").has_value());
}

TEST(GivenAnyOtherText, WhenReadThenNothing) {
    for (auto text : {"",
                      "-",
                      "201",
                      "20011",
                      "2001-",
                      "2001-1",
                      "2001-01-",
                      "2001-01-1",
                      "2001-01-01T",
                      "2001-01-01T01",
                      "2001-01-01T01:",
                      "2001-01-01 01:02",
                      "2001-01-01t01:02",
                      "2001-01-01T01:02z",
                      "2001-01-01T01:02:",
                      "2001-01-01T01:02:03.",
                      "2001-01-01T01:02+",
                      "2001-01-01T01:02+02",
                      "2001-01-01T01:02ZZ",
                      "2001-01-01Z",
                      "2001Z",
                      " 2001",
                      "2001 ",
                      "+2001",
                      "-001",
                      "2001-01-01T-1:02",
                      "2001-01-01T01:02:03.1234Z",
                      "20010101"})
        EXPECT_EQ(seconds(text), std::nullopt) << text;
}

RC_GTEST_PROP(Date, ReadsWhatItWrites, ()) {
    const auto milliseconds = *rc::gen::inRange(firstMillisecond, lastMillisecond + 1);
    const Date date{static_cast<double>(milliseconds) / 1000.0};
    RC_ASSERT(dateFromISO8601(iso8601(date).view()) == date);
}

RC_GTEST_PROP(Date, AgreesWithTheCalendarOfTheSystem, ()) {
    const auto unixTime = *rc::gen::inRange<std::int64_t>(-62'135'596'800, 253'402'300'800);
    const auto time = static_cast<std::time_t>(unixTime);
    std::tm parts{};
    ASSERT_NE(gmtime_r(&time, &parts), nullptr);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ", parts.tm_year + 1900,
                  parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
    RC_ASSERT(iso8601({static_cast<double>(unixTime) - Date::unixTimeOfReferenceDate}) == text);
}

RC_GTEST_PROP(Date, TakesAnyBytesWithoutHarm, (std::string text)) {
    const auto date = dateFromISO8601(text);
    RC_ASSERT(!date || text.size() >= 4);
}
