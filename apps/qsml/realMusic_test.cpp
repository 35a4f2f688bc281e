#include <gmock/gmock.h>

#include <set>
#include <sstream>

#include "QsmlProgram.h"

namespace qsml::app {
namespace {

using ::testing::ElementsAre;

/// The folders in which the package has Ogg files; none where it is not installed.
std::vector<std::string> musicFolders() {
    const ProgramRun run = runProgram({"dpkg", "-L", "singularity-music"});
    std::set<std::string> folders;
    std::istringstream lines(run.exitStatus == 0 ? run.output : "");
    for (std::string line; std::getline(lines, line);)
        if (line.ends_with(".ogg")) folders.insert(line.substr(0, line.rfind('/')));
    return {folders.begin(), folders.end()};
}

class GivenRealMusic : public QsmlProgram {};

TEST_F(GivenRealMusic, WhenImportedThenTracksAndEntitiesAreShared) {
    auto arguments = musicFolders();
    ASSERT_FALSE(arguments.empty()) << "\"scripts/deps test\" installs singularity-music";
    arguments.insert(arguments.begin(), "import");
    ASSERT_EQ(qsml(arguments).exitStatus, 0);

    const auto stats = objects(qsml({"stats", "--json"}).output);
    ASSERT_EQ(stats.size(), 1u);
    EXPECT_EQ(number(stats[0], "tracks"), 16);
    EXPECT_EQ(number(stats[0], "artists"), 1);
    EXPECT_EQ(number(stats[0], "albums"), 2);
    EXPECT_EQ(number(stats[0], "genres"), 0);

    const auto all = tracks();
    ASSERT_EQ(all.count("A New Journey"), 1u);
    const auto& track = all.at("A New Journey");
    EXPECT_EQ(text(track["titleID"], "stringRepresentation"), "a new journey\tmaxstack\t327");
    EXPECT_EQ(compact(track["duration"]), "327.273");
    EXPECT_THAT(texts(track, "artists"), ElementsAre("Maxstack"));
    EXPECT_EQ(text(track, "album"), "Endgame: Singularity (Advanced Research)");
    EXPECT_EQ(text(track, "releaseDate"), "2012-12-15T00:00:00Z");
    EXPECT_EQ(number(track, "sampleRate"), 48000);
    EXPECT_EQ(number(track, "bpm"), 0);
    EXPECT_EQ(number(track, "musicalKeySignatureIndex"), -1);

    const std::string before = qsml({"tracks", "--json"}).output;
    EXPECT_EQ(qsml(arguments).exitStatus, 0);
    EXPECT_EQ(qsml({"tracks", "--json"}).output, before) << "the second import changes nothing";
}

}  // namespace
}  // namespace qsml::app
