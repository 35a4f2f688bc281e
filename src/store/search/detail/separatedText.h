#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "foundation/String.h"

namespace qsml::detail {

/// Scripts without blanks (Chinese and Japanese characters, Thai, Lao, Burmese, Khmer): the module
/// takes a run of their letters for one word, and so would find only its beginning. We set a blank
/// on each side of each such character; each is then a word, and a run of them in a query, set
/// apart likewise, is a phrase, which is found anywhere.
String separatedText(const String& text);
std::string separatedText(std::string_view text);

/// The same for the words and quotations of a query in the module's language, so that it finds what
/// it would have found had the module known those scripts. Names of columns stay.
std::string separatedQuery(std::string_view query, const std::vector<std::string>& columns);

}  // namespace qsml::detail
