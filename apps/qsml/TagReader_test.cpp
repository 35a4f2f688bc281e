#include "TagReader.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "TestAudio.h"
#include "testing/TemporaryDirectory.h"

namespace qsml::app {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const AudioTags everyTag = {
    {"TITLE", {"Night Drive"}}, {"ARTIST", {"The Examples"}}, {"ALBUMARTIST", {"Various"}},
    {"ALBUM", {"First"}},       {"GENRE", {"House"}},         {"LABEL", {"Label"}},
    {"DATE", {"2012-12-15"}},   {"TRACKNUMBER", {"3/12"}},    {"DISCNUMBER", {"1/2"}},
    {"COMPOSER", {"Composer"}}, {"COMMENT", {"Comment"}},     {"LYRICS", {"Lyrics"}},
    {"BPM", {"127.5"}},         {"INITIALKEY", {"Am"}},       {"ISRC", {"USRC17607839"}}};

class GivenAnAudioFile : public ::testing::Test {
protected:
    TrackTags tagsOf(const std::string& name) {
        TagReading reading = readTags(directory_.file(name), {});
        EXPECT_TRUE(reading.tags) << reading.refusal;
        repairs_ = reading.repairs;
        return reading.tags.value_or(TrackTags{});
    }
    std::string refusalOf(const std::string& name) {
        const TagReading reading = readTags(directory_.file(name), {});
        EXPECT_FALSE(reading.tags);
        return reading.refusal;
    }
    static void expectEveryTag(const TrackTags& tags) {
        EXPECT_EQ(tags.title, "Night Drive");
        EXPECT_THAT(tags.artists, ElementsAre("The Examples"));
        EXPECT_THAT(tags.albumArtists, ElementsAre("Various"));
        EXPECT_EQ(tags.album, "First");
        EXPECT_THAT(tags.genres, ElementsAre("House"));
        EXPECT_EQ(tags.label, "Label");
        EXPECT_EQ(tags.year, 2012);
        EXPECT_EQ(iso8601(tags.releaseDate.value_or(Date{})), "2012-12-15T00:00:00Z");
        EXPECT_EQ(tags.albumTrackNumber, 3);
        EXPECT_EQ(tags.albumTrackCount, 12);
        EXPECT_EQ(tags.albumDiscNumber, 1);
        EXPECT_EQ(tags.albumDiscCount, 2);
        EXPECT_EQ(tags.composer, "Composer");
        EXPECT_EQ(tags.comments, "Comment");
        EXPECT_EQ(tags.lyrics, "Lyrics");
        EXPECT_EQ(tags.bpm, 127.5f);
        EXPECT_EQ(tags.musicalKeySignatureIndex, 21);
        EXPECT_EQ(tags.isrc, "USRC17607839");
    }

