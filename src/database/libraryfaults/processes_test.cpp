// Processes that are killed, and two that edit one library at once.
#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <sstream>

#include "database/libraryfaults/SharedWork.h"
#include "database/libraryfaults/sampleContent.h"
#include "testing/ChildProcess.h"
#include "testing/LogCapture.h"
#include "testing/testScale.h"
#include "tracks/PLXMediaItem.h"
#include "tracks/PLXMediaItemUserData.h"

namespace qsml {
namespace {

namespace content = sampleContent;
constexpr int tracks = 30;

void makeLibrary(const std::string& path) {
    LibraryAtWork library(path);
    ASSERT_TRUE(library.open());
    ASSERT_TRUE(library.write([](auto& transaction) {
        for (int track = 0; track < tracks; ++track)
            ASSERT_TRUE(content::importTrack(transaction, track));
        ASSERT_TRUE(content::addLists(transaction, tracks));
    }));
}

/// The plays of a track; both records must tell the same.
std::uint64_t playsOf(LibraryAtWork& library, int track) {
    std::uint64_t plays = 0;
    EXPECT_TRUE(library.background().read([&](auto& transaction) {
        const auto data = transaction.template object<PLXMediaItemUserData>(
            content::keyOf(track), PLXDatabaseCollectionMediaItemUserData);
        const auto item = transaction.template object<PLXMediaItem>(
            content::keyOf(track), PLXDatabaseCollectionMediaItems);
        ASSERT_TRUE(data && item);
        plays = data->playCount();
        EXPECT_EQ(item->year(), static_cast<std::int64_t>(plays)) << "half a commit";
    }));
    return plays;
}

class GivenALibraryOfAProcessThatIsKilled : public ::testing::Test {
protected:
    static constexpr int writers = 4;

    void SetUp() override { makeLibrary(path_); }
    void note(const std::string& line) {
        std::istringstream words(line);
        int track = 0;
        std::uint64_t plays = 0;
        if (words >> track >> plays && words.eof()) acknowledged_[track] = plays;
    }
    /// Starts it, lets it acknowledge so many commits and kills it.
    void killAfter(std::size_t commits) {
        ChildProcess child("qsml_library_child");
        ASSERT_EQ(child.ask("open " + path_), "ok");
        child.send("count 0 " + std::to_string(writers));
        for (; commits > 0; --commits) {
            const auto line = child.receive();
            ASSERT_TRUE(line);
            note(*line);
        }
        child.kill();
        while (const auto line = child.receive()) note(*line);
        child.wait();
    }
    void expectEveryAcknowledgedCommit(LibraryAtWork& library) {
        for (int track = 0; track < writers; ++track) {
            const auto plays = playsOf(library, track);
            EXPECT_GE(plays, acknowledged_[track]) << "an acknowledged commit is lost";
            EXPECT_LE(plays, acknowledged_[track] + 1) << "more than the one under way";
            acknowledged_[track] = plays;
        }
    }
    TemporaryDirectory directory_;
    std::string path_ = directory_.file("library.qsml");
    std::map<int, std::uint64_t> acknowledged_;
};

TEST_F(GivenALibraryOfAProcessThatIsKilled, WhenItWritesThenEveryAcknowledgedCommitIsThere) {
    const LogCapture log;
    std::mt19937 random(7);  // NOLINT(cert-msc51-cpp): the same moments each time
    for (std::size_t kill = 0; kill < testScale(12, 500) && !HasFailure(); ++kill) {
        SCOPED_TRACE("kill " + std::to_string(kill));
        killAfter(random() % 120);
        LibraryAtWork library(path_);
        Error error;
        ASSERT_TRUE(library.open(&error)) << error.description;
        expectEveryAcknowledgedCommit(library);
        EXPECT_EQ(kill % testScale(4, 10) == 0 ? library.faults() : "", "");
    }
}

class GivenALibraryOfSeveralProcesses : public ::testing::Test {
protected:
    void SetUp() override {
        makeLibrary(path_);
        Error error;
        ASSERT_TRUE(mine_.open(&error)) << error.description;
    }
    void start(ChildProcess& child) { ASSERT_EQ(child.ask("open " + path_), "ok"); }

    const LogCapture log_;
    const TemporaryDirectory directory_;
    const std::string path_ = directory_.file("library.qsml");
    SharedWork mine_{path_};
};

TEST_F(GivenALibraryOfSeveralProcesses, WhenTwoEditThenEachSeesAllOfItAndNothingIsLost) {
    ChildProcess other("qsml_library_child"), reader("qsml_library_child");
    start(other);
    start(reader);
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::seconds(testScale(0, 30));
    const std::size_t least = testScale(3, 40);
    const int commits = 60;
    for (std::size_t round = 1; round <= least || Clock::now() < end; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        other.send("edit b " + std::to_string(commits));
        reader.send("see");  // one of the states on the way
        EXPECT_TRUE(mine_.edit("a", commits));
        ASSERT_EQ(other.receive(), "done");
        ASSERT_TRUE(reader.receive());
        const std::string seen = mine_.seen();
        EXPECT_EQ(other.ask("see"), seen);
        EXPECT_EQ(reader.ask("see"), seen);
        EXPECT_EQ(mine_.seen(), seen);
        EXPECT_EQ(playsOf(mine_.library(), 0), round * commits);
        EXPECT_EQ(playsOf(mine_.library(), 1), round * commits);
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_EQ(mine_.library().faults(), "");
    EXPECT_EQ(other.ask("check"), "ok");
    EXPECT_EQ(reader.ask("check"), "ok");
}

TEST_F(GivenALibraryOfSeveralProcesses, WhenOneIsKilledThenTheOthersGoOnAtOnce) {
    std::mt19937 random(11);  // NOLINT(cert-msc51-cpp): the same moments each time
    for (std::size_t kill = 0; kill < testScale(6, 200); ++kill) {
        SCOPED_TRACE("kill " + std::to_string(kill));
        ChildProcess other("qsml_library_child");
        start(other);
        other.send("count 5 4");
        for (std::size_t lines = random() % 40; lines > 0; --lines) ASSERT_TRUE(other.receive());
        other.kill();
        EXPECT_TRUE(mine_.edit("a", 5));
        while (other.receive()) {
        }
        other.wait();
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_EQ(mine_.library().faults(), "");
}

}  // namespace
}  // namespace qsml
