#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <QSMediaLibraryData/foundation/Date.h>

namespace qsml::app {

// How the texts of tags become values. Each answers nothing for a text that makes no sense.

/// "3", "03" and "3/12"; the parts that are missing or 0 are 0. Numbers up to 999,999.
struct NumberAndCount {
    std::int64_t number = 0;
    std::int64_t count = 0;
};
std::optional<NumberAndCount> numberAndCountFromTag(std::string_view text);

/// Beats per minute, above 0 and below 1000, with a point or a comma; 0 stays 0, "unknown".
std::optional<float> tempoFromTag(std::string_view text);

/// A date tag gives a year, and a day only where it names one: "2012" is no day.
struct ReleaseTime {
    std::int64_t year = 0;
    std::optional<Date> date = {};
    bool isWhole = true;  ///< false: only the year made sense
};
/// ISO 8601, also with a blank for the T.
std::optional<ReleaseTime> releaseTimeFromTag(std::string_view text);

/// The twelve characters of an ISRC in upper case, without blanks and hyphens.
std::optional<std::string> isrcFromTag(std::string_view text);

/// Splits a text of several names at ";", ",", " / ", " & ", " feat. ", " feat ", " ft. ", " ft ",
/// " featuring " and " vs. " (words in either case). Names come trimmed, empty ones are left out.
std::vector<std::string> splitNames(std::string_view text);

}  // namespace qsml::app
