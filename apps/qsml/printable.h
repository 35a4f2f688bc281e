#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace qsml::app {

/// The text as valid UTF-8 that moves no cursor: bytes that are no UTF-8 and control characters
/// (C0, DEL, C1, and those that turn the direction of writing) become "\xNN". Cut, with an
/// ellipsis, before `mostBytes` are exceeded; 0 means whole.
std::string printable(std::string_view text, std::size_t mostBytes = 0);

/// The columns of a terminal that a printable text takes: 2 for wide characters, 0 for combining
/// ones.
std::size_t displayWidth(std::string_view text);

/// The text cut, with an ellipsis, or filled with blanks to exactly that many columns.
std::string fitted(std::string_view text, std::size_t columns);

}  // namespace qsml::app
