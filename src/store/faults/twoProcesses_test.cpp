// Several processes on one file: nothing acknowledged is lost, everybody sees everybody's commits,
// and a process that dies takes nothing with it.
#include <gtest/gtest.h>
#include <unistd.h>

#include <random>

#include "testing/ChildProcess.h"
#include "testing/OpenStore.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

class GivenTwoProcesses : public OpenStore {
protected:
    void SetUp() override {
        OpenStore::SetUp();
        ASSERT_EQ(other_.ask("open " + store_.path()), "ok");
    }
    long long counter(std::string_view key) {
        const std::string text = store_.text(key, "counters");
        return text == "(nil)" ? 0 : std::stoll(text);
    }
    /// Counts up in a transaction of this process.
    bool increment(const std::string& key) {
        return store_.connection().readWrite([&](auto& transaction) {
            const String text = transaction.objectForKey(key, "counters").string();
            const auto value = (text ? std::stoll(text.str()) : 0) + 1;
            transaction.setObject(String(std::to_string(value)), key, "counters");
        });
    }

    ChildProcess other_{"qsml_store_child"};
};

TEST_F(GivenTwoProcesses, WhenOneCommitsThenTheOtherSeesItAtItsNextTransaction) {
    for (int round = 0; round < 20; round++) {
        const std::string text = std::to_string(round);
        ASSERT_TRUE(store_.set("mine", text));
        ASSERT_EQ(other_.ask("get mine"), text);
        ASSERT_EQ(other_.ask("set yours " + text), "ok");
        ASSERT_EQ(store_.text("yours"), text);
    }
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenTwoProcesses, WhenARowIsCachedThenAForeignCommitReplacesIt) {
    ASSERT_TRUE(store_.set("key", "old"));
    ASSERT_EQ(store_.text("key"), "old");
    ASSERT_EQ(other_.ask("set key new"), "ok");
    EXPECT_EQ(store_.text("key"), "new");
}

TEST_F(GivenTwoProcesses, WhenALongLivedReadMovesThenItIsToldOfForeignCommits) {
    store_.connection().beginLongLivedReadTransaction();
    ASSERT_EQ(other_.ask("set key new"), "ok");
    EXPECT_EQ(store_.text("key"), "(nil)") << "the pin moved by itself";
    const auto commits = store_.connection().beginLongLivedReadTransaction();
    ASSERT_FALSE(commits.empty());
    EXPECT_TRUE(commits.front()->isForeign);
    EXPECT_TRUE(YapDatabaseConnection::hasChangeForKey("key", "texts", commits));
    EXPECT_EQ(store_.text("key"), "new");
    store_.connection().endLongLivedReadTransaction();
}

