// The schedule of walResetOfSQLite_test.cpp through the store: the commit that would do harm waits
// for the writer lock until the checkpoint is over, so that every version of SQLite keeps every
// row.
#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#include "testing/ChildProcess.h"
#include "testing/FaultyFiles.h"
#include "testing/OpenStore.h"

namespace qsml {
namespace {

class GivenAStaleStoreThatCheckpoints : public OpenStore {
protected:
    static constexpr int rows = 60;
    /// Long against a commit, which takes a few milliseconds where nothing holds it back.
    static constexpr int patienceMilliseconds = 150;

    void SetUp() override {
        store_.options.vfsName = files_.vfsName();
        OpenStore::SetUp();
        ASSERT_EQ(other_.ask("open " + store_.path()), "ok");
    }
    void writeRows(YapDatabaseConnection& connection, int count, char letter) {
        const bool done = connection.readWrite([&](auto& transaction) {
            for (int row = 0; row < count; row++)
                transaction.setObject(String(std::string(500, letter)), std::to_string(row),
                                      "texts");
        });
        EXPECT_TRUE(done);
    }
    std::string fill(int count, char letter) {
        return other_.ask("fill 0 " + std::to_string(count) + " 500 " + letter);
    }
    /// Runs `race` inside the window; it tells whether its commit landed there.
    void runSchedule(const std::function<bool()>& race) {
        writeRows(store_.connection(), rows, 'a');
        ASSERT_TRUE(store_.database().checkpoint());
        ASSERT_EQ(fill(rows, 'b'), "ok");
        ASSERT_EQ(other_.ask("checkpoint"), "ok");
        files_.setCheckpointHook([&] {
            files_.setCheckpointHook({});
            hookRuns_++;
            landed_ = race();
        });
        ASSERT_TRUE(store_.database().checkpoint());
    }
    void finishSchedule() {
        ASSERT_EQ(fill(rows, 'd'), "ok");
        ASSERT_TRUE(store_.database().checkpoint());
        EXPECT_EQ(other_.ask("close"), "ok");
        ASSERT_TRUE(store_.open());
    }
    void expectEveryLastValue() {
        EXPECT_EQ(hookRuns_, 1) << "the schedule did not reach the window";
        EXPECT_FALSE(landed_) << "a commit landed inside a checkpoint";
        int lost = 0;
        for (int row = 0; row < rows; row++)
            lost += store_.text(std::to_string(row)) != std::string(500, 'd');
        EXPECT_EQ(lost, 0) << "rows lost their last value";
        EXPECT_EQ(store_.faults(), "");
    }

    FaultyFiles files_;
    ChildProcess other_{"qsml_store_child"};
    int hookRuns_ = 0;
    bool landed_ = false;
};

TEST_F(GivenAStaleStoreThatCheckpoints, WhenAnotherProcessCommitsThenItWaitsAndNothingIsLost) {
    runSchedule([&] {
        other_.send("fill 0 2 500 c");
        return other_.answersWithin(patienceMilliseconds);
    });
    ASSERT_EQ(other_.receive(), "ok");
    finishSchedule();
    expectEveryLastValue();
}

TEST_F(GivenAStaleStoreThatCheckpoints, WhenAnotherThreadCommitsThenItWaitsAndNothingIsLost) {
    std::mutex mutex;
    std::condition_variable committed;
    bool done = false;
    std::thread racer;
    auto connection = store_.database().newConnection();
    runSchedule([&] {
        racer = std::thread([&] {
            writeRows(*connection, 2, 'c');
            std::lock_guard lock(mutex);
            done = true;
            committed.notify_all();
        });
        std::unique_lock lock(mutex);
        return committed.wait_for(lock, std::chrono::milliseconds(patienceMilliseconds),
                                  [&] { return done; });
    });
    ASSERT_TRUE(racer.joinable()) << "the schedule did not reach the window";
    racer.join();
    connection.reset();
    finishSchedule();
    expectEveryLastValue();
}

}  // namespace
}  // namespace qsml
