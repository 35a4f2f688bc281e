#include <gmock/gmock.h>

#include <thread>

#include "QsmlProgram.h"

namespace qsml::app {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

/// Two tracks of one ISRC and one by itself.
class GivenTracksToSetUp : public QsmlProgram {
protected:
    void SetUp() override {
        add("First Light", "USRC17607839");
        add("Second Sun", "");
        add("First Light (Radio)", "USRC17607839");
        ASSERT_EQ(number(import(), "tracksAdded"), 3);
    }
    void add(const std::string& title, const std::string& isrc) {
        writeFLAC(music(title + ".flac"), 60 + static_cast<double>(title.size()),
                  {{"TITLE", {title}}, {"ARTIST", {"Ann"}}, {"ISRC", {isrc}}});
    }
    rapidjson::Document shown(const std::string& track) const {
        auto all = succeed({"show", track});
        EXPECT_EQ(all.size(), 1u);
        return std::move(all.front());
    }
    /// Of the user data that `show` shows; "" without any.
    std::string shown(const std::string& track, const char* property) const {
        const auto record = shown(track);
        if (!record.HasMember("userData") || !record["userData"].HasMember(property)) return "";
        return compact(record["userData"][property]);
    }
    double snapshot() const { return number(succeed({"stats"}).at(0), "snapshot"); }
    double records() const { return number(succeed({"stats"}).at(0), "allRecords"); }
};

TEST_F(GivenTracksToSetUp, WhenACueIsAddedThenItIsShown) {
    const auto added = succeed(
        {"cue", "add", "SECOND SUN", "--number", "1", "--time", "12.5", "--comment", "intro"});
    ASSERT_THAT(added, SizeIs(1));
    EXPECT_EQ(text(added[0], "uuid"), text(tracks().at("Second Sun"), "uuid"));
    EXPECT_EQ(shown("Second Sun", "cuePoints"),
              "[{\"time\":12.5,\"number\":1,\"comment\":\"intro\"}]");
    EXPECT_THAT(qsml({"show", "Second Sun"}).output,
                HasSubstr("time: 12.5, number: 1, comment: intro\n"));
    EXPECT_EQ(qsml({"check"}).exitStatus, 0);
}

TEST_F(GivenTracksToSetUp, WhenCuesAreAddedThenTheyAreListedByNumber) {
    succeed({"cue", "add", "second", "--number", "3", "--time", "61.25"});
    succeed({"cue", "add", "second", "--time", "0"});
    succeed({"cue", "add", "second", "--time", "3.5", "--comment", " drop "});
    EXPECT_EQ(qsml({"cue", "list", "second"}).output,
              "#      Time  Comment\n"
              "1  0:00.000\n"
              "2  0:03.500  drop\n"
              "3  1:01.250\n");
    EXPECT_EQ(compact(succeed({"cue", "list", "second"}).at(1)["comment"]), "\"drop\"");
    EXPECT_THAT(succeed({"cue", "list", "radio"}), IsEmpty());
}

TEST_F(GivenTracksToSetUp, WhenANumberIsTakenThenTheCueStaysUnlessItIsReplaced) {
    const std::vector<std::string> add = {"cue", "add", "second", "--number", "1", "--time", "5"};
    succeed(add);
    const double before = snapshot();
    succeed(add);
    EXPECT_EQ(snapshot(), before) << "the same cue again is no change";
    auto other = add;
    other.back() = "6";
    EXPECT_THAT(refusal(other), StartsWith("qsml: cue 1 at 0:05.000 is there already; --replace"));
    EXPECT_EQ(number(succeed({"cue", "list", "second"}).at(0), "time"), 5);
    other.emplace_back("--replace");
    succeed(other);
    EXPECT_EQ(number(succeed({"cue", "list", "second"}).at(0), "time"), 6);
    EXPECT_THAT(succeed({"cue", "list", "second"}), SizeIs(1));
}

TEST_F(GivenTracksToSetUp, WhenCuesAreRemovedThenTheOthersStay) {
    for (const char* time : {"1", "2", "3"}) succeed({"cue", "add", "second", "--time", time});
    EXPECT_EQ(refusal({"cue", "remove", "second", "1", "4"}),
              "qsml: the track has no cue 4; \"qsml cue list\" shows them\n");
    EXPECT_THAT(succeed({"cue", "remove", "second", "3", "1", "1"}), SizeIs(2));
    EXPECT_EQ(number(succeed({"cue", "list", "second"}).at(0), "number"), 2);
    EXPECT_EQ(qsml({"cue", "clear", "second"}).output,
              "Second Sun: no longer has cue 2 at 0:02.000\n");
    EXPECT_EQ(shown("Second Sun", "cuePoints"), "") << "a list of none is none";
    const double before = snapshot();
    EXPECT_THAT(succeed({"cue", "clear", "second"}), IsEmpty());
    EXPECT_EQ(snapshot(), before);
}

TEST_F(GivenTracksToSetUp, WhenLoopsAreAddedThenTheyEndAfterTheyStart) {
    EXPECT_THAT(refusal({"loop", "add", "second", "--start", "4", "--end", "4"}),
                HasSubstr("give an --end above --start"));
    EXPECT_EQ(shown("Second Sun", "loopRegions"), "");
    EXPECT_EQ(qsml({"loop", "add", "second", "--start", "4", "--end", "8.5"}).output,
              "Second Sun: has loop 1 at 0:04.000 to 0:08.500\n");
    EXPECT_THAT(qsml({"loop", "list", "second"}).output, HasSubstr("1  0:04.000  0:08.500"));
    EXPECT_EQ(number(succeed({"loop", "list", "second"}).at(0), "endTime"), 8.5);
    succeed({"loop", "remove", "second", "1"});
    succeed({"loop", "add", "second", "--start", "1", "--end", "2"});
    EXPECT_THAT(succeed({"loop", "clear", "second"}), SizeIs(1));
    EXPECT_THAT(succeed({"loop", "list", "second"}), IsEmpty());
}

TEST_F(GivenTracksToSetUp, WhenTextIsHostileThenItIsKeptAsItIs) {
    const std::string comment = "\"quotes\" 'and' \\ \x1B[31m \u202E (* AND NEAR";
    succeed({"cue", "add", "second", "--time", "1", "--comment", comment});
    EXPECT_EQ(text(succeed({"cue", "list", "second"}).at(0), "comment"), comment);
    EXPECT_THAT(qsml({"cue", "list", "second"}).output, HasSubstr("\\x1B[31m"));
    EXPECT_THAT(refusal({"cue", "add", "second", "--time", "2", "--comment", "\xFF"}),
                HasSubstr("the comment \"\\xFF\" is no UTF-8 text"));
    EXPECT_THAT(refusal({"tag", "add", "second", "\xC3"}), HasSubstr("is no UTF-8 text"));
    EXPECT_EQ(qsml({"check"}).exitStatus, 0);
}

TEST_F(GivenTracksToSetUp, WhenRatedThenTheNumberIsKeptUntilItIsCleared) {
    for (const char* setting : {"rate", "energy"}) {
        const std::string property = setting == std::string("rate") ? "rating" : setting;
        EXPECT_EQ(qsml({setting, "second"}).output, "Second Sun: " + property + " not set\n");
        EXPECT_EQ(shown("Second Sun").HasMember("userData"), property == "energy")
            << "looking makes no record";
        EXPECT_EQ(number(succeed({setting, "second", "4"}).at(0), property.c_str()), 4);
        const double before = snapshot();
        succeed({setting, "second", "4"});
        EXPECT_EQ(snapshot(), before) << "the same again is no change";
        EXPECT_EQ(qsml({setting, "second"}).output, "Second Sun: " + property + " 4\n");
        EXPECT_THAT(refusal({setting, "second", "0"}), HasSubstr("--clear unsets it"));
        EXPECT_THAT(refusal({setting, "second", "many"}), HasSubstr("\"many\" is no whole number"));
        EXPECT_THAT(refusal({setting, "second", "5", "--clear"}), HasSubstr("exclude each other"));
        EXPECT_EQ(number(succeed({setting, "second", "--clear"}).at(0), property.c_str()), 0);
    }
}

TEST_F(GivenTracksToSetUp, WhenTheTempoIsSetThenItIsABeatCount) {
    EXPECT_EQ(qsml({"bpm", "second", "127.5"}).output, "Second Sun: manualBPM 127.5\n");
    EXPECT_EQ(number(succeed({"bpm", "second", "128,25"}).at(0), "manualBPM"), 128.25);
    for (const char* no : {"0", "1000", "nan", "1e2", "fast"})
        EXPECT_THAT(refusal({"bpm", "second", no}), HasSubstr("is no tempo above 0")) << no;
    succeed({"bpm", "second", "--clear"});
    EXPECT_EQ(shown("Second Sun", "manualBPM"), "0");
}

TEST_F(GivenTracksToSetUp, WhenTheKeyIsSetThenItGoesByNameOrIndex) {
    for (const char* name : {"Am", "8A", "1m", "21"}) {
        const auto set = succeed({"key", "second", name});
        EXPECT_EQ(number(set.at(0), "manualKeySignatureIndex"), 21) << name;
        EXPECT_EQ(text(set.at(0), "musicalKey"), "Am") << name;
    }
    EXPECT_EQ(shown("Second Sun", "manualKey"), "\"Am\"");
    EXPECT_THAT(refusal({"key", "second", "H"}), HasSubstr("\"H\" is no musical key"));
    EXPECT_THAT(refusal({"key", "second", "24"}), HasSubstr("is no musical key"));
    EXPECT_THAT(refusal({"key", "second", "C"}), HasSubstr("C major cannot be set"));
    EXPECT_THAT(refusal({"key", "second", "0"}), HasSubstr("C major cannot be set"));
    EXPECT_EQ(qsml({"key", "second"}).output, "Second Sun: manualKeySignatureIndex Am\n");
    EXPECT_EQ(qsml({"key", "second", "--clear"}).output,
              "Second Sun: manualKeySignatureIndex not set\n");
}

TEST_F(GivenTracksToSetUp, WhenATagIsOfAGroupThenItIsTakenAsItIsThere) {
    const auto added = succeed({"tag", "add", "second", "after hours", "1990S", "my own"});
    ASSERT_THAT(added, SizeIs(3));
    EXPECT_EQ(text(added[0], "tag"), "After Hours");
    EXPECT_EQ(text(added[0], "group"), "Energy Moment");
    EXPECT_EQ(text(added[1], "tag"), "1990s");
    EXPECT_FALSE(added[2].HasMember("group"));
    EXPECT_EQ(qsml({"tag", "list", "second"}).output,
              "Second Sun: is tagged 1990s (Era)\n"
              "Second Sun: is tagged After Hours (Energy Moment)\n"
              "Second Sun: is tagged my own\n");
    EXPECT_THAT(texts(shown("Second Sun")["userData"], "tags"),
                ::testing::UnorderedElementsAre("1990s", "After Hours", "my own"));
}

TEST_F(GivenTracksToSetUp, WhenAGroupIsNamedThenOnlyItsTagsWillDo) {
    succeed({"tag", "add", "second", "After Hours", "--group", "energy moment"});
    EXPECT_THAT(refusal({"tag", "add", "second", "1990s", "--group", "energy moment"}),
                HasSubstr("the group \"Energy Moment\" has no tag \"1990s\""));
    EXPECT_THAT(refusal({"tag", "add", "second", "1990s", "--group", "nothing"}),
                HasSubstr("there is no tag group \"nothing\""));
    EXPECT_THAT(refusal({"tag", "add", "second", "  "}), HasSubstr("a tag of blanks is none"));
    EXPECT_THAT(succeed({"tag", "list", "second"}), SizeIs(1));
}

TEST_F(GivenTracksToSetUp, WhenTheLastTrackLosesATagThenTheTagIsGone) {
    (void)qsml({"tag-groups"});  // the default groups are records too
    succeed({"rate", "second", "1"});
    succeed({"rate", "radio", "1"});
    const double before = records();
    succeed({"tag", "add", "second", "my own"});
    succeed({"tag", "add", "radio", "my own"});
    EXPECT_EQ(records(), before + 1) << "one text, one tag";
    EXPECT_THAT(refusal({"tag", "remove", "second", "my own", "other"}),
                HasSubstr("the track has no tag \"other\""));
    succeed({"tag", "remove", "second", "MY OWN"});
    EXPECT_THAT(succeed({"tag", "list", "second"}), IsEmpty());
    EXPECT_THAT(succeed({"tag", "list", "radio"}), SizeIs(1));
    succeed({"tag", "remove", "radio", "my own"});
    EXPECT_EQ(records(), before);
    EXPECT_EQ(qsml({"check"}).exitStatus, 0);
}

TEST_F(GivenTracksToSetUp, WhenSeveralProcessesWriteAtOnceThenNothingIsLost) {
    std::vector<std::thread> processes;
    for (int i = 0; i < 4; ++i) {
        processes.emplace_back([&] { succeed({"played", "second"}); });
        processes.emplace_back([&] { succeed({"cue", "add", "second", "--time", "1"}); });
    }
    for (std::thread& process : processes) process.join();
    EXPECT_EQ(number(succeed({"played", "second"}).at(0), "playCount"), 5);
    std::vector<double> numbers;
    for (const auto& cue : succeed({"cue", "list", "second"}))
        numbers.push_back(number(cue, "number"));
    EXPECT_THAT(numbers, ElementsAre(1, 2, 3, 4));
}

TEST_F(GivenTracksToSetUp, WhenTracksShareAnISRCThenTheyShareWhatIsSetUp) {
    const std::string first = text(tracks().at("First Light"), "uuid");
    succeed({"cue", "add", first, "--time", "9"});
    EXPECT_THAT(succeed({"cue", "list", "radio"}), SizeIs(1));
    succeed({"rate", "radio", "3"});
    EXPECT_EQ(number(succeed({"rate", first}).at(0), "rating"), 3);
    EXPECT_EQ(shown(first)["userData"]["titleIDs"].Size(), 2u) << "the record knows both";
}

TEST_F(GivenTracksToSetUp, WhenTheCommandIsWrongThenTheUsageIsTold) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"cue"},
          {"cue", "add", "second"},
          {"cue", "add", "second", "--time", "-1"},
          {"cue", "add", "second", "--time", "1e999"},
          {"cue", "add", "second", "--time", "nan"},
          {"cue", "add", "second", "--time", "inf"},
          {"cue", "add", "second", "--time", "1", "--number", "-1"},
          {"cue", "add", "second", "--time", "1", "--number", "99999999999999999999"},
          {"cue", "remove", "second"},
          {"cue", "remove", "second", "x"},
          {"cue", "remove", "second", "99999999999999999999"},
          {"loop", "add", "second", "--start", "1"},
          {"rate"},
          {"rate", ""},
          {"rate", "second", "1", "2"},
          {"tag", "add", "second"},
          {"tag", "add", "second", "x", "--group", ""},
          {"played"}}) {
        const ProgramRun run = qsml(arguments);
        EXPECT_EQ(run.exitStatus, 2) << arguments.back();
        EXPECT_THAT(run.errors, HasSubstr("see \"qsml --help\"")) << arguments.back();
    }
}

TEST_F(GivenTracksToSetUp, WhenATrackIsAbsentOrSeveralThenNothingIsWritten) {
    const double before = snapshot();
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"cue", "add", "absent", "--time", "1"},
          {"rate", "absent", "1"},
          {"tag", "add", "absent", "x"},
          {"played", "absent"}})
        EXPECT_THAT(refusal(arguments), HasSubstr("no track has the ID or the title \"absent\""));
    EXPECT_THAT(refusal({"played", "i"}), HasSubstr("name one by its ID: "));
    EXPECT_THAT(refusal({"loop", "list", "i"}), HasSubstr("name one by its ID: "));
    EXPECT_GE(before + 1, snapshot()) << "at most the default tag groups";
    EXPECT_EQ(shown("Second Sun").HasMember("userData"), false);
}

}  // namespace
}  // namespace qsml::app
