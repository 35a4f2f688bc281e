#pragma once
#include <optional>
#include <string>
#include <vector>

#include "TrackTags.h"

namespace qsml::app {

/// What became of one file: its tags, or why it was refused.
struct TagReading {
    std::optional<TrackTags> tags = {};
    std::string refusal = {};               ///< a reason, as "is not audio"; when there are no tags
    std::vector<std::string> repairs = {};  ///< what of the tags was left out, and why
};

/// Reads a regular file. Never throws, whatever the file holds. A file without a title gets its
/// name without suffix as title, so that untitled files stay apart.
TagReading readTags(const std::string& path, const TagOptions& options);

}  // namespace qsml::app
