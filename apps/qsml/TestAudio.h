#pragma once
#include <map>
#include <string>
#include <vector>

namespace qsml::app {

/// Property names, as "ARTIST", and their values.
using AudioTags = std::map<std::string, std::vector<std::string>>;

// Audio files without an encoder: valid headers, silence, and the tags. Each replaces the file.

/// 1,000 Hz, 8 bits, mono; ID3v2 tags.
void writeWAV(const std::string& path, double seconds, const AudioTags& tags = {});
/// 44,100 Hz, stereo, no frames; Vorbis comments.
void writeFLAC(const std::string& path, double seconds, const AudioTags& tags = {});
/// 44,100 Hz, 128 kbit/s, stereo, in frames of 26 ms; ID3v2 tags.
void writeMP3(const std::string& path, double seconds, const AudioTags& tags = {});

}  // namespace qsml::app
