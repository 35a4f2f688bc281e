#include "TestAudio.h"

#include <taglib/flacfile.h>
#include <taglib/mpegfile.h>
#include <taglib/tpropertymap.h>
#include <taglib/wavfile.h>

#include <cmath>
#include <cstdint>
#include <stdexcept>

#include "testing/TemporaryDirectory.h"

namespace qsml::app {

namespace {

std::string littleEndian(std::uint32_t number, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) text += static_cast<char>(number >> (8 * i));
    return text;
}

template <class File>
void tag(const std::string& path, const AudioTags& tags) {
    if (tags.empty()) return;
    File file(path.c_str());
    TagLib::PropertyMap properties;
    for (const auto& [name, values] : tags) {
        TagLib::StringList list;
        for (const std::string& value : values)
            list.append(TagLib::String(value, TagLib::String::UTF8));
        properties[TagLib::String(name)] = list;
    }
    file.setProperties(properties);
    if (!file.save()) throw std::runtime_error("Cannot tag " + path);
}

}  // namespace

void writeWAV(const std::string& path, double seconds, const AudioTags& tags) {
    const auto samples = static_cast<std::uint32_t>(std::lround(seconds * 1000));
    std::string format = littleEndian(1, 2) + littleEndian(1, 2) + littleEndian(1000, 4) +
                         littleEndian(1000, 4) + littleEndian(1, 2) + littleEndian(8, 2);
    std::string chunks = "WAVEfmt " + littleEndian(16, 4) + format + "data" +
                         littleEndian(samples, 4) + std::string(samples, '\x80');
    if (samples % 2) chunks += '\0';
    writeFile(path, "RIFF" + littleEndian(static_cast<std::uint32_t>(chunks.size()), 4) + chunks);
    tag<TagLib::RIFF::WAV::File>(path, tags);
}

void writeFLAC(const std::string& path, double seconds, const AudioTags& tags) {
    constexpr std::uint64_t rate = 44100, channels = 2, bits = 16;
    const auto samples = static_cast<std::uint64_t>(std::llround(seconds * rate));
    std::string info("\x10\x00\x10\x00\x00\x00\x00\x00\x00\x00", 10);  // sizes of blocks and frames
    const std::uint64_t packed = rate << 44 | (channels - 1) << 41 | (bits - 1) << 36 | samples;
    for (int shift = 56; shift >= 0; shift -= 8) info += static_cast<char>(packed >> shift);
    info += std::string(16, '\0');  // no digest of the sound
    writeFile(path, "fLaC" + std::string("\x80\x00\x00\x22", 4) + info);
    tag<TagLib::FLAC::File>(path, tags);
}

void writeMP3(const std::string& path, double seconds, const AudioTags& tags) {
    const std::string frame = std::string("\xFF\xFB\x90\x00", 4) + std::string(413, '\0');
    constexpr double frameSeconds = 1152.0 / 44100;
    std::string frames;
    for (double time = 0; time < seconds; time += frameSeconds) frames += frame;
    writeFile(path, frames);
    tag<TagLib::MPEG::File>(path, tags);
}

}  // namespace qsml::app
