#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QsmlProgram.h"

namespace qsml::app {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class GivenAMusicFolder : public QsmlProgram {
protected:
    void flac(const std::string& name, const AudioTags& tags, double seconds = 100) {
        writeFLAC(music(name), seconds, tags);
    }
};

TEST_F(GivenAMusicFolder, WhenImportedThenTracksHoldTheirTags) {
    flac("a.flac",
         {{"TITLE", {"Night Drive"}},
          {"ARTIST", {"A", "B"}},
          {"ALBUMARTIST", {"A"}},
          {"ALBUM", {"First"}},
          {"GENRE", {"House", "Techno"}},
          {"LABEL", {"Label"}},
          {"DATE", {"2012-12-15"}},
          {"BPM", {"127.5"}},
          {"INITIALKEY", {"8A"}},
          {"ISRC", {"USRC17607839"}}},
         309.6);
    const auto summary = import();
    EXPECT_EQ(number(summary, "tracksAdded"), 1);
    const auto all = tracks();
    ASSERT_EQ(all.count("Night Drive"), 1u);
    const auto& track = all.at("Night Drive");
    EXPECT_THAT(texts(track, "artists"), ElementsAre("A", "B"));
    EXPECT_THAT(texts(track, "albumArtists"), ElementsAre("A"));
    EXPECT_THAT(texts(track, "genres"), ElementsAre("House", "Techno"));
    EXPECT_EQ(text(track, "album"), "First");
    EXPECT_EQ(text(track, "label"), "Label");
    EXPECT_EQ(text(track, "releaseDate"), "2012-12-15T00:00:00Z");
    EXPECT_EQ(text(track, "contentType"), "audio/flac");
    EXPECT_EQ(text(track, "musicalKey"), "Am");
    EXPECT_EQ(number(track, "musicalKeySignatureIndex"), 21);
    EXPECT_EQ(number(track, "bpm"), 127.5);
    EXPECT_EQ(number(track, "year"), 2012);
    EXPECT_EQ(compact(track["duration"]), "309.6");
    EXPECT_EQ(text(track["titleID"], "stringRepresentation"), "night drive\ta, b\t310");
    EXPECT_EQ(text(track["titleID"], "isrc"), "USRC17607839");
    EXPECT_EQ(text(track["titleID"], "uuid"), text(track, "uuid"));
    EXPECT_FALSE(track.HasMember("composer")) << "nil properties are left out";
}

TEST_F(GivenAMusicFolder, WhenImportedAgainThenNothingChanges) {
    for (int i = 0; i < 5; ++i)
        flac("t" + std::to_string(i) + ".flac", {{"TITLE", {"T" + std::to_string(i)}},
                                                 {"ARTIST", {"A"}},
                                                 {"BPM", {i == 0 ? "fast" : "120"}}});
    const auto first = import();
    EXPECT_EQ(number(first, "tracksAdded"), 5);
    EXPECT_EQ(number(first, "repaired"), 1);
    const std::string before = qsml({"tracks", "--json"}).output;
    const auto second = import();
    EXPECT_EQ(number(second, "tracksAdded"), 0);
    EXPECT_EQ(number(second, "alreadyThere"), 5);
    EXPECT_EQ(number(second, "repaired"), 0);
    EXPECT_EQ(number(second, "snapshot"), number(first, "snapshot")) << "nothing was committed";
    EXPECT_EQ(qsml({"tracks", "--json"}).output, before);
}

TEST_F(GivenAMusicFolder, WhenACommandHasWrittenThenTheFileAloneIsTheLibrary) {
    flac("a.flac", {{"TITLE", {"Night Drive"}}});
    import();
    succeed({"rate", "Night Drive", "4"});
    const std::string copy = directory_.file("copy.qsml");
    writeFile(copy, contentOf(library()));
    const auto run = qsmlAlone({"--library", copy, "rate", "Night Drive", "--json"});
    ASSERT_EQ(objects(run.output).size(), 1u) << run.errors;
    EXPECT_EQ(number(objects(run.output)[0], "rating"), 4);
    EXPECT_EQ(run.errors, "") << "nothing had to be built anew";
}

TEST_F(GivenAMusicFolder, WhenTwoFilesAreOneTrackThenTheSecondIsMerged) {
    flac("1.flac", {{"TITLE", {"Song"}}, {"ARTIST", {"Band"}}, {"ALBUM", {"One"}}}, 200.4);
    flac("2.flac", {{"TITLE", {" song"}}, {"ARTIST", {"BAND"}}, {"ALBUM", {"Two"}}}, 199.6);
    const ProgramRun run = qsml({"import", music(), "--json"});
    const auto merged = events(run.output, "merged");
    ASSERT_EQ(merged.size(), 1u) << run.output;
    EXPECT_EQ(text(merged[0], "path"), music("2.flac"));
    EXPECT_EQ(text(merged[0], "into"), music("1.flac"));
    const auto all = tracks();
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(text(all.begin()->second, "album"), "One");
    EXPECT_EQ(number(import(), "merged"), 1) << "and again";
}

TEST_F(GivenAMusicFolder, WhenFilesHaveNoTitleThenTheyStayApart) {
    for (const char* name : {"Kick.wav", "Snare.wav", "Clap.wav"}) writeWAV(music(name), 0.2);
    EXPECT_EQ(number(import(), "tracksAdded"), 3);
    EXPECT_EQ(tracks().count("Kick"), 1u);
}

TEST_F(GivenAMusicFolder, WhenSplitThenNamesBecomeEntitiesOfTheirOwn) {
    flac("a.flac", {{"TITLE", {"T"}}, {"ARTIST", {"A & B feat. C"}}, {"GENRE", {"X; Y"}}});
    import();
    EXPECT_THAT(texts(tracks().at("T"), "artists"), ElementsAre("A & B feat. C"));
    ASSERT_EQ(::unlink(library().c_str()), 0);
    ::unlink((library() + "-wal").c_str());
    ::unlink((library() + "-shm").c_str());
    import({"--split"});
    EXPECT_THAT(texts(tracks().at("T"), "artists"), ElementsAre("A", "B", "C"));
    EXPECT_THAT(texts(tracks().at("T"), "genres"), ElementsAre("X", "Y"));
}

TEST_F(GivenAMusicFolder, WhenFilesAreRefusedThenEachIsNamedWithItsReason) {
    flac("good.flac", {{"TITLE", {"Good"}}});
    writeFile(music("empty.mp3"), "");
    writeFile(music("readme.txt"), "hello");
    ASSERT_EQ(::symlink("..", music("loop").c_str()), 0);
    ASSERT_EQ(::symlink(music().c_str(), music("self").c_str()), 0);
    const ProgramRun run = qsml({"import", music()});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_THAT(run.output, HasSubstr("refused   " + music("empty.mp3") + ": is empty\n"));
    EXPECT_THAT(run.output, HasSubstr("refused   " + music("readme.txt") + ": is not audio\n"));
    EXPECT_THAT(run.output, HasSubstr("(a loop)\n"));
    EXPECT_THAT(run.output, HasSubstr("  1 tracks added"));
    EXPECT_EQ(run.errors, "") << "without a terminal there is no progress";
}

TEST_F(GivenAMusicFolder, WhenCountedThenEveryFileIsInOnePlace) {
    flac("1.flac", {{"TITLE", {"One"}}});
    flac("2.flac", {{"TITLE", {"one"}}});
    flac("3.flac", {{"TITLE", {"Three"}}, {"BPM", {"fast"}}});
    writeFile(music("4.txt"), "x");
    const auto summary = import();
    EXPECT_EQ(number(summary, "filesLookedAt"), 4);
    EXPECT_EQ(number(summary, "tracksAdded"), 2);
    EXPECT_EQ(number(summary, "merged"), 1);
    EXPECT_EQ(number(summary, "refused"), 1);
    EXPECT_EQ(number(summary, "repaired"), 1);
    EXPECT_EQ(number(summary, "alreadyThere"), 0);
}

TEST_F(GivenAMusicFolder, WhenAPathIsMissingThenTheRestIsImportedAndTheStatusIsOne) {
    flac("a.flac", {{"TITLE", {"A"}}});
    const ProgramRun run = qsml({"import", directory_.file("missing"), music()});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_EQ(run.errors, "qsml: " + directory_.file("missing") + ": No such file or directory\n");
    EXPECT_EQ(tracks().size(), 1u);
}

TEST_F(GivenAMusicFolder, WhenAFolderCannotBeReadThenItIsToldAndTheRestGoesOn) {
    flac("z.flac", {{"TITLE", {"Z"}}});
    flac("secret.flac", {{"TITLE", {"Secret"}}});
    ASSERT_EQ(::mkdir(music("closed").c_str(), 0), 0);
    ASSERT_EQ(::chmod(music("secret.flac").c_str(), 0), 0);
    const ProgramRun run = qsml({"import", music()}, {.beforeExec = obeyFileModesOrEnd});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_THAT(run.errors, HasSubstr("closed: cannot be looked into: Permission denied\n"));
    EXPECT_THAT(run.output, HasSubstr("secret.flac: cannot be read: Permission denied\n"));
    EXPECT_THAT(run.output, HasSubstr("  1 tracks added"));
    ASSERT_EQ(::chmod(music("closed").c_str(), 0700), 0);
}

TEST_F(GivenAMusicFolder, WhenNamesAreNoUTF8ThenTheyArePrintedEscaped) {
    writeFile(music("bad\xFF\x1B[31m.mp3"), "x");
    EXPECT_THAT(qsml({"import", music()}).output, HasSubstr("bad\\xFF\\x1B[31m.mp3: is not audio"));
    const auto refused = events(qsml({"import", music(), "--json"}).output, "refused");
    ASSERT_EQ(refused.size(), 1u);
    EXPECT_EQ(text(refused[0], "path"), music("bad\\xFF\\x1B[31m.mp3"));
}

TEST_F(GivenAMusicFolder, WhenACommentIsTenMegabytesLongThenItIsStoredWhole) {
    constexpr std::size_t size = 10u << 20;
    flac("long.flac", {{"TITLE", {"Long"}}, {"COMMENT", {std::string(size, 'c')}}});
    flac("short.flac", {{"TITLE", {"Short"}}});
    EXPECT_EQ(number(import(), "tracksAdded"), 2);
    EXPECT_EQ(text(tracks().at("Long"), "comments").size(), size);
}

TEST_F(GivenAMusicFolder, WhenStandardErrorIsATerminalThenProgressIsShownThere) {
    for (int i = 0; i < 10; ++i) flac(std::to_string(i) + ".flac", {});
    const ProgramRun run = qsml({"import", music()}, {.errorsToTerminal = true});
    EXPECT_THAT(run.errors, HasSubstr("/10 files, "));
    EXPECT_THAT(run.output, StartsWith("10 files looked at"));
    EXPECT_THAT(run.errors, ::testing::EndsWith("\r\x1b[K")) << "the line is wiped at the end";
}

}  // namespace
}  // namespace qsml::app
