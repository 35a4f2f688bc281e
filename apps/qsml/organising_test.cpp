#include <gmock/gmock.h>

#include <thread>

#include "FourTracks.h"

namespace qsml::app {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class GivenTracks : public FourTracks {
protected:
    std::vector<std::string> queued() const {
        std::vector<std::string> titles;
        for (const auto& entry : objects(qsml({"queue", "list", "--json"}).output)) {
            EXPECT_EQ(number(entry, "position"), static_cast<double>(titles.size() + 1));
            titles.push_back(text(entry["titleID"], "title"));
        }
        return titles;
    }
    std::vector<rapidjson::Document> sessions() const {
        return objects(qsml({"history", "list", "--json"}).output);
    }
    static std::vector<std::string> played(const rapidjson::Value& session) {
        std::vector<std::string> titles;
        for (const auto& item : session["items"].GetArray())
            titles.push_back(text(item["titleID"], "title"));
        return titles;
    }
};

TEST_F(QsmlProgram, WhenANewLibraryIsAskedForTagGroupsThenItHasTheDefaultOnes) {
    const auto groups = objects(qsml({"tag-groups", "--json"}).output);
    ASSERT_EQ(groups.size(), 6u);
    EXPECT_EQ(text(groups[0], "name"), "Energy Moment");
    EXPECT_EQ(text(groups[0], "uuid").size(), 36u);
    EXPECT_THAT(texts(groups[1], "tags"), ElementsAre("1950s", "1960s", "1970s", "1980s", "1990s",
                                                      "2000s", "2010s", "2020s"));
    EXPECT_EQ(qsml({"tag-groups", "--json"}).output, qsml({"tag-groups", "--json"}).output);
    EXPECT_THAT(qsml({"tag-groups"}).output, StartsWith("Energy Moment: After Hours, "));
}

TEST_F(GivenTracks, WhenNothingIsQueuedThenTheQueueIsEmpty) {
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(refusal({"queue", "remove", "1"}),
              "qsml: the queue is empty; \"qsml queue add TRACK\" fills it\n");
    EXPECT_EQ(qsml({"queue", "clear", "--json"}).output, "{\"removed\":0}\n");
}

TEST_F(GivenTracks, WhenQueuedThenTheyStandInTheOrderThatWasAskedFor) {
    succeed({"queue", "add", "first", "SECOND SUN"});
    succeed({"queue", "add", "third", "first", "--at", "2"});
    EXPECT_THAT(queued(), ElementsAre("First Light", "Third Rail", "First Light", "Second Sun"));
    EXPECT_THAT(qsml({"queue", "list"}).output,
                StartsWith("#  Title        Artist  Time\n1  First Light  Ann     1:00\n"));
}

TEST_F(GivenTracks, WhenEntriesAreMovedThenTheOthersKeepTheirOrder) {
    succeed({"queue", "add", "first", "second", "third", "fourth"});
    succeed({"queue", "move", "1", "3"});
    EXPECT_THAT(queued(), ElementsAre("Second Sun", "Third Rail", "First Light", "Fourth Wall"));
    succeed({"queue", "move", "4", "1"});
    EXPECT_THAT(queued(), ElementsAre("Fourth Wall", "Second Sun", "Third Rail", "First Light"));
    succeed({"queue", "move", "2", "2"});
    EXPECT_THAT(queued(), ElementsAre("Fourth Wall", "Second Sun", "Third Rail", "First Light"));
    EXPECT_EQ(refusal({"queue", "move", "1", "5"}), "qsml: the queue has no entry 5; it has 4\n");
}

TEST_F(GivenTracks, WhenEntriesAreRemovedAndQueuedAgainThenNothingIsLeftBehind) {
    succeed({"queue", "add", "first", "second", "third", "fourth"});
    const auto removed = objects(qsml({"queue", "remove", "4", "2", "2", "--json"}).output);
    ASSERT_EQ(removed.size(), 2u);
    EXPECT_EQ(number(removed[0], "position"), 2);
    EXPECT_EQ(text(removed[1]["titleID"], "title"), "Fourth Wall");
    EXPECT_THAT(queued(), ElementsAre("First Light", "Third Rail"));
    succeed({"queue", "add", "second", "--at", "1"});
    EXPECT_THAT(queued(), ElementsAre("Second Sun", "First Light", "Third Rail"));
    EXPECT_EQ(qsml({"queue", "clear"}).output, "removed 3 entries\n");
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(qsml({"check"}).exitStatus, 0);
}

TEST_F(GivenTracks, WhenOneOfSeveralCannotBeQueuedThenNoneIs) {
    EXPECT_THAT(refusal({"queue", "add", "first", "no such track"}), HasSubstr("no such track"));
    EXPECT_THAT(refusal({"queue", "add", "first", "i"}), HasSubstr("name one by its ID: "));
    EXPECT_THAT(refusal({"queue", "add", "first", "--at", "2"}),
                HasSubstr("position 2 is beyond the end of the queue; 1 is the last"));
    EXPECT_THAT(queued(), IsEmpty());
}

TEST_F(GivenTracks, WhenPlayedInASessionThenTheHistoryTellsWhatWhenAndWhere) {
    succeed({"history", "start"});
    succeed({"history", "add", "second", "--deck", "2", "--time", "2026-06-01T22:30:00Z"});
    succeed({"history", "add", "first"});
    succeed({"history", "end"});
    const auto all = sessions();
    ASSERT_EQ(all.size(), 1u);
    EXPECT_THAT(played(all[0]), ElementsAre("Second Sun", "First Light"));
    EXPECT_TRUE(all[0].HasMember("startDate") && all[0].HasMember("endDate"));
    EXPECT_NE(text(all[0], "deviceName"), "");
    EXPECT_EQ(number(all[0], "deviceType"), 0);
    const auto& first = all[0]["items"][0];
    EXPECT_EQ(number(first, "deckNumber"), 2);
    EXPECT_EQ(text(first, "startTime"), "2026-06-01T22:30:00Z");
    EXPECT_EQ(text(first, "sessionUUID"), text(all[0], "uuid"));
    EXPECT_EQ(number(all[0]["items"][1], "deckNumber"), 1);
    EXPECT_EQ(compact(objects(qsml({"history", "show", "--json"}).output).at(0)), compact(all[0]));
    EXPECT_THAT(qsml({"history", "show", text(all[0], "uuid").substr(0, 9)}).output,
                HasSubstr("\n2026-06-01T22:30:00Z         2  Second Sun   Ann     1:00\n"));
}

TEST_F(GivenTracks, WhenASessionIsStartedWhileOneIsOpenThenThatIsEnded) {
    const auto first = objects(qsml({"history", "start", "--json"}).output);
    const auto second = objects(qsml({"history", "start", "--json"}).output);
    succeed({"history", "add", "third"});
    const auto all = sessions();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(text(all[0], "uuid"), text(second.at(0), "uuid")) << "the newest comes first";
    EXPECT_FALSE(all[0].HasMember("endDate"));
    EXPECT_THAT(played(all[0]), ElementsAre("Third Rail"));
    EXPECT_EQ(text(all[1], "uuid"), text(first.at(0), "uuid"));
    EXPECT_TRUE(all[1].HasMember("endDate"));
}

TEST_F(GivenTracks, WhenSeveralProcessesStartSessionsAtOnceThenTheNextStartLeavesOneOpen) {
    std::vector<std::thread> processes;
    for (int i = 0; i < 4; ++i) processes.emplace_back([&] { succeed({"history", "start"}); });
    for (std::thread& process : processes) process.join();
    succeed({"history", "start"});
    const auto all = sessions();
    ASSERT_EQ(all.size(), 5u);
    for (const auto& session : all)
        EXPECT_EQ(session.HasMember("endDate"), &session != &all.front());
}

TEST_F(GivenTracks, WhenSeveralProcessesQueueAtOnceThenEveryEntryIsThere) {
    std::vector<std::thread> processes;
    for (int i = 0; i < 6; ++i) processes.emplace_back([&] { succeed({"queue", "add", "third"}); });
    for (std::thread& process : processes) process.join();
    EXPECT_EQ(queued(), std::vector<std::string>(6, "Third Rail"));
    EXPECT_EQ(qsml({"check"}).exitStatus, 0);
}

TEST_F(GivenTracks, WhenNoSessionIsOpenThenNothingIsRecorded) {
    const std::string none = "qsml: no session is open; \"qsml history start\" opens one\n";
    EXPECT_EQ(refusal({"history", "add", "first"}), none);
    EXPECT_EQ(refusal({"history", "end"}), none);
    succeed({"history", "start"});
    succeed({"history", "end"});
    EXPECT_EQ(refusal({"history", "add", "first"}), none);
    EXPECT_THAT(refusal({"history", "show", "F00"}), HasSubstr("there is no session with the ID"));
    EXPECT_EQ(sessions().size(), 1u);
}

TEST_F(GivenTracks, WhenTheCommandIsIncompleteThenTheUsageIsWrong) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"queue"},
          {"queue", "add"},
          {"queue", "move", "1"},
          {"queue", "move", "0", "1"},
          {"queue", "remove", "x"},
          {"queue", "add", "first", "--at", "0"},
          {"history"},
          {"history", "add"},
          {"history", "add", "first", "--deck", "-1"},
          {"history", "add", "first", "--deck", "99999999999999999999"},
          {"queue", "move", "1", "99999999999999999999"},
          {"queue", "add", ""},
          {"history", "add", ""},
          {"history", "add", "first", "--time", "soon"},
          {"tag-groups", "mood"}}) {
        const ProgramRun run = qsml(arguments);
        EXPECT_EQ(run.exitStatus, 2) << arguments.back();
        EXPECT_THAT(run.errors, HasSubstr("see \"qsml --help\"")) << arguments.back();
    }
}

}  // namespace
}  // namespace qsml::app
