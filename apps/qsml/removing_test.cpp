#include <gmock/gmock.h>

#include "QsmlProgram.h"

namespace qsml::app {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

/// Three tracks; two of one ISRC, and two that share an album.
class GivenTracksToRemove : public QsmlProgram {
protected:
    void SetUp() override {
        add("One", "Ann", "Both", "USRC17607839");
        add("Two", "Ben", "Both", "");
        add("Three", "Cleo", "Own", "USRC17607839");
        ASSERT_EQ(number(import(), "tracksAdded"), 3);
    }
    void add(const std::string& title, const std::string& artist, const std::string& album,
             const std::string& isrc) {
        writeFLAC(music(title + ".flac"), 60,
                  {{"TITLE", {title}},
                   {"ARTIST", {artist}},
                   {"ALBUM", {album}},
                   {"BPM", {"120"}},
                   {"ISRC", {isrc}}});
    }
    /// "collection" of each removed row, with a "+" for one that a rule took along.
    static std::vector<std::string> removed(const std::string& output) {
        std::vector<std::string> all;
        for (const auto& row : events(output, "removed"))
            all.push_back((row["takenAlong"].GetBool() ? "+" : "") + text(row, "collection"));
        return all;
    }
    std::vector<std::string> remove(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"remove", "--yes", "--json"});
        const ProgramRun run = qsml(arguments);
        EXPECT_EQ(run.exitStatus, 0) << run.errors;
        return removed(run.output);
    }
    double records() const { return number(succeed({"stats"}).at(0), "allRecords"); }
    void expectSound() const {
        const ProgramRun check = qsml({"check"});
        EXPECT_EQ(check.exitStatus, 0) << check.output;
    }
};

TEST_F(GivenTracksToRemove, WhenRemovedThenAllItsRecordsAreGone) {
    succeed({"tag", "add", "Two", "my own"});
    const double before = records();
    EXPECT_THAT(remove({"two"}),
                UnorderedElementsAre("mediaItems", "mediaItemUserData", "mediaItemAnalyzedData",
                                     "localMediaItemLocations", "mediaItemTitleIDs",
                                     "+mediaArtists", "+mediaItemTags"));
    EXPECT_EQ(records(), before - 7);
    EXPECT_EQ(tracks().size(), 2u);
    EXPECT_EQ(number(succeed({"stats"}).at(0), "albums"), 2) << "another track is on that album";
    expectSound();
    EXPECT_EQ(number(import(), "tracksAdded"), 1) << "its file is still there";
    EXPECT_THAT(succeed({"tag", "list", "Two"}), IsEmpty());
}

TEST_F(GivenTracksToRemove, WhenNobodyIsSureThenItIsOnlyTold) {
    const double before = records();
    const ProgramRun run = qsml({"remove", "One", "Two", "--json"});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_EQ(run.errors,
              "qsml: nothing was removed yet; the same with --yes removes all of this\n");
    EXPECT_EQ(records(), before);
    const auto told = removed(run.output);
    EXPECT_THAT(told, ::testing::Contains("+mediaAlbums")) << "its last tracks go";
    EXPECT_TRUE(events(run.output, "summary").at(0)["dryRun"].GetBool());
    EXPECT_EQ(remove({"One", "Two"}), told);
    EXPECT_EQ(records(), before - static_cast<double>(told.size()));
    expectSound();
}

TEST_F(GivenTracksToRemove, WhenInAPlaylistThenItsPlacesGoAndQueueAndHistoryStay) {
    ASSERT_EQ(qsml({"playlist", "create", "Set"}).exitStatus, 0);
    ASSERT_EQ(qsml({"playlist", "add", "Set", "Two", "One", "Two"}).exitStatus, 0);
    succeed({"queue", "add", "Two"});
    succeed({"history", "start"});
    succeed({"history", "add", "Two"});
    const auto gone = remove({"Two"});
    EXPECT_EQ(std::count(gone.begin(), gone.end(), "+mediaItemPlaylistItems"), 2);
    EXPECT_THAT(qsml({"playlist", "show", "Set"}).output, HasSubstr("One"));
    EXPECT_THAT(qsml({"playlist", "show", "Set"}).output, ::testing::Not(HasSubstr("Two")));
    EXPECT_THAT(succeed({"queue", "list"}), SizeIs(1));
    EXPECT_EQ(succeed({"history", "show"}).at(0)["items"].Size(), 1u);
    expectSound();
}

TEST_F(GivenTracksToRemove, WhenUserDataIsAnotherTracksTooThenItStays) {
    succeed({"cue", "add", "One", "--time", "1"});
    succeed({"rate", "Three", "2"});  // finds the record of the same ISRC
    const ProgramRun run = qsml({"remove", "One", "--yes", "--json"});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_THAT(removed(run.output), ::testing::Not(::testing::Contains("mediaItemUserData")));
    EXPECT_EQ(text(events(run.output, "kept").at(0), "collection"), "mediaItemUserData");
    EXPECT_THAT(succeed({"cue", "list", "Three"}), SizeIs(1));
    expectSound();
}

TEST_F(GivenTracksToRemove, WhenAllTracksOfSharedUserDataGoThenItGoes) {
    succeed({"cue", "add", "One", "--time", "1"});
    succeed({"rate", "Three", "2"});
    EXPECT_THAT(remove({"One", "Three"}), ::testing::Contains("mediaItemUserData"));
    EXPECT_THAT(remove({"Two", "two", "TWO"}), ::testing::Contains("mediaItems"));
    EXPECT_EQ(records(), 0) << "nothing is left of the three";
    expectSound();
}

TEST_F(GivenTracksToRemove, WhenOneOfSeveralIsAbsentThenNoneIsRemoved) {
    const ProgramRun run = qsml({"remove", "One", "absent", "--yes"});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_THAT(run.errors, HasSubstr("\"absent\""));
    EXPECT_EQ(tracks().size(), 3u);
    EXPECT_THAT(qsml({"remove", "e", "--yes"}).errors, HasSubstr("name one by its ID: "));
    EXPECT_EQ(tracks().size(), 3u);
}

}  // namespace
}  // namespace qsml::app
