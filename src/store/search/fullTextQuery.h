#pragma once
#include <string>
#include <string_view>

#include "foundation/Export.h"

namespace qsml {

/// A query for what a person typed, never a malformed one, whatever the bytes: rows that hold all
/// its words, the last as the beginning of a word. "rock & ro" gives "\"rock\" AND \"ro\"*". What
/// stands between blanks is one word; where it holds several, as in "AC/DC" or in a script without
/// blanks, these must follow each other. Bytes that are not UTF-8 and control characters count as
/// blanks; words without a letter or digit are left out, as are words after the first hundred.
/// Empty when nothing is left: an empty query finds nothing.
QSML_EXPORT std::string fullTextQueryForTypedText(std::string_view text);

/// A query for rows whose column holds the text among others, as an identifier in a list. Finds
/// each such row as long as blanks stand around the text there and it holds a letter, a digit or a
/// token character of the index; it may find others, because the index knows nothing of letter
/// case, accents and punctuation: compare what the found rows hold with the text.
QSML_EXPORT std::string fullTextQueryForExactToken(std::string_view column, std::string_view token);

}  // namespace qsml
