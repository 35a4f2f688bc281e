#pragma once
#include <cstdint>
#include <string_view>

namespace qsml::app {

/// The table of musical keys that `musicalKeySignatureIndex` points into, stated here and nowhere
/// else: 0 to 11 are the major keys from C upwards by semitones (0 C, 1 C#, ... 11 B), 12 to 23 the
/// minor keys from C minor (12 Cm, ... 23 Bm). -1 is an unknown key.
inline constexpr std::int64_t unknownMusicalKey = -1;

/// Reads a key as tags write it: a note with an optional sharp or flat and an optional mode ("Am",
/// "C#m", "Db", "F# minor", "Bb maj"), a place on the Camelot wheel ("8A" is A minor, "8B" C major)
/// or in Open Key ("1m" is A minor, "1d" C major). Unknown for anything else.
std::int64_t musicalKeyIndex(std::string_view text);

/// The short name with sharps, as "F#m"; empty for an index outside the table.
std::string_view musicalKeyName(std::int64_t index);

}  // namespace qsml::app
