#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <future>
#include <stdexcept>
#include <thread>
#include <vector>

#include "foundation/DispatchQueue.h"
#include "foundation/Log.h"

using namespace qsml;

TEST(GivenTheThreadPool, WhenManyBlocksWaitForALaterOneThenItStillRuns) {
    auto pool = Executor::threadPool();
    std::promise<void> gate;
    const std::shared_future<void> open = gate.get_future().share();
    std::vector<std::future<void>> ended;
    for (int i = 0; i < 40; ++i) {
        auto done = std::make_shared<std::promise<void>>();
        ended.push_back(done->get_future());
        pool->post([open, done] {
            open.wait();
            done->set_value();
        });
    }
    pool->post([&gate] { gate.set_value(); });
    for (auto& each : ended) each.wait();
}

TEST(GivenTheThreadPool, WhenABlockThrowsThenItIsLoggedAndThePoolGoesOn) {
    std::promise<std::string> line;
    const auto previous =
        setLogSink([&](std::string_view text) { line.set_value(std::string(text)); });
    Executor::threadPool()->post([] { throw std::runtime_error("broken"); });
    EXPECT_EQ(line.get_future().get(), "A worker thread ran a block that threw: broken");
    setLogSink(previous);
    std::promise<void> ran;
    Executor::threadPool()->post([&] { ran.set_value(); });
    ran.get_future().wait();
}

TEST(GivenBusyThreads, WhenTheProcessExitsThenWaitingBlocksRunAndNothingCrashes) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto leave = [] {
        static std::atomic<int> ran{0};
        static DispatchQueue queue("leaving");  // destroyed while threads live
        for (int i = 0; i < 500; ++i) Executor::threadPool()->post([] { ++ran; });
        for (int i = 0; i < 500; ++i) queue.async([] { ++ran; });
        DispatchQueue::main().async([] { ++ran; });
        std::exit(0);
    };
    EXPECT_EXIT(leave(), testing::ExitedWithCode(0), "");
}

TEST(GivenABlockThatNeverEnds, WhenTheProcessExitsThenItIsNotWaitedForForEver) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto leave = [] {
        auto* started = new std::promise<void>();
        Executor::threadPool()->post([started] {
            started->set_value();
            for (;;) pause();
        });
        started->get_future().wait();
        std::exit(0);
    };
    EXPECT_EXIT(leave(), testing::ExitedWithCode(0), "");
}

TEST(GivenABlockOfThePool, WhenItExitsTheProcessThenThatEnds) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto leave = [] {
        Executor::threadPool()->post([] { std::exit(3); });
        for (;;) pause();
    };
    EXPECT_EXIT(leave(), testing::ExitedWithCode(3), "");
}
