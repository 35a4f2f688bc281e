#pragma once
#include <compare>

#include "foundation/String.h"

namespace qsml {

/// An instant: seconds since 2001-01-01 00:00:00 UTC as a 64-bit real. Nil is an empty
/// std::optional.
struct Date {
    /// Unix time of the reference date.
    static constexpr double unixTimeOfReferenceDate = 978307200.0;

    double secondsSinceReferenceDate = 0;

    friend auto operator<=>(const Date&, const Date&) = default;
};

/// ISO 8601 in UTC: "2012-12-15T00:00:00Z", with milliseconds only where there are any. Nil for
/// instants that are not finite or lie outside the years 1 to 9999.
QSML_EXPORT String iso8601(Date date);

/// Reads "YYYY", "YYYY-MM", "YYYY-MM-DD" and "YYYY-MM-DDThh:mm[:ss[.fff]][Z|±hh[:]mm]" in the
/// proleptic Gregorian calendar; without an offset it is UTC. Nothing for any other text and for
/// days and times that do not exist.
QSML_EXPORT std::optional<Date> dateFromISO8601(std::string_view text);

}  // namespace qsml
