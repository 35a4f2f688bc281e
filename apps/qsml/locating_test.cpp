#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "QsmlProgram.h"

namespace qsml::app {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

/// Three tracks in two folders of the music folder.
class GivenTracksInFolders : public QsmlProgram {
protected:
    void SetUp() override {
        ::mkdir(music("a b").c_str(), 0700);
        ::mkdir(music("c").c_str(), 0700);
        writeFLAC(music("a b/100%.flac"), 60, {{"TITLE", {"One"}}, {"BPM", {"120"}}});
        writeFLAC(music("a b/two.flac"), 61, {{"TITLE", {"Two"}}, {"INITIALKEY", {"C"}}});
        writeFLAC(music("c/three.flac"), 62, {{"TITLE", {"Three"}}});
        ASSERT_EQ(number(import(), "tracksAdded"), 3);
    }
    rapidjson::Document located(const std::string& track) const {
        return std::move(succeed({"locate", track}).at(0));
    }
    std::string path(const std::string& track) const { return text(located(track), "path"); }
    std::vector<std::string> uris(const std::string& track) const {
        const auto found = located(track);
        return found["locations"].Empty() ? std::vector<std::string>()
                                          : texts(found["locations"][0], "sourceURIs");
    }
    std::vector<std::string> missing(std::vector<std::string> arguments = {}) const {
        arguments.insert(arguments.begin(), {"locate", "--missing"});
        std::vector<std::string> titles;
        for (const auto& track : succeed(arguments)) titles.push_back(text(track, "title"));
        return titles;
    }
    void move(const std::string& from, const std::string& to) const {
        std::filesystem::rename(music(from), music(to));
    }
    void expectSound() const {
        const ProgramRun check = qsml({"check"});
        EXPECT_EQ(check.exitStatus, 0) << check.output;
    }
    double snapshot() const { return number(succeed({"stats"}).at(0), "snapshot"); }
};

TEST_F(GivenTracksInFolders, WhenImportedThenEachTrackIsWhereItsFileIs) {
    EXPECT_EQ(path("One"), music("a b/100%.flac"));
    EXPECT_THAT(uris("One"), ElementsAre(::testing::EndsWith("/music/a%20b/100%25.flac")));
    const auto found = located("One");
    EXPECT_FALSE(found["missing"].GetBool());
    EXPECT_EQ(text(found["locations"][0], "type"), "local");
    EXPECT_TRUE(found["locations"][0]["bookmarkResolves"].GetBool());
    EXPECT_EQ(text(found["locations"][0], "resolvedPath"), music("a b/100%.flac"));
    EXPECT_THAT(qsml({"locate", "One"}).output,
                StartsWith("One: is at " + music("a b/100%.flac") + "\nlocal location\n"));
    const auto shown = succeed({"show", "One"});
    EXPECT_EQ(compact(shown.at(0)["locations"]), compact(found["locations"]));
    EXPECT_EQ(number(shown.at(0)["analyzedData"], "bpm"), 120);
    EXPECT_EQ(number(shown.at(0)["analyzedData"], "keySignatureIndex"), -1);
    EXPECT_EQ(number(succeed({"show", "Two"}).at(0)["analyzedData"], "keySignatureIndex"), 0);
    EXPECT_FALSE(succeed({"show", "Three"}).at(0).HasMember("analyzedData"))
        << "its tags say neither tempo nor key";
}

TEST_F(GivenTracksInFolders, WhenAMovedFileIsImportedThenItsNewPlaceIsAdded) {
    move("a b/two.flac", "c/two again.flac");
    const auto summary = import();
    EXPECT_EQ(number(summary, "alreadyThere"), 3);
    EXPECT_EQ(number(summary, "located"), 1);
    EXPECT_EQ(number(summary, "tracksAdded"), 0);
    EXPECT_THAT(uris("Two"), SizeIs(2)) << "the old place stays";
    EXPECT_EQ(path("Two"), music("c/two again.flac")) << "the bookmark is that of the new one";
    EXPECT_EQ(number(import(), "located"), 0);
    const double before = snapshot();
    import();
    EXPECT_EQ(snapshot(), before);
    EXPECT_EQ(number(import({"--forget-missing"}), "located"), 1);
    EXPECT_THAT(uris("Two"), ElementsAre(::testing::EndsWith("/c/two%20again.flac")));
    expectSound();
}

TEST_F(GivenTracksInFolders, WhenASecondFileIsTheSameTrackThenBothPlacesAreKnown) {
    std::filesystem::copy_file(music("c/three.flac"), music("c/three copy.flac"));
    const auto summary = import();
    EXPECT_EQ(number(summary, "merged"), 1);
    EXPECT_EQ(number(summary, "located"), 1);
    EXPECT_THAT(uris("Three"), SizeIs(2));
    const double before = snapshot();
    EXPECT_EQ(number(import(), "located"), 0);
    EXPECT_EQ(snapshot(), before);
    ASSERT_EQ(::unlink(path("Three").c_str()), 0);
    EXPECT_THAT(missing(), IsEmpty()) << "the other file is there";
}

TEST_F(GivenTracksInFolders, WhenTheSamePlaceIsNamedInAnotherWayThenItIsTheSame) {
    EXPECT_EQ(number(succeed({"import", music("c/../a b/./two.flac")}).back(), "located"), 0);
    EXPECT_THAT(uris("Two"), SizeIs(1));
}

TEST_F(GivenTracksInFolders, WhenFilesAreGoneThenTheyAreListedByTitle) {
    EXPECT_THAT(missing(), IsEmpty());
    move("a b", "moved");
    EXPECT_THAT(missing(), ElementsAre("One", "Two"));
    EXPECT_THAT(missing({"--limit", "1"}), ElementsAre("One"));
    EXPECT_THAT(missing({"--offset", "1", "--limit", "5"}), ElementsAre("Two"));
    EXPECT_THAT(missing({"--limit", "0"}), IsEmpty());
    EXPECT_THAT(qsml({"locate", "--missing"}).output,
                HasSubstr("  One: " + music("a b/100%.flac") + "\n"));
    EXPECT_THAT(qsml({"locate", "One"}).output, StartsWith("One: is out of reach\n"));
    EXPECT_THAT(qsml({"locate", "One"}).output, HasSubstr("leads nowhere now"));
    EXPECT_TRUE(located("One")["missing"].GetBool());
    EXPECT_FALSE(located("One").HasMember("path"));
}

TEST_F(GivenTracksInFolders, WhenLibraryAndMusicAreMovedTogetherThenBookmarksLeadThere) {
    const std::string other = directory_.file("elsewhere");
    ::mkdir(other.c_str(), 0700);
    for (const char* name : {"music", "library.qsml", "library.qsml-wal", "library.qsml-shm"})
        if (std::filesystem::exists(directory_.file(name)))
            std::filesystem::rename(directory_.file(name), other + "/" + name);
    const ProgramRun run =
        qsmlAlone({"--library", other + "/library.qsml", "locate", "One", "--json"});
    ASSERT_EQ(run.exitStatus, 0) << run.errors;
    EXPECT_EQ(text(objects(run.output).at(0), "path"), other + "/music/a b/100%.flac");
}

TEST_F(GivenTracksInFolders, WhenAFolderWasMovedThenItsTracksAreRelinked) {
    move("a b", "moved");
    ASSERT_EQ(::unlink(music("moved/two.flac").c_str()), 0);
    const double before = snapshot();
    const auto dry = succeed({"locate", "--relink", music("a b"), music("moved"), "--dry-run"});
    EXPECT_EQ(number(dry.back(), "relinked"), 1);
    EXPECT_EQ(snapshot(), before) << "a dry run changes nothing";
    const auto run = succeed({"locate", "--relink", music("a b") + "//", music("moved/../moved")});
    ASSERT_THAT(run, SizeIs(3));
    EXPECT_EQ(text(run[0], "event"), "missing");
    EXPECT_EQ(text(run[0], "to"), music("moved/two.flac"));
    EXPECT_EQ(text(run[1], "event"), "relinked");
    EXPECT_EQ(text(run[1], "from"), music("a b/100%.flac"));
    EXPECT_EQ(text(run[1], "to"), music("moved/100%.flac"));
    EXPECT_EQ(compact(run[2]),
              "{\"event\":\"summary\",\"below\":2,\"relinked\":1,\"missing\":1,\"dryRun\":false}");
    EXPECT_THAT(uris("One"), ElementsAre(::testing::EndsWith("/moved/100%25.flac")));
    EXPECT_EQ(path("One"), music("moved/100%.flac"));
    EXPECT_TRUE(located("One")["locations"][0]["bookmarkResolves"].GetBool());
    EXPECT_THAT(uris("Two"), ElementsAre(::testing::EndsWith("/a%20b/two.flac")));
    EXPECT_EQ(path("Three"), music("c/three.flac"));
    expectSound();
    EXPECT_EQ(number(succeed({"locate", "--relink", music("a b"), music("moved")}).back(), "below"),
              1)
        << "and again";
}

TEST_F(GivenTracksInFolders, WhenAnotherFolderOnlyBeginsAlikeThenItsTracksStay) {
    move("c", "d");
    EXPECT_EQ(
        qsml({"locate", "--relink", music("c"), music("d")}).output,
        "1 tracks below " + music("c") + "/\n  1 relinked\n  0 not below " + music("d") + "/\n");
    EXPECT_EQ(number(succeed({"locate", "--relink", music("a"), music("d")}).back(), "below"), 0);
    EXPECT_EQ(path("One"), music("a b/100%.flac"));
}

TEST_F(GivenTracksInFolders, WhenRelinkedToNoFolderThenThatIsRefused) {
    EXPECT_THAT(refusal({"locate", "--relink", music("c"), music("nowhere")}),
                HasSubstr("there is no folder " + music("nowhere") + "/"));
    EXPECT_THAT(refusal({"locate", "--relink", music("c"), music("c/three.flac")}),
                HasSubstr("there is no folder "));
    EXPECT_THAT(refusal({"locate", "--relink", music("c"), music("c/")}),
                HasSubstr("name the old and the new one"));
    EXPECT_THAT(refusal({"locate"}), HasSubstr("name a track, or give --missing or --relink"));
    EXPECT_THAT(refusal({"locate", "absent"}), HasSubstr("no track has the ID or the title"));
}

TEST_F(GivenTracksInFolders, WhenManyTracksAreRelinkedThenTheyGoInSeveralTransactions) {
    constexpr int count = 300;
    ::mkdir(music("many").c_str(), 0700);
    for (int i = 0; i < count; ++i)
        writeWAV(music("many/" + std::to_string(i) + ".wav"), 0.01 * (i + 1));
    ASSERT_EQ(number(import(), "tracksAdded"), count);
    move("many", "more");
    const double before = snapshot();
    const auto run = succeed({"locate", "--relink", music("many"), music("more")});
    EXPECT_EQ(number(run.back(), "relinked"), count);
    EXPECT_EQ(snapshot(), before + 2);
    EXPECT_THAT(missing(), IsEmpty());
    expectSound();
}

TEST_F(GivenTracksInFolders, WhenTheCommandIsWrongThenTheUsageIsTold) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"locate", "--relink", "a"},
          {"locate", "One", "--missing"},
          {"locate", "One", "--relink", "a", "b"},
          {"locate", "--missing", "--relink", "a", "b"},
          {"locate", "One", "--dry-run"},
          {"locate", "One", "--limit", "1"},
          {"locate", ""},
          {"remove"},
          {"remove", ""}}) {
        const ProgramRun run = qsml(arguments);
        EXPECT_EQ(run.exitStatus, 2) << arguments.back();
        EXPECT_THAT(run.errors, HasSubstr("see \"qsml --help\"")) << arguments.back();
    }
}

}  // namespace
}  // namespace qsml::app