    TemporaryDirectory directory_;
    std::vector<std::string> repairs_;
};

TEST_F(GivenAnAudioFile, WhenItIsFLACThenTagsAndSoundAreRead) {
    writeFLAC(directory_.file("a.flac"), 327.273, everyTag);
    const TrackTags tags = tagsOf("a.flac");
    expectEveryTag(tags);
    EXPECT_EQ(tags.durationSeconds, 327.273f);
    EXPECT_EQ(tags.sampleRate, 44100);
    EXPECT_EQ(tags.channelCount, 2);
    EXPECT_EQ(tags.contentType, "audio/flac");
    EXPECT_THAT(repairs_, IsEmpty());
}

TEST_F(GivenAnAudioFile, WhenItIsMP3ThenTagsAndSoundAreRead) {
    writeMP3(directory_.file("a.mp3"), 2, everyTag);
    const TrackTags tags = tagsOf("a.mp3");
    expectEveryTag(tags);
    EXPECT_NEAR(static_cast<double>(tags.durationSeconds), 2, 0.05);
    EXPECT_EQ(tags.bitRate, 128000);
    EXPECT_EQ(tags.contentType, "audio/mpeg");
}

TEST_F(GivenAnAudioFile, WhenItIsWAVThenTagsAndSoundAreRead) {
    writeWAV(directory_.file("a.wav"), 0.5, everyTag);
    const TrackTags tags = tagsOf("a.wav");
    expectEveryTag(tags);
    EXPECT_EQ(tags.durationSeconds, 0.5f);
    EXPECT_EQ(tags.sampleRate, 1000);
    EXPECT_EQ(tags.channelCount, 1);
    EXPECT_EQ(tags.contentType, "audio/wav");
}

TEST_F(GivenAnAudioFile, WhenATagHasSeveralValuesThenTheyStayApart) {
    writeFLAC(directory_.file("a.flac"), 1, {{"ARTIST", {"A", "B"}}, {"GENRE", {"X", "Y"}}});
    const TrackTags tags = tagsOf("a.flac");
    EXPECT_THAT(tags.artists, ElementsAre("A", "B"));
    EXPECT_THAT(tags.genres, ElementsAre("X", "Y"));
}

TEST_F(GivenAnAudioFile, WhenItHasNoTitleThenItsNameIsTheTitle) {
    writeWAV(directory_.file("808 Kick.v2.wav"), 0.2);
    writeWAV(directory_.file(".hidden"), 0.2);
    EXPECT_EQ(tagsOf("808 Kick.v2.wav").title, "808 Kick.v2");
    writeFLAC(directory_.file("bad\xFF.flac"), 1);
    EXPECT_EQ(tagsOf("bad\xFF.flac").title, "bad\\xFF");
}

TEST_F(GivenAnAudioFile, WhenItIsReadThenItsDateOfChangeIsKnown) {
    const std::string path = directory_.file("a.flac");
    writeFLAC(path, 1);
    const timespec times[2] = {{1700000000, 250000000}, {1700000000, 250000000}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    ASSERT_TRUE(tagsOf("a.flac").modifiedDate);
    EXPECT_EQ(iso8601(*tagsOf("a.flac").modifiedDate), "2023-11-14T22:13:20.250Z");
}

TEST_F(GivenAnAudioFile, WhenACommentIsNoUTF8ThenOnlyItIsLostAndNamed) {
    const std::string path = directory_.file("a.flac");
    writeFLAC(path, 1, {{"TITLE", {"PLACEHOLDER"}}, {"ARTIST", {"Artist"}}});
    std::string bytes = contentOf(path);
    bytes.replace(bytes.find("PLACEHOLDER"), 2, "\xFF\xFE");
    writeFile(path, bytes);
    const TrackTags tags = tagsOf("a.flac");
    EXPECT_EQ(tags.title, "a");
    EXPECT_THAT(tags.artists, ElementsAre("Artist"));
    EXPECT_THAT(repairs_, ElementsAre("TITLE is empty or not valid text"));
}

TEST_F(GivenAnAudioFile, WhenAnID3TextIsNoUTF8ThenOnlyItIsLostAndNamed) {
    const std::string path = directory_.file("a.mp3");
    writeMP3(path, 1, {{"TITLE", {"PLACEH\u014CLDER"}}, {"ARTIST", {"Artist"}}});
    std::string bytes = contentOf(path);
    const auto place = bytes.find("PLACEH");
    ASSERT_NE(place, std::string::npos) << "the title is expected in UTF-8";
    bytes.replace(place, 2, "\xFF\xFE");
    writeFile(path, bytes);
    EXPECT_EQ(tagsOf("a.mp3").title, "a");
    EXPECT_THAT(repairs_, ElementsAre("TITLE is empty or not valid text"));
}

TEST_F(GivenAnAudioFile, WhenItIsNoAudioThenItIsRefused) {
    writeFile(directory_.file("empty.mp3"), "");
    writeFile(directory_.file("text.txt"), "hello");
    writeFile(directory_.file("text.mp3"), "hello");
    writeFile(directory_.file("text.flac"), "hello");
    EXPECT_EQ(refusalOf("empty.mp3"), "is empty");
    EXPECT_EQ(refusalOf("text.txt"), "is not audio");
    EXPECT_EQ(refusalOf("text.mp3"), "is not audio, or its audio is damaged");
    EXPECT_EQ(refusalOf("text.flac"), "is not audio");
    EXPECT_THAT(refusalOf("missing.mp3"), HasSubstr("cannot be read: No such file"));
}

TEST_F(GivenAnAudioFile, WhenItIsCutAnywhereThenItIsReadOrRefused) {
    writeFLAC(directory_.file("whole.flac"), 2, everyTag);
    writeWAV(directory_.file("whole.wav"), 0.1, everyTag);
    for (const char* name : {"whole.flac", "whole.wav"}) {
        const std::string whole = contentOf(directory_.file(name));
        std::size_t refused = 0;
        for (std::size_t size = 0; size < 400; size += 7) {
            writeFile(directory_.file("cut.bin"), whole.substr(0, size));
            const TagReading reading = readTags(directory_.file("cut.bin"), {});
            EXPECT_NE(reading.tags.has_value(), !reading.refusal.empty());
            if (!reading.tags) ++refused;
        }
        EXPECT_GT(refused, 0u) << name;
    }
}

}  // namespace
}  // namespace qsml::app
