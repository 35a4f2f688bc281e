#include "TagReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <taglib/aifffile.h>
#include <taglib/apefile.h>
#include <taglib/asffile.h>
#include <taglib/audioproperties.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/oggfile.h>
#include <taglib/opusfile.h>
#include <taglib/speexfile.h>
#include <taglib/tpropertymap.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/wavpackfile.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <system_error>

#include "printable.h"
#include "xiphComments.h"

namespace qsml::app {

namespace {

const char* contentTypeOf(const TagLib::File& file) {
    if (dynamic_cast<const TagLib::MPEG::File*>(&file)) return "audio/mpeg";
    if (dynamic_cast<const TagLib::FLAC::File*>(&file)) return "audio/flac";
    if (dynamic_cast<const TagLib::MP4::File*>(&file)) return "audio/mp4";
    if (dynamic_cast<const TagLib::Ogg::File*>(&file)) return "audio/ogg";
    if (dynamic_cast<const TagLib::RIFF::WAV::File*>(&file)) return "audio/wav";
    if (dynamic_cast<const TagLib::RIFF::AIFF::File*>(&file)) return "audio/aiff";
    if (dynamic_cast<const TagLib::ASF::File*>(&file)) return "audio/x-ms-wma";
    if (dynamic_cast<const TagLib::APE::File*>(&file)) return "audio/x-ape";
    if (dynamic_cast<const TagLib::WavPack::File*>(&file)) return "audio/x-wavpack";
    return "audio/x-unknown";
}

/// The block of Vorbis comments as it is in the file; empty for formats without one.
std::string commentBlock(TagLib::File& file, const std::string& path) {
    if (dynamic_cast<TagLib::FLAC::File*>(&file)) return flacCommentBlock(path);
    auto* const ogg = dynamic_cast<TagLib::Ogg::File*>(&file);
    std::size_t head = 0;  // what stands before the block in the second packet
    if (dynamic_cast<TagLib::Vorbis::File*>(ogg))
        head = 7;  // "\x03vorbis"
    else if (dynamic_cast<TagLib::Ogg::Opus::File*>(ogg))
        head = 8;  // "OpusTags"
    else if (!dynamic_cast<TagLib::Ogg::Speex::File*>(ogg))
        return {};
    const TagLib::ByteVector packet = ogg->packet(1);
    return packet.size() <= head ? std::string()
                                 : std::string(packet.data() + head, packet.size() - head);
}

TagFields fieldsOf(TagLib::File& file, const std::string& path) {
    TagFields fields;
    for (const auto& [name, texts] : file.properties()) {
        auto& values = fields[name.upper().to8Bit(true)];
        for (const TagLib::String& text : texts) values.push_back(text.to8Bit(true));
    }
    for (const std::string& name : xiphFieldsWithInvalidText(commentBlock(file, path)))
        fields[name].emplace_back();
    return fields;
}

/// Why the file holds no sound that we could name a length of; empty when it does.
std::string soundProblem(const TagLib::AudioProperties* sound) {
    if (!sound || sound->sampleRate() <= 0) return "is not audio, or its audio is damaged";
    if (sound->lengthInMilliseconds() <= 0)
        return "holds no audio of any length; it may have been cut off";
    return {};
}

void takeSound(const TagLib::AudioProperties& sound, TrackTags& tags) {
    tags.durationSeconds = static_cast<float>(sound.lengthInMilliseconds()) / 1000.0f;
    tags.channelCount = sound.channels();
    tags.sampleRate = sound.sampleRate();
    tags.bitRate = std::int64_t{1000} * sound.bitrate();
}

/// The last part of the path without its suffix; bytes that are no text are escaped.
std::string titleFromPath(const std::string& path) {
    std::string name = path.substr(path.rfind('/') + 1);
    const auto dot = name.rfind('.');
    if (dot != std::string::npos && dot > 0) name.resize(dot);
    return printable(name);
}

/// Why the file cannot be read at all, else nothing; fills the date of its last change.
std::string openProblem(const std::string& path, std::optional<Date>& modifiedDate) {
    // Not blocking: the file may have become a pipe since it was listed.
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return "cannot be read: " + std::generic_category().message(errno);
    struct stat status = {};
    const bool isKnown = ::fstat(file, &status) == 0;
    char byte = 0;
    const ssize_t got = ::pread(file, &byte, 1, 0);
    const std::string failure = got < 0 ? std::generic_category().message(errno) : "";
    ::close(file);
    if (got < 0) return "cannot be read: " + failure;
    if (got == 0) return "is empty";
    if (isKnown)
        modifiedDate =
            Date{static_cast<double>(status.st_mtim.tv_sec) +
                 static_cast<double>(status.st_mtim.tv_nsec) / 1e9 - Date::unixTimeOfReferenceDate};
    return {};
}

TagReading readWithTagLib(const std::string& path, const TagOptions& options) {
    TagReading reading;
    TrackTags tags;
    reading.refusal = openProblem(path, tags.modifiedDate);
    if (!reading.refusal.empty()) return reading;
    TagLib::FileRef reference(path.c_str(), true, TagLib::AudioProperties::Average);
    if (reference.isNull() || !reference.file()->isValid()) {
        reading.refusal = "is not audio";
        return reading;
    }
    reading.refusal = soundProblem(reference.audioProperties());
    if (!reading.refusal.empty()) return reading;
    takeSound(*reference.audioProperties(), tags);
    tags.contentType = contentTypeOf(*reference.file());
    takeFields(fieldsOf(*reference.file(), path), options, tags, reading.repairs);
    if (tags.title.empty()) tags.title = titleFromPath(path);
    reading.tags = std::move(tags);
    return reading;
}

}  // namespace

TagReading readTags(const std::string& path, const TagOptions& options) {
    try {
        return readWithTagLib(path, options);
    } catch (const std::exception& exception) {
        return {.refusal = "cannot be read: " + std::string(exception.what())};
    } catch (...) {
        return {.refusal = "cannot be read"};
    }
}

}  // namespace qsml::app
