#include <gmock/gmock.h>

#include <thread>

#include "FourTracks.h"

namespace qsml::app {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class GivenPlaylists : public FourTracks {
protected:
    /// Makes a playlist and answers its UUID.
    std::string make(const std::string& name, const std::string& parent = "/") const {
        return text(told({"playlist", "create", name, "--parent", parent}), "uuid");
    }
    /// "NAME" of each, with a ">" for each level above it.
    std::vector<std::string> tree() const {
        std::vector<std::string> names;
        for (const auto& line : objects(qsml({"playlist", "tree", "--json"}).output)) {
            EXPECT_FALSE(line.HasMember("faults")) << compact(line);
            const auto depth = static_cast<std::size_t>(number(line, "depth"));
            names.push_back(std::string(depth, '>') + text(line, "name"));
        }
        return names;
    }
    std::vector<std::string> titles(const std::string& playlist) const {
        std::vector<std::string> all;
        for (const auto& entry : objects(qsml({"playlist", "show", playlist, "--json"}).output)) {
            EXPECT_EQ(number(entry, "position"), static_cast<double>(all.size() + 1));
            all.push_back(text(entry, "title"));
        }
        return all;
    }
};

TEST_F(GivenPlaylists, WhenThereAreNoneThenTheTreeSaysHowToMakeOne) {
    EXPECT_EQ(qsml({"playlist", "tree"}).output,
              "there are no playlists; \"qsml playlist create NAME\" makes one\n");
    EXPECT_EQ(qsml({"playlist", "tree", "--json"}).output, "");
}

TEST_F(GivenPlaylists, WhenNoNameIsGivenThenTheNextFreeOneIsTaken) {
    EXPECT_EQ(text(told({"playlist", "create"}), "name"), "Playlist 1");
    make("Playlist 3");
    EXPECT_EQ(text(told({"playlist", "create"}), "name"), "Playlist 2");
    EXPECT_EQ(text(told({"playlist", "create"}), "name"), "Playlist 4");
}

TEST_F(GivenPlaylists, WhenMadeInEachOtherThenTheTreeShowsThemInOrder) {
    make("Sets");
    make("Warm", "Sets");
    make("Old");
    make("Peak", "Sets");
    make("Deep", "Sets/Warm");
    EXPECT_THAT(tree(), ElementsAre("Sets", ">Warm", ">>Deep", ">Peak", "Old"));
    succeed({"playlist", "add", "Sets/Warm", "first", "second"});
    const std::string shown = qsml({"playlist", "tree"}).output;
    EXPECT_THAT(shown, StartsWith("Playlist  Tracks  Playlists  ID"));
    EXPECT_THAT(shown, HasSubstr("\nSets           0          2  "));
    EXPECT_THAT(shown, HasSubstr("\n  Warm         2          1  "));
    EXPECT_THAT(shown, HasSubstr("\n    Deep       0          0  "));
    EXPECT_EQ(qsml({"check"}).exitStatus, 0);
}

TEST_F(GivenPlaylists, WhenNamedInAnyWayThenTheRightOneIsMeant) {
    const std::string sets = make("Sets"), inner = make("Warm", "Sets"), outer = make("Warm");
    const std::string slashed = make("Rock/Pop");
    const auto uuidOf = [&](const std::string& which) {
        return text(told({"playlist", "rename", which, "Same"}), "uuid");
    };
    const auto restore = [&](const std::string& uuid, const std::string& name) {
        succeed({"playlist", "rename", uuid, name});
    };
    EXPECT_EQ(uuidOf("Sets/Warm"), inner);
    restore(inner, "Warm");
    EXPECT_EQ(uuidOf("/Warm"), outer);
    restore(outer, "Warm");
    EXPECT_EQ(uuidOf("Rock/Pop"), slashed);
    restore(slashed, "Rock/Pop");
    EXPECT_EQ(uuidOf("sets"), sets) << "letter case, where no other fits";
    restore(sets, "Sets");
    EXPECT_EQ(uuidOf(inner.substr(0, 13)), inner);
    restore(inner, "Warm");
    const std::string both = refusal({"playlist", "rename", "Warm", "Cold"});
    EXPECT_THAT(both, HasSubstr("\"Warm\" means 2 playlists; name one by its path or ID: "));
    EXPECT_THAT(both, HasSubstr(inner + " (Sets/Warm)"));
    EXPECT_THAT(both, HasSubstr(outer + " (Warm)"));
    EXPECT_THAT(refusal({"playlist", "show", "Nothing"}),
                HasSubstr("no playlist has the path, the name or the ID \"Nothing\""));
    EXPECT_THAT(refusal({"playlist", "show", "/"}), HasSubstr("/ is the top of all playlists"));
    EXPECT_THAT(refusal({"playlist", "delete", "mediaItemPlaylist-root"}),
                HasSubstr("/ is the top"));
}

TEST_F(GivenPlaylists, WhenNamesAreHostileThenTheyAreKeptAndEscaped) {
    const std::string name = "'; DROP \"x\" --\x1b[2J\n\xe2\x80\xae*AND(";
    make(name);
    EXPECT_THAT(tree(), ElementsAre(name));
    EXPECT_THAT(qsml({"playlist", "tree"}).output,
                HasSubstr("\n'; DROP \"x\" --\\x1B[2J\\x0A\\xE2\\x80\\xAE*AND("));
    succeed({"playlist", "rename", name, "--", "-x"});
    EXPECT_THAT(tree(), ElementsAre("-x"));
}

TEST_F(GivenPlaylists, WhenMovedThenTheyStandWhereTheyShould) {
    for (const std::string name : {"A", "B", "C"}) make(name);
    make("Inner", "A");
    succeed({"playlist", "move", "C", "--to", "/", "--at", "1"});
    EXPECT_THAT(tree(), ElementsAre("C", "A", ">Inner", "B"));
    succeed({"playlist", "move", "C", "--to", "/", "--at", "2"});
    EXPECT_THAT(tree(), ElementsAre("A", ">Inner", "C", "B"));
    succeed({"playlist", "move", "B", "--to", "A", "--at", "1"});
    EXPECT_THAT(tree(), ElementsAre("A", ">B", ">Inner", "C"));
    succeed({"playlist", "move", "A", "--to", "C"});
    EXPECT_THAT(tree(), ElementsAre("C", ">A", ">>B", ">>Inner"));
    succeed({"playlist", "move", "Inner", "--to", "/"});
    EXPECT_THAT(tree(), ElementsAre("C", ">A", ">>B", "Inner"));
    EXPECT_EQ(qsml({"check"}).exitStatus, 0);
}

TEST_F(GivenPlaylists, WhenMovedWhereTheyCannotStandThenNothingMoves) {
    make("A");
    make("B", "A");
    make("C", "B");
    EXPECT_EQ(refusal({"playlist", "move", "A", "--to", "A"}),
              "qsml: a playlist cannot be put into itself\n");
    EXPECT_EQ(refusal({"playlist", "move", "A", "--to", "A/B/C"}),
              "qsml: \"A/B/C\" is below \"A\", which can therefore not be put into it\n");
    EXPECT_EQ(refusal({"playlist", "move", "C", "--to", "/", "--at", "3"}),
              "qsml: there is no position 3 there; 2 is the last\n");
    EXPECT_THAT(refusal({"playlist", "move", "C", "--to", "D"}), HasSubstr("no playlist has"));
    EXPECT_THAT(tree(), ElementsAre("A", ">B", ">>C"));
}

TEST_F(GivenPlaylists, WhenDeletedThenAllBelowGoesAndTheTracksStay) {
    make("A");
    make("B", "A");
    make("C", "B");
    make("D");
    for (const std::string name : {"A", "C", "D"}) succeed({"playlist", "add", name, "first"});
    const auto deleted = told({"playlist", "delete", "A"});
    EXPECT_EQ(number(deleted, "playlists"), 3);
    EXPECT_EQ(number(deleted, "entries"), 2);
    EXPECT_THAT(tree(), ElementsAre("D"));
    EXPECT_THAT(titles("D"), ElementsAre("First Light"));
    EXPECT_EQ(tracks().size(), 4u);
    EXPECT_EQ(qsml({"playlist", "delete", "D"}).output,
              "deleted 1 playlists with 1 entries; the tracks stay\n");
    const auto root = objects(qsml({"dump", "mediaItemPlaylists"}).output);
    ASSERT_EQ(root.size(), 1u);
    EXPECT_THAT(texts(root[0], "childUUIDs"), IsEmpty());
    EXPECT_EQ(qsml({"check"}).exitStatus, 0);
}

TEST_F(GivenPlaylists, WhenTracksArePutInThenTheyStandInTheOrderThatWasAskedFor) {
    make("A");
    succeed({"playlist", "add", "A", "first", "SECOND SUN"});
    succeed({"playlist", "insert", "A", "2", "third", "first"});
    EXPECT_THAT(titles("A"), ElementsAre("First Light", "Third Rail", "First Light", "Second Sun"));
    EXPECT_THAT(qsml({"playlist", "show", "A"}).output,
                StartsWith("#  Title        Artist  Time\n1  First Light  Ann     1:00\n"));
    succeed({"playlist", "reorder", "A", "1", "4"});
    EXPECT_THAT(titles("A"), ElementsAre("Third Rail", "First Light", "Second Sun", "First Light"));
    succeed({"playlist", "reorder", "A", "3", "1"});
    EXPECT_THAT(titles("A"), ElementsAre("Second Sun", "Third Rail", "First Light", "First Light"));
    const auto removed = objects(qsml({"playlist", "remove", "A", "3", "1", "3", "--json"}).output);
    ASSERT_EQ(removed.size(), 2u);
    EXPECT_EQ(text(removed[0], "title"), "Second Sun");
    EXPECT_EQ(number(removed[1], "position"), 3);
    EXPECT_THAT(titles("A"), ElementsAre("Third Rail", "First Light"));
    EXPECT_EQ(objects(qsml({"dump", "mediaItemPlaylistItems"}).output).size(), 2u);
    EXPECT_EQ(qsml({"check"}).exitStatus, 0);
}

TEST_F(GivenPlaylists, WhenOneOfSeveralCannotBePutInThenNoneIs) {
    make("A");
    EXPECT_THAT(refusal({"playlist", "add", "A", "first", "no such"}), HasSubstr("no such"));
    EXPECT_THAT(refusal({"playlist", "add", "A", "first", "i"}), HasSubstr("name one by its ID: "));
    EXPECT_EQ(refusal({"playlist", "insert", "A", "2", "first"}),
              "qsml: position 2 is beyond the end of the playlist; 1 is the last\n");
    EXPECT_EQ(refusal({"playlist", "remove", "A", "1"}),
              "qsml: the playlist is empty; \"qsml playlist add\" fills it\n");
    succeed({"playlist", "add", "A", "first"});
    EXPECT_EQ(refusal({"playlist", "reorder", "A", "1", "2"}),
              "qsml: the playlist has no entry 2; it has 1\n");
    EXPECT_EQ(refusal({"playlist", "remove", "A", "1", "999999999"}),
              "qsml: the playlist has no entry 999999999; it has 1\n");
    EXPECT_THAT(titles("A"), ElementsAre("First Light"));
}

TEST_F(GivenPlaylists, WhenSeveralProcessesFillOneAtOnceThenEveryEntryIsThere) {
    make("A");
    std::vector<std::thread> processes;
    for (int i = 0; i < 4; ++i)
        processes.emplace_back([&] { succeed({"playlist", "add", "A", "third"}); });
    for (std::thread& process : processes) process.join();
    EXPECT_EQ(titles("A"), std::vector<std::string>(4, "Third Rail"));
}

TEST_F(GivenPlaylists, WhenTheCommandIsIncompleteThenTheUsageIsWrong) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"playlist"},
          {"playlist", "create", ""},
          {"playlist", "create", "A", "--parent", ""},
          {"playlist", "rename", "A"},
          {"playlist", "rename", "A", ""},
          {"playlist", "move", "A"},
          {"playlist", "move", "A", "--to", "B", "--at", "0"},
          {"playlist", "delete"},
          {"playlist", "add", "A"},
          {"playlist", "insert", "A", "x", "first"},
          {"playlist", "reorder", "A", "1"},
          {"playlist", "remove", "A", "99999999999999999999"},
          {"playlist", "show"}}) {
        const ProgramRun run = qsml(arguments);
        EXPECT_EQ(run.exitStatus, 2) << arguments.back();
        EXPECT_THAT(run.errors, HasSubstr("see \"qsml --help\"")) << arguments.back();
    }
}

}  // namespace
}  // namespace qsml::app
