#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace qsml::app {

/// The names, in upper case, of the comments whose value is not valid UTF-8. TagLib drops such
/// values without a word, so they would be lost unnoticed. `block` begins at the length of the
/// vendor text. Damaged blocks are read as far as they go.
std::vector<std::string> xiphFieldsWithInvalidText(std::string_view block);

/// The comment block of a FLAC file, read past any ID3v2 tag in front; empty when there is none.
std::string flacCommentBlock(const std::string& path);

}  // namespace qsml::app
