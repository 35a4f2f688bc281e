#pragma once
#include "foundation/String.h"

namespace qsml {

/// Lower case by the full Unicode mapping, independent of any locale ("ẞ" gives "ß", final sigma
/// its final form). Record keys depend on it.
QSML_EXPORT String lowercased(std::string_view text);

/// Without leading and trailing characters of the set 0009-000D, 0020, 0085, 00A0, 1680, 2000-200A,
/// 2028, 2029, 202F, 205F, 3000 (Unicode scalar values).
QSML_EXPORT std::string_view trimmingWhitespaceAndNewlines(std::string_view text);

/// Trimmed as above; nil when nothing is left or the text is nil.
QSML_EXPORT String chuzzle(const String& text);

/// The order of two texts by the current locale's rules, ignoring case only: -1, 0 or 1. Stable for
/// a locale across machines with the same ICU data.
QSML_EXPORT int localizedCaseInsensitiveCompare(std::string_view a, std::string_view b);

/// Sets the process's locale for comparisons, as "en_US"; an empty text means the system's.
/// Comparisons already running keep the old one, and so do the lists of a library that is set up:
/// they are sorted anew when it is opened again.
QSML_EXPORT void setCurrentLocale(std::string_view identifier);
QSML_EXPORT std::string currentLocale();

/// Whether the bytes are well-formed UTF-8 (no surrogates, no overlong forms, at most U+10FFFF).
QSML_EXPORT bool isValidUTF8(std::string_view text) noexcept;

/// Nearest integer, halves away from zero; NaN gives 0, values outside the range are clamped.
QSML_EXPORT std::int64_t roundedHalfAwayFromZero(float value) noexcept;

/// Lower-case hexadecimal MD5 of the UTF-8 bytes: 32 characters. An identifier, not a security
/// measure. Its form never changes: records are keyed by it.
QSML_EXPORT String md5Hash(std::string_view text);

}  // namespace qsml
