#include "foundation/Date.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace qsml {

namespace {

constexpr std::int64_t millisecondsPerDay = 86'400'000;
/// From 0000-03-01, where the year of the calculation begins, to the reference date.
constexpr std::int64_t daysToReferenceDate = 730'791;

bool isLeapYear(int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

int daysInMonth(int year, int month) {
    constexpr std::array<int, 12> days{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : days[static_cast<std::size_t>(month - 1)];
}

// Years are counted from March, so that the leap day is a year's last day.
std::int64_t daysSinceReferenceDate(int year, int month, int day) {
    const int shifted = month > 2 ? year : year - 1;
    const int monthFromMarch = (month + 9) % 12;
    const int dayOfYear = (153 * monthFromMarch + 2) / 5 + day - 1;
    return std::int64_t{365} * shifted + shifted / 4 - shifted / 100 + shifted / 400 + dayOfYear -
           daysToReferenceDate;
}

struct CivilDay {
    int year, month, day;
};

/// For days from 0000-03-01 on.
CivilDay civilDay(std::int64_t sinceReferenceDate) {
    const std::int64_t days = sinceReferenceDate + daysToReferenceDate;
    const std::int64_t era = days / 146'097;  // 400 years
    const auto dayOfEra = static_cast<int>(days % 146'097);
    const int yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
    const int dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int monthFromMarch = (5 * dayOfYear + 2) / 153;
    const int month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    const int year = static_cast<int>(era) * 400 + yearOfEra + (month <= 2 ? 1 : 0);
    return {year, month, dayOfYear - (153 * monthFromMarch + 2) / 5 + 1};
}

/// Takes a text apart from the front. Once something does not fit, everything fails.
class Reader {
public:
    explicit Reader(std::string_view text) : rest_(text) {}

    bool atEnd() const { return rest_.empty(); }
    bool ok() const { return ok_; }

    /// Exactly that many digits with a value from least to most.
    int number(std::size_t digits, int least, int most) {
        int value = 0;
        for (std::size_t i = 0; i < digits; ++i) {
            if (i >= rest_.size() || rest_[i] < '0' || rest_[i] > '9') return fail();
            value = value * 10 + (rest_[i] - '0');
        }
        if (value < least || value > most) return fail();
        rest_.remove_prefix(digits);
        return value;
    }
    bool skip(char c) {
        if (rest_.empty() || rest_[0] != c) return false;
        rest_.remove_prefix(1);
        return true;
    }
    void require(char c) {
        if (!skip(c)) fail();
    }

private:
    int fail() {
        ok_ = false;
        return 1;  // a month and a day that exist
    }

    std::string_view rest_;
    bool ok_ = true;
};

int offsetMinutes(Reader& reader) {
    if (reader.atEnd() || reader.skip('Z')) return 0;
    const int sign = reader.skip('-') ? -1 : 1;
    if (sign > 0) reader.require('+');
    const int hours = reader.number(2, 0, 23);
    reader.skip(':');
    return sign * (hours * 60 + reader.number(2, 0, 59));
}

/// From midnight UTC on; negative or more than a day where the offset makes it so.
std::int64_t readTime(Reader& reader) {
    std::int64_t milliseconds = reader.number(2, 0, 23) * std::int64_t{3'600'000};
    reader.require(':');
    milliseconds += reader.number(2, 0, 59) * std::int64_t{60'000};
    if (reader.skip(':')) {
        milliseconds += reader.number(2, 0, 59) * std::int64_t{1000};
        if (reader.skip('.')) milliseconds += reader.number(3, 0, 999);
    }
    return milliseconds - offsetMinutes(reader) * std::int64_t{60'000};
}

}  // namespace

String iso8601(Date date) {
    const double milliseconds = std::round(date.secondsSinceReferenceDate * 1000);
    const auto earliest = static_cast<double>(daysSinceReferenceDate(1, 1, 1) * millisecondsPerDay);
    const auto end = static_cast<double>(daysSinceReferenceDate(10'000, 1, 1) * millisecondsPerDay);
    if (!(milliseconds >= earliest && milliseconds < end)) return {};

    const auto total = static_cast<std::int64_t>(milliseconds);
    const std::int64_t timeOfDay =
        ((total % millisecondsPerDay) + millisecondsPerDay) % millisecondsPerDay;
    const CivilDay day = civilDay((total - timeOfDay) / millisecondsPerDay);
    const int seconds = static_cast<int>(timeOfDay / 1000);
    const int fraction = static_cast<int>(timeOfDay % 1000);

    std::array<char, 96> text{};
    int size = std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d", day.year,
                             day.month, day.day, seconds / 3600, seconds / 60 % 60, seconds % 60);
    const auto rest = text.data() + size;
    const auto room = text.size() - static_cast<std::size_t>(size);
    size += fraction == 0 ? std::snprintf(rest, room, "Z")
                          : std::snprintf(rest, room, ".%03dZ", fraction);
    return String(std::string_view(text.data(), static_cast<std::size_t>(size)));
}

std::optional<Date> dateFromISO8601(std::string_view text) {
    Reader reader(text);
    const int year = reader.number(4, 1, 9999);
    const bool hasMonth = reader.skip('-');
    const int month = hasMonth ? reader.number(2, 1, 12) : 1;
    const bool hasDay = hasMonth && reader.skip('-');
    const int day = hasDay ? reader.number(2, 1, daysInMonth(year, month)) : 1;
    const std::int64_t timeOfDay = hasDay && reader.skip('T') ? readTime(reader) : 0;
    if (!reader.ok() || !reader.atEnd()) return std::nullopt;
    // One division of whole milliseconds gives the double nearest to the written instant.
    const std::int64_t total =
        daysSinceReferenceDate(year, month, day) * millisecondsPerDay + timeOfDay;
    return Date{static_cast<double>(total) / 1000.0};
}

}  // namespace qsml
