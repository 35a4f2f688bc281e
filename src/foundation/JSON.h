#pragma once
#include "foundation/Error.h"

namespace qsml {

/// The value as compact JSON text: no blanks, keys in the dictionary's order, reals with the fewest
/// digits that read back to the same number of their width. Nil when it cannot be written: it holds
/// a real that is not finite, text that is not UTF-8, a key that is no text, more than 512 levels,
/// or a kind that JSON has no form for (nil, dates, data, URLs, UUIDs, sets, objects).
/// Thread-safe.
QSML_EXPORT String jsonText(const Value& value);

/// The value of a JSON text: whole numbers as integers where 64 bits hold them, other numbers as
/// 64-bit reals, null as Null. Of equal keys in one object the last wins. Nil, with the error
/// filled, for text that is no JSON, is not UTF-8, nests deeper than 512 levels or holds a number
/// too large for a 64-bit real. Thread-safe.
QSML_EXPORT Value valueOfJSONText(std::string_view text, Error* error = nullptr);

/// The number of an entry of a JSON object, which may also be given as text: leading white space, a
/// sign, the longest numeric prefix; anything else is 0. Whole numbers saturate and cut off
/// fractions.
QSML_EXPORT float floatOfJSONEntry(const Value& entry);
QSML_EXPORT std::int64_t integerOfJSONEntry(const Value& entry);

}  // namespace qsml
