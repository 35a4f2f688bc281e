#include <gmock/gmock.h>

#include "QsmlProgram.h"

namespace qsml::app {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class GivenALibrary : public QsmlProgram {
protected:
    void SetUp() override {
        add("1", "\u00C9tude", "Zoe", "B", "100", 30);
        add("2", "apple", "adam", "C", "90", 20);
        add("3", "Banana", "\u00C5sa", "A", "", 10);
        add("4", "\u6771\u4EAC\u591C", "", "", "174", 40);
        ASSERT_EQ(number(import(), "tracksAdded"), 4);
    }
    void add(const std::string& file, const std::string& title, const std::string& artist,
             const std::string& album, const std::string& bpm, double seconds) {
        writeFLAC(music(file + ".flac"), seconds,
                  {{"TITLE", {title}}, {"ARTIST", {artist}}, {"ALBUM", {album}}, {"BPM", {bpm}}});
    }
    std::vector<std::string> titles(std::vector<std::string> options) {
        options.insert(options.begin(), {"tracks", "--json"});
        std::vector<std::string> all;
        for (const auto& track : objects(qsml(options).output)) all.push_back(text(track, "title"));
        return all;
    }
};

TEST_F(GivenALibrary, WhenSortedThenTheOrderIgnoresCaseAndUnknownComesLast) {
    EXPECT_THAT(titles({}), ElementsAre("apple", "Banana", "\u00C9tude", "\u6771\u4EAC\u591C"));
    EXPECT_THAT(titles({"--sort", "artist"}),
                ElementsAre("apple", "Banana", "\u00C9tude", "\u6771\u4EAC\u591C"));
    EXPECT_THAT(titles({"--sort", "album"}),
                ElementsAre("Banana", "\u00C9tude", "apple", "\u6771\u4EAC\u591C"));
    EXPECT_THAT(titles({"--sort", "bpm"}),
                ElementsAre("apple", "\u00C9tude", "\u6771\u4EAC\u591C", "Banana"));
    EXPECT_THAT(titles({"--sort", "duration"}),
                ElementsAre("Banana", "apple", "\u00C9tude", "\u6771\u4EAC\u591C"));
}

TEST_F(GivenALibrary, WhenAPageIsAskedForThenItIsThatPartOfTheWhole) {
    EXPECT_THAT(titles({"--limit", "2"}), ElementsAre("apple", "Banana"));
    EXPECT_THAT(titles({"--limit", "2", "--offset", "1"}), ElementsAre("Banana", "\u00C9tude"));
    EXPECT_THAT(titles({"--offset", "3"}), ElementsAre("\u6771\u4EAC\u591C"));
    EXPECT_THAT(titles({"--offset", "18446744073709551615", "--limit", "5"}), IsEmpty());
    EXPECT_THAT(titles({"--limit", "0"}), IsEmpty());
}

TEST_F(GivenALibrary, WhenListedForPeopleThenColumnsStandUnderEachOther) {
    const std::string table = qsml({"tracks", "--sort", "bpm"}).output;
    EXPECT_THAT(table, StartsWith("Title   Artist  Album  Time  BPM  ID\n"
                                  "apple   adam    C      0:20   90  "));
    EXPECT_THAT(table, HasSubstr("\n\u6771\u4EAC\u591C                 0:40  174  "));
}

TEST_F(GivenALibrary, WhenATrackIsNamedInAnyWayThenItIsShown) {
    const std::string uuid = text(tracks().at("apple"), "uuid");
    for (const std::string& name :
         {uuid, uuid.substr(0, 12), std::string("APPLE"), std::string("ppl")}) {
        const auto shown = objects(qsml({"show", name, "--json"}).output);
        ASSERT_EQ(shown.size(), 1u) << name;
        EXPECT_EQ(text(shown[0], "uuid"), uuid);
    }
    const std::string people = qsml({"show", "apple"}).output;
    EXPECT_THAT(people, StartsWith("uuid                      " + uuid + "\n"));
    EXPECT_THAT(people, HasSubstr("\n  stringRepresentation    apple\\x09adam\\x0920\n"));
}

TEST_F(GivenALibrary, WhenANameMeansNoneOrSeveralThenThatIsTold) {
    const ProgramRun none = qsml({"show", "nothing like it"});
    EXPECT_EQ(none.exitStatus, 1);
    EXPECT_EQ(none.errors,
              "qsml: no track has the ID or the title \"nothing like it\"; "
              "\"qsml tracks\" lists them all\n");
    const ProgramRun several = qsml({"show", "a"});
    EXPECT_EQ(several.exitStatus, 1);
    EXPECT_THAT(several.errors, HasSubstr("name one by its ID: "));
    EXPECT_EQ(several.output, "");
}

TEST_F(GivenALibrary, WhenCountedThenStatsTellWhatIsThere) {
    const auto stats = objects(qsml({"stats", "--json"}).output);
    ASSERT_EQ(stats.size(), 1u);
    EXPECT_EQ(number(stats[0], "tracks"), 4);
    EXPECT_EQ(number(stats[0], "artists"), 3);
    EXPECT_EQ(number(stats[0], "albums"), 3);
    EXPECT_EQ(number(stats[0], "genres"), 0);
    EXPECT_EQ(number(stats[0], "playingSeconds"), 100);
    EXPECT_GT(number(stats[0], "fileSize"), 0);
    EXPECT_THAT(qsml({"stats"}).output, HasSubstr("\ntracks        4\n"));
    EXPECT_THAT(qsml({"stats"}).output, HasSubstr("\nplaying time  1:40\n"));
}

TEST_F(GivenALibrary, WhenCheckedThenThereAreNoFaults) {
    const ProgramRun run = qsml({"check"});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_THAT(run.output, StartsWith("no faults in "));
    const auto summary = events(qsml({"check", "--json"}).output, "summary");
    ASSERT_EQ(summary.size(), 1u);
    EXPECT_EQ(number(summary[0], "faults"), 0);
    EXPECT_GE(number(summary[0], "rows"), 14);
}

}  // namespace
}  // namespace qsml::app
