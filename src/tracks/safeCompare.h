#pragma once
#include "foundation/Date.h"
#include "foundation/Value.h"

namespace qsml {

// Orders of optional values, for the sorting of views: -1 ascending, 0 same, 1 descending. Nil
// comes after every value, and is the same as nil. Thread-safe.

/// Texts by their bytes, which is the order of their Unicode scalar values.
QSML_EXPORT int safeCompare(const String& a, const String& b) noexcept;
QSML_EXPORT int safeCompare(const std::optional<Date>& a, const std::optional<Date>& b) noexcept;
/// Numbers by value, whatever their kinds (NaN before every other); texts and dates as above.
/// Values of kinds that do not compare with each other are ordered by kind.
QSML_EXPORT int safeCompare(const Value& a, const Value& b);

/// Texts by the current locale's rules, ignoring case only.
QSML_EXPORT int safeLocalizedCaseInsensitiveCompare(const String& a, const String& b);

}  // namespace qsml
