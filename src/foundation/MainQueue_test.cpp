#include <gtest/gtest.h>

#include <deque>
#include <future>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "foundation/DispatchQueue.h"

using namespace qsml;

namespace {

class GivenTheMainQueue : public ::testing::Test {
protected:
    // The library's own thread may still be leaving the last block of an earlier test: once a block
    // has run here, it has left.
    GivenTheMainQueue() {
        MainQueue::setManual();
        main_.async([] {});
        EXPECT_TRUE(MainQueue::waitForBlock(60));
        MainQueue::runPending();
        MainQueue::setAutomatic();
    }
    ~GivenTheMainQueue() override {
        MainQueue::setAutomatic();
        main_.sync([] {});
    }
    void note(const std::string& name) {
        main_.async([this, name] {
            EXPECT_TRUE(main_.isCurrent());
            ran_ += name;
        });
    }

    DispatchQueue& main_ = DispatchQueue::main();
    std::string ran_;
};

}  // namespace

TEST_F(GivenTheMainQueue, WhenAutomaticThenOneThreadOfTheLibraryRunsAllBlocks) {
    std::vector<std::thread::id> ids(3);
    main_.async([&] { ids[0] = std::this_thread::get_id(); });
    main_.async([&] { ids[1] = std::this_thread::get_id(); });
    main_.sync([&] {
        EXPECT_TRUE(main_.isCurrent());
        ids[2] = std::this_thread::get_id();
    });
    EXPECT_EQ(ids[0], ids[1]);
    EXPECT_EQ(ids[0], ids[2]);
    EXPECT_NE(ids[0], std::this_thread::get_id());
    EXPECT_FALSE(main_.isCurrent());
}

TEST_F(GivenTheMainQueue, WhenManualThenBlocksWaitAndRunPendingCountsThem) {
    MainQueue::setManual();
    EXPECT_FALSE(MainQueue::waitForBlock(0));
    EXPECT_EQ(MainQueue::runPending(), 0u);
    note("a");
    main_.async([this] { note("c"); });
    EXPECT_TRUE(MainQueue::waitForBlock(0));
    EXPECT_EQ(ran_, "");
    EXPECT_EQ(MainQueue::runPending(), 3u);
    EXPECT_EQ(ran_, "ac");
    for (int i = 0; i < 300; ++i) note("x");
    EXPECT_EQ(MainQueue::runPending(), 300u);
}

TEST_F(GivenTheMainQueue, WhenManualThenSyncOfAnotherThreadRunsOnThePumpingOne) {
    MainQueue::setManual();
    std::thread::id ranOn;
    std::thread other([&] {
        main_.sync([&] { ranOn = std::this_thread::get_id(); });
        EXPECT_THROW(main_.sync([] { throw std::runtime_error("broken"); }), std::runtime_error);
    });
    for (int ran = 0; ran < 2;)
        if (MainQueue::waitForBlock(60)) ran += static_cast<int>(MainQueue::runPending());
    other.join();
    EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST_F(GivenTheMainQueue, WhenNotManualThenPumpingIsAnError) {
    EXPECT_THROW(MainQueue::runPending(), std::logic_error);
    EXPECT_THROW(MainQueue::waitForBlock(0), std::logic_error);
}

TEST_F(GivenTheMainQueue, WhenAHostPostsThenItsLoopRunsTheBlocksInOrder) {
    std::mutex mutex;
    std::deque<std::function<void()>> loop;
    MainQueue::setExecutor([&](std::function<void()> block) {
        const std::lock_guard lock(mutex);
        loop.push_back(std::move(block));
    });
    note("a");
    note("b");
    EXPECT_EQ(ran_, "");
    while (!loop.empty()) {
        const auto block = std::move(loop.front());
        loop.pop_front();
        block();
    }
    EXPECT_EQ(ran_, "ab");
}

TEST_F(GivenTheMainQueue, WhenTheModeChangesThenWaitingBlocksKeepTheirOrderAndRunOnce) {
    MainQueue::setManual();
    note("a");
    std::deque<std::function<void()>> loop;
    MainQueue::setExecutor([&](std::function<void()> block) { loop.push_back(std::move(block)); });
    note("b");
    const auto late = loop;  // the loop has ended without running them
    MainQueue::setManual();
    note("c");
    for (const auto& block : late) block();
    EXPECT_EQ(ran_, "");
    EXPECT_EQ(MainQueue::runPending(), 3u);
    EXPECT_EQ(ran_, "abc");
    note("d");
    MainQueue::setAutomatic();
    main_.sync([] {});
    EXPECT_EQ(ran_, "abcd");
}

TEST_F(GivenTheMainQueue, WhenTheModeChangesDuringABlockThenTheRestRunsInTheNewMode) {
    std::promise<void> inBlock, goOn;
    main_.async([&] {
        inBlock.set_value();
        goOn.get_future().wait();
        ran_ += "a";
    });
    note("b");
    inBlock.get_future().wait();
    MainQueue::setManual();
    goOn.set_value();
    ASSERT_TRUE(MainQueue::waitForBlock(60));
    EXPECT_EQ(ran_, "a");
    EXPECT_EQ(MainQueue::runPending(), 1u);
    EXPECT_EQ(ran_, "ab");
}

TEST_F(GivenTheMainQueue, WhenSuspendedThenPumpingRunsNothing) {
    MainQueue::setManual();
    main_.suspend();
    note("a");
    EXPECT_FALSE(MainQueue::waitForBlock(0));
    EXPECT_EQ(MainQueue::runPending(), 0u);
    main_.resume();
    EXPECT_EQ(MainQueue::runPending(), 1u);
}

TEST_F(GivenTheMainQueue, WhenManyThreadsSyncInAutomaticModeThenNothingIsLost) {
    int count = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int n = 0; n < 300; ++n) main_.sync([&] { ++count; });
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(count, 1200);
}
