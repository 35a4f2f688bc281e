#include <gmock/gmock.h>

#include "FourTracks.h"
#include "RunningQsml.h"

namespace qsml::app {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

/// One qsml watches; others change the library, one after the other.
class GivenAWatchedView : public FourTracks {
protected:
    std::vector<std::string> watching(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--library", library(), "watch"});
        return arguments;
    }
    static rapidjson::Document next(RunningQsml& watch) {
        auto lines = objects(watch.line() + "\n");
        return lines.empty() ? rapidjson::Document(rapidjson::kObjectType)
                             : std::move(lines.front());
    }
    void addTrack(const std::string& title, const std::string& artist = "Ann") const {
        writeFLAC(music(title + ".flac"), 60, {{"TITLE", {title}}, {"ARTIST", {artist}}});
        import();
    }
    static void expectPath(const rapidjson::Value& line, double section, double row) {
        EXPECT_EQ(number(line, "section"), section) << compact(line);
        EXPECT_EQ(number(line, "row"), row) << compact(line);
    }
};

TEST_F(GivenAWatchedView, WhenAnotherProcessAddsATrackThenItsRowIsToldAndNoOther) {
    RunningQsml watch(watching({"mediaItemsView", "--json", "--changes", "2"}));
    const auto start = next(watch);
    EXPECT_EQ(text(start, "event"), "start");
    EXPECT_EQ(number(start, "sections"), 1);
    EXPECT_EQ(number(start, "rows"), 4);
    addTrack("Next Door");
    const auto first = next(watch);
    EXPECT_EQ(text(first, "event"), "insert");
    EXPECT_EQ(text(first, "group"), "mediaItem");
    EXPECT_EQ(text(first, "collection"), "mediaItems");
    EXPECT_EQ(text(first, "title"), "Next Door");
    EXPECT_EQ(text(first, "artists"), "Ann");
    expectPath(first, 1, 3);
    addTrack("A First");
    expectPath(next(watch), 1, 1);
    EXPECT_EQ(watch.line(), "");
    EXPECT_EQ(watch.exitStatus(), 0) << "two changes were asked for";
}

TEST_F(GivenAWatchedView, WhenGroupsComeAndGoThenSectionsDo) {
    RunningQsml watch(
        watching({"mediaView", "--group", "playlist", "--group", "artist", "--json"}));
    EXPECT_EQ(number(next(watch), "sections"), 1);
    succeed({"playlist", "create", "B"});
    const auto section = next(watch);
    EXPECT_EQ(text(section, "event"), "insertSection");
    EXPECT_EQ(text(section, "group"), "playlist");
    EXPECT_EQ(number(section, "section"), 1) << "in the order in which the groups were named";
    expectPath(next(watch), 1, 1);
    succeed({"playlist", "create", "C"});
    expectPath(next(watch), 1, 2);
    succeed({"playlist", "rename", "C", "A"});
    const auto moved = next(watch);
    EXPECT_EQ(text(moved, "event"), "move");
    EXPECT_EQ(text(moved, "name"), "A");
    EXPECT_EQ(number(moved, "fromRow") + number(moved, "row"), 3);
    succeed({"playlist", "delete", "A"});
    EXPECT_EQ(text(next(watch), "event"), "delete");
    succeed({"playlist", "delete", "B"});
    EXPECT_EQ(text(next(watch), "event"), "deleteSection");
    EXPECT_EQ(text(next(watch), "name"), "B");
    watch.send(SIGINT);
    EXPECT_EQ(watch.line(), "");
    EXPECT_EQ(watch.exitStatus(), 0);
}

TEST_F(GivenAWatchedView, WhenWhatIsShownStaysThenNothingIsTold) {
    succeed({"playlist", "create", "A"});
    succeed({"playlist", "create", "B", "--parent", "A"});
    RunningQsml watch(watching({"mediaView", "--group", "playlist", "--json"}));
    EXPECT_EQ(number(next(watch), "rows"), 2);
    succeed({"playlist", "add", "A", "first", "second"});
    const auto update = next(watch);
    EXPECT_EQ(text(update, "event"), "update");
    EXPECT_EQ(number(update, "tracks"), 2);
    expectPath(update, 1, 1);
    succeed({"playlist", "reorder", "A", "1", "2"});  // writes it; its line stays as it is
    succeed({"queue", "add", "first"});               // another collection
    succeed({"playlist", "rename", "B", "Be"});
    const auto renamed = next(watch);
    EXPECT_EQ(text(renamed, "event"), "update");
    EXPECT_EQ(text(renamed, "name"), "Be");
    watch.send(SIGTERM);
    EXPECT_EQ(watch.exitStatus(), 0);
}

TEST_F(GivenAWatchedView, WhenTheInitialRowsAreAskedForThenTheyComeFirst) {
    RunningQsml watch(watching({"mediaItemsView", "--initial", "--json", "--changes", "1"}));
    EXPECT_EQ(number(next(watch), "rows"), 4);
    const std::vector<std::string> titles = {"First Light", "Fourth Wall", "Second Sun",
                                             "Third Rail"};
    EXPECT_EQ(text(next(watch), "event"), "initial");  // of the section
    for (std::size_t i = 0; i < titles.size(); ++i) {
        const auto row = next(watch);
        EXPECT_EQ(text(row, "event"), "initial");
        EXPECT_EQ(text(row, "title"), titles[i]);
        expectPath(row, 1, static_cast<double>(i + 1));
    }
    addTrack("Zest");
    EXPECT_EQ(text(next(watch), "title"), "Zest");
    EXPECT_EQ(watch.exitStatus(), 0);
}

TEST_F(GivenAWatchedView, WhenReadByPeopleThenLinesAreTextWithoutControls) {
    RunningQsml watch(watching({"mediaView", "--group", "playlist", "--changes", "2"}));
    EXPECT_THAT(watch.line(), StartsWith("mediaView has 0 rows in 0 groups"));
    succeed({"playlist", "create", "\x1b[2J*"});
    EXPECT_EQ(watch.line(), "insertSection playlist (1)");
    EXPECT_EQ(watch.line(), "insert        playlist 1  \\x1B[2J* | 0 | 0");
    EXPECT_EQ(watch.exitStatus(), 0);
}

TEST_F(GivenAWatchedView, WhenThereIsNoSuchViewThenThoseThatAreThereAreNamed) {
    const std::string views = refusal({"watch", "mediaViews"});
    EXPECT_THAT(views, HasSubstr("the library has no view \"mediaViews\"; it has: "));
    EXPECT_THAT(views, HasSubstr("mediaItemPlaylistView"));
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"watch"},
                                                      {"watch", ""},
                                                      {"watch", "mediaView", "--changes", "0"},
                                                      {"watch", "mediaView", "--group", ""}})
        EXPECT_EQ(qsml(arguments).exitStatus, 2) << arguments.back();
}

}  // namespace
}  // namespace qsml::app
