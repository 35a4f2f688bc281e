#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/String.h"

namespace qsml::detail {

/// The two text forms of property lists, UTF-16 with the high byte first and single bytes, as
/// UTF-8.

/// Whether every byte is below 128.
bool isASCII(const void* bytes, std::size_t size) noexcept;

/// Half surrogate pairs become U+FFFD, so the result is always valid UTF-8.
std::size_t utf8SizeOfUTF16(const std::uint8_t* units, std::size_t count) noexcept;
char* utf8FromUTF16(const std::uint8_t* units, std::size_t count, char* out) noexcept;

/// Single bytes of 128 and above read as Latin-1.
std::size_t utf8SizeOfLatin1(const std::uint8_t* bytes, std::size_t count) noexcept;
char* utf8FromLatin1(const std::uint8_t* bytes, std::size_t count, char* out) noexcept;

/// UTF-16 code units of a UTF-8 text; -1 when it is not valid UTF-8.
std::int64_t utf16CountOfUTF8(std::string_view text) noexcept;
/// Writes them, high byte first. Only for valid texts.
void utf16FromUTF8(std::string_view text, std::uint8_t* out) noexcept;

}  // namespace qsml::detail
