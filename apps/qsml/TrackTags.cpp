#include "TrackTags.h"

#include <QSMediaLibraryData/foundation/text.h>

#include <initializer_list>

#include "printable.h"
#include "tagTexts.h"

namespace qsml::app {

namespace {

using Names = std::initializer_list<const char*>;

/// Reads fields one by one and keeps a list of what was left out.
class FieldReader {
public:
    FieldReader(const TagFields& fields, std::vector<std::string>& repairs)
        : fields_(fields), repairs_(repairs) {}

    /// The usable values of the first of these fields that has any, trimmed.
    std::vector<std::string> values(Names names) {
        for (const char* name : names) {
            const auto found = fields_.find(name);
            if (found == fields_.end()) continue;
            std::vector<std::string> usable;
            for (const std::string& value : found->second) take(name, value, usable);
            if (!usable.empty()) return usable;
        }
        return {};
    }

    String text(Names names) {
        const auto all = values(names);
        return all.empty() ? String() : String(all.front());
    }

    /// The field read by `parse`; a text that makes no sense is named as a repair.
    template <class Parse>
    auto parsed(Names names, const char* what, Parse parse) -> decltype(parse("")) {
        const auto all = values(names);
        if (all.empty()) return {};
        auto result = parse(all.front());
        if (!result) leftOut(*names.begin(), all.front(), what);
        return result;
    }

    void leftOut(const char* name, const std::string& value, const char* what) {
        repairs_.push_back(std::string(name) + " \"" + printable(value, 60) + "\" is no " + what);
    }

private:
    void take(const char* name, const std::string& value, std::vector<std::string>& usable) {
        if (value.empty() || !isValidUTF8(value)) {
            repairs_.push_back(std::string(name) + " is empty or not valid text");
            return;
        }
        const auto trimmed = trimmingWhitespaceAndNewlines(value);
        if (!trimmed.empty()) usable.emplace_back(trimmed);
    }

    const TagFields& fields_;
    std::vector<std::string>& repairs_;
};

std::vector<std::string> split(const std::vector<std::string>& texts, const TagOptions& options) {
    if (!options.splitsNames) return texts;
    std::vector<std::string> names;
    for (const std::string& text : texts)
        for (std::string& name : splitNames(text)) names.push_back(std::move(name));
    return names;
}

String joined(const std::vector<std::string>& texts) {
    if (texts.empty()) return {};
    std::string all = texts.front();
    for (std::size_t i = 1; i < texts.size(); ++i) all += ", " + texts[i];
    return all;
}

void takeNames(FieldReader& reader, const TagOptions& options, TrackTags& tags) {
    const auto artists = reader.values({"ARTIST", "ARTISTS"});
    tags.artistText = joined(artists);
    tags.artists = split(artists, options);
    tags.albumArtists = split(reader.values({"ALBUMARTIST", "ALBUM ARTIST"}), options);
    tags.genres = split(reader.values({"GENRE"}), options);
}

void takeTexts(FieldReader& reader, TrackTags& tags) {
    tags.title = reader.text({"TITLE"});
    tags.album = reader.text({"ALBUM"});
    tags.label = reader.text({"LABEL", "ORGANIZATION", "PUBLISHER"});
    tags.composer = joined(reader.values({"COMPOSER"}));
    tags.grouping = reader.text({"GROUPING", "CONTENTGROUP", "WORK"});
    tags.comments = reader.text({"COMMENT", "DESCRIPTION"});
    tags.lyrics = reader.text({"LYRICS", "UNSYNCEDLYRICS"});
    const auto isrc = reader.parsed({"ISRC"}, "ISRC", isrcFromTag);
    if (isrc) tags.isrc = *isrc;
}

void takeReleaseTime(FieldReader& reader, TrackTags& tags) {
    for (const char* name : {"RELEASEDATE", "DATE", "YEAR"}) {
        const auto time = reader.parsed({name}, "date", releaseTimeFromTag);
        if (!time) continue;
        tags.year = time->year;
        tags.releaseDate = time->date;
        if (!time->isWhole) reader.leftOut(name, reader.text({name}).str(), "whole date");
        return;
    }
}

void takeNumbers(FieldReader& reader, TrackTags& tags) {
    const auto number = [&](Names names) {
        return reader.parsed(names, "number", numberAndCountFromTag).value_or(NumberAndCount{});
    };
    const NumberAndCount track = number({"TRACKNUMBER"}), disc = number({"DISCNUMBER"});
    tags.albumTrackNumber = track.number;
    tags.albumTrackCount = track.count ? track.count : number({"TRACKTOTAL", "TOTALTRACKS"}).number;
    tags.albumDiscNumber = disc.number;
    tags.albumDiscCount = disc.count ? disc.count : number({"DISCTOTAL", "TOTALDISCS"}).number;
    tags.albumType = number({"COMPILATION"}).number == 1 ? 1 : 0;
    tags.explicitContent = number({"ITUNESADVISORY"}).number == 1;
}

void takeMusic(FieldReader& reader, TrackTags& tags) {
    tags.bpm = reader.parsed({"BPM", "TEMPO"}, "tempo", tempoFromTag).value_or(0.0f);
    const auto key = reader.parsed({"INITIALKEY", "KEY"}, "musical key", [](std::string_view text) {
        const std::int64_t index = musicalKeyIndex(text);
        return index == unknownMusicalKey ? std::optional<std::int64_t>() : index;
    });
    tags.musicalKeySignatureIndex = key.value_or(unknownMusicalKey);
}

}  // namespace

std::size_t TrackTags::textSize() const {
    std::size_t size = 0;
    for (const String* text :
         {&title, &artistText, &album, &label, &composer, &grouping, &comments, &lyrics})
        size += text->size();
    for (const auto* names : {&artists, &albumArtists, &genres})
        for (const std::string& name : *names) size += name.size();
    return size;
}

void takeFields(const TagFields& fields, const TagOptions& options, TrackTags& tags,
                std::vector<std::string>& repairs) {
    FieldReader reader(fields, repairs);
    takeNames(reader, options, tags);
    takeTexts(reader, tags);
    takeReleaseTime(reader, tags);
    takeNumbers(reader, tags);
    takeMusic(reader, tags);
}

}  // namespace qsml::app
