#pragma once
#include <cstdint>
#include <optional>
#include <string>

#include "foundation/Date.h"
#include "foundation/String.h"
#include "foundation/collation.h"

namespace qsml::detail {

// Bytes that sort as safeCompare and safeLocalizedCaseInsensitiveCompare order the values: what has
// no value comes last.

std::string sortKeyOf(const String& text);
/// By the collation in the place of the current locale.
std::string localizedSortKeyOf(const String& text, const Collation& collation);
std::string sortKeyOf(std::int64_t number);
/// The newest first.
std::string newestFirstSortKeyOf(const std::optional<Date>& date);

}  // namespace qsml::detail
