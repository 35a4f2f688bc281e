// Processes that are killed, and two that edit one library at once.
#include <gtest/gtest.h>

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

TEST(GivenALibraryOfTwoProcesses, WhenBothEditThenEachSeesAllOfItAndNothingIsLost) {
    const LogCapture log;
    const TemporaryDirectory directory;
    makeLibrary(directory.file("library.qsml"));
    SharedWork mine(directory.file("library.qsml"));
    Error error;
    ASSERT_TRUE(mine.open(&error)) << error.description;
    ChildProcess other("qsml_library_child");
    ASSERT_EQ(other.ask("open " + mine.library().path()), "ok");
    const std::size_t rounds = testScale(3, 40);
    const int commits = 60;
    for (std::size_t round = 1; round <= rounds && !::testing::Test::HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        other.send("edit b" + std::string(" ") + std::to_string(commits));
        EXPECT_TRUE(mine.edit("a", commits));
        ASSERT_EQ(other.receive(), "done");
        const std::string seen = mine.seen();
        EXPECT_EQ(other.ask("see"), seen);
        EXPECT_EQ(mine.seen(), seen);
        EXPECT_EQ(playsOf(mine.library(), 0), round * commits);
        EXPECT_EQ(playsOf(mine.library(), 1), round * commits);
    }
    EXPECT_EQ(mine.library().faults(), "");
    EXPECT_EQ(other.ask("check"), "ok");
}

}  // namespace
}  // namespace qsml