TEST_F(GivenTwoProcesses, WhenTwoWriteAndOneReadsThenEveryAcknowledgedCommitIsThere) {
    const auto count = static_cast<int>(testScale(150, 20'000));
    ChildProcess reader("qsml_store_child"), second("qsml_store_child");
    ASSERT_EQ(reader.ask("open " + store_.path()), "ok");
    ASSERT_EQ(second.ask("open " + store_.path()), "ok");
    reader.send("watch shared " + std::to_string(2 * count));
    for (ChildProcess* writer : {&other_, &second})
        writer->send("increment shared " + std::to_string(count));
    for (ChildProcess* writer : {&other_, &second})
        for (int commit = 0; commit < count; commit++)
            ASSERT_EQ(writer->receive().value_or("(ended)").substr(0, 12), "acknowledged");
    EXPECT_EQ(other_.receive(), "done");
    EXPECT_EQ(second.receive(), "done");
    EXPECT_EQ(reader.receive(), "seen");
    EXPECT_EQ(counter("shared"), 2 * count);
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenTwoProcesses, WhenOneHoldsTheWriterLockThenReadsGoOnAndWritesWait) {
    ASSERT_EQ(other_.ask("hold"), "holding");
    EXPECT_EQ(store_.text("held"), "(nil)");
    bool committed = false;
    store_.connection().asyncReadWrite(
        [](auto& transaction) { transaction.setObject("mine", "mine", "texts"); },
        [&](const Error& error) { committed = !error; });
    EXPECT_EQ(other_.ask("release"), "ok");
    store_.drain();
    EXPECT_TRUE(committed);
    EXPECT_EQ(store_.text("held"), "(nil)") << "a rolled-back write is there";
    EXPECT_EQ(store_.text("mine"), "mine");
}

TEST_F(GivenTwoProcesses, WhenTheLockHolderIsKilledThenOthersGoOnAtOnce) {
    const auto kills = testScale(20, 200);
    for (std::size_t kill = 1; kill <= kills; kill++) {
        ChildProcess holder("qsml_store_child");
        ASSERT_EQ(holder.ask("open " + store_.path()), "ok");
        ASSERT_EQ(holder.ask("hold"), "holding");
        holder.kill();
        ASSERT_TRUE(increment("mine"));
        ASSERT_EQ(other_.ask("increment others 1"), "acknowledged " + std::to_string(kill));
        ASSERT_EQ(other_.receive(), "done");
        ASSERT_EQ(store_.text("held"), "(nil)");
    }
    EXPECT_EQ(counter("mine"), static_cast<long long>(kills));
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenTwoProcesses, WhenAWriterIsKilledAtAnyMomentThenAtMostOneCommitIsUnacknowledged) {
    const auto kills = testScale(20, 500);
    std::mt19937 random(7);  // NOLINT(cert-msc51-cpp): the same moments each time
    long long acknowledged = 0;
    for (std::size_t kill = 0; kill < kills; kill++) {
        ChildProcess writer("qsml_store_child");
        ASSERT_EQ(writer.ask("open " + store_.path()), "ok");
        writer.send("increment shared 1000000");
        for (auto left = random() % 30 + 1; left > 0; left--) {
            const std::string line = writer.receive().value_or("(ended)");
            ASSERT_EQ(line.substr(0, 13), "acknowledged ") << line;
            acknowledged = std::stoll(line.substr(13));
        }
        writer.kill();
        while (const auto line = writer.receive())
            if (line->size() > 13) acknowledged = std::stoll(line->substr(13));
        writer.wait();
        const long long found = counter("shared");
        ASSERT_GE(found, acknowledged) << "an acknowledged commit is lost";
        ASSERT_LE(found, acknowledged + 1);
    }
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenTwoProcesses, WhenTheOtherComesByALinkThenItIsTheSameStore) {
    ASSERT_EQ(::symlink(store_.path().c_str(), directory_.file("symbolic").c_str()), 0);
    ChildProcess linked("qsml_store_child");
    ASSERT_EQ(linked.ask("open " + directory_.file("symbolic")), "ok");
    ASSERT_EQ(linked.ask("set key linked"), "ok");
    EXPECT_EQ(store_.text("key"), "linked");
    ASSERT_EQ(linked.ask("hold"), "holding");
    bool committed = false;
    store_.connection().asyncReadWrite([](auto& t) { t.setObject("k", "k", "texts"); },
                                       [&](const Error& error) { committed = !error; });
    EXPECT_EQ(linked.ask("release"), "ok");
    store_.drain();
    EXPECT_TRUE(committed);
}

TEST_F(GivenTwoProcesses, WhenAChildIsForkedThenItIsRefusedAndTheParentGoesOn) {
    EXPECT_EQ(other_.ask("set key before"), "ok");
    EXPECT_EQ(other_.ask("fork"), "3 refused");
    EXPECT_EQ(other_.ask("set key after"), "ok");
    EXPECT_EQ(store_.text("key"), "after");
    EXPECT_EQ(store_.faults(), "");
}

TEST(GivenThreadsAtWork, WhenTheProcessExitsThenItEndsWellAndTheFileIsSound) {
    TemporaryDirectory directory;
    const auto exits = testScale(20, 200);
    std::mt19937 random(11);  // NOLINT(cert-msc51-cpp)
    for (std::size_t exit = 0; exit < exits; exit++) {
        ChildProcess child("qsml_store_child");
        child.send("exit " + directory.file("store.db") + " " + std::to_string(random() % 60));
        EXPECT_EQ(child.receive(), std::nullopt);
        ASSERT_EQ(child.wait(), 0) << "exit " << exit;
    }
    StoreOfTexts store(directory.file("store.db"));
    ASSERT_TRUE(store.open());
    EXPECT_EQ(store.faults(), "");
}

}  // namespace
}  // namespace qsml
