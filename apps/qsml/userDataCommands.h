#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "commands.h"

namespace qsml::app {

// What the user sets up for one track. A track is a UUID, the start of one that only one track has,
// or a title.

struct MarkOptions {
    std::string track;
    std::optional<std::int64_t> number;  ///< of the new mark; nothing: the first that is free
    float time = 0;                      ///< seconds; of a loop, its start
    float endTime = 0;                   ///< seconds
    std::string comment;
    bool replaces = false;
    std::vector<std::int64_t> numbers;  ///< of the marks to remove
};
int runCueAdd(const CommonOptions& common, const MarkOptions& options);
int runCueList(const CommonOptions& common, const MarkOptions& options);
int runCueRemove(const CommonOptions& common, const MarkOptions& options);
int runCueClear(const CommonOptions& common, const MarkOptions& options);
int runLoopAdd(const CommonOptions& common, const MarkOptions& options);
int runLoopList(const CommonOptions& common, const MarkOptions& options);
int runLoopRemove(const CommonOptions& common, const MarkOptions& options);
int runLoopClear(const CommonOptions& common, const MarkOptions& options);

/// One setting: neither a value nor `clears` shows it.
struct SettingOptions {
    std::string track;
    std::string value;
    bool clears = false;
};
int runRate(const CommonOptions& common, const SettingOptions& options);
int runEnergy(const CommonOptions& common, const SettingOptions& options);
/// The tempo that the user has set, over the analysed one.
int runBPM(const CommonOptions& common, const SettingOptions& options);
/// The key that the user has set, by name or index.
int runKey(const CommonOptions& common, const SettingOptions& options);
/// Counts one more time of playing.
int runPlayed(const CommonOptions& common, const std::string& track);

struct TagOptionsOfTrack {
    std::string track;
    std::vector<std::string> tags;
    std::string group;  ///< whose texts are to be chosen from; empty: any text will do
};
int runTagAdd(const CommonOptions& common, const TagOptionsOfTrack& options);
int runTagRemove(const CommonOptions& common, const TagOptionsOfTrack& options);
int runTagList(const CommonOptions& common, const TagOptionsOfTrack& options);

}  // namespace qsml::app
