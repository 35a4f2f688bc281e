#pragma once
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <QSMediaLibraryData/foundation/Date.h>

#include "musicalKeys.h"

namespace qsml::app {

/// What one file says about its track, cleaned: texts are trimmed valid UTF-8, empty ones nil.
/// Numbers are 0 when unknown. A plain value.
struct TrackTags {
    String title;
    std::vector<std::string> artists;  ///< in credit order
    std::vector<std::string> albumArtists;
    std::vector<std::string> genres;
    /// The artists as tagged, joined with ", ", before any splitting: a part of the identity.
    String artistText;
    String album, label, composer, grouping, comments, lyrics, isrc, contentType;
    std::optional<Date> releaseDate, modifiedDate;
    std::int64_t year = 0;
    std::int64_t albumType = 0;  ///< 1 for a compilation, else 0
    std::int64_t albumTrackNumber = 0, albumTrackCount = 0;
    std::int64_t albumDiscNumber = 0, albumDiscCount = 0;
    float bpm = 0;
    float durationSeconds = 0;
    bool explicitContent = false;
    std::int64_t channelCount = 0;
    std::int64_t sampleRate = 0;  ///< Hz
    std::int64_t bitRate = 0;     ///< bits a second
    std::int64_t musicalKeySignatureIndex = unknownMusicalKey;

    /// Bytes of text, for bounding what is kept in memory.
    std::size_t textSize() const;
};

/// The values of a file's tags by upper-case name. A value that is there but could not be read as
/// text is empty.
using TagFields = std::map<std::string, std::vector<std::string>>;

struct TagOptions {
    bool splitsNames = false;  ///< one text may hold several artists or genres
};

/// Fills the tags from the fields. What makes no sense is left out and named in `repairs`, as
/// "BPM \"fast\" is no tempo".
void takeFields(const TagFields& fields, const TagOptions& options, TrackTags& tags,
                std::vector<std::string>& repairs);

}  // namespace qsml::app
