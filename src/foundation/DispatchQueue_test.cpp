#include "foundation/DispatchQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <future>
#include <stdexcept>
#include <thread>
#include <vector>

#include "foundation/Log.h"

using namespace qsml;

namespace {

/// Keeps what is posted until the test runs it.
class HeldExecutor final : public Executor {
public:
    void post(std::function<void()> block) override { blocks.push_back(std::move(block)); }
    void runAll() {
        while (!blocks.empty()) {
            const auto block = std::move(blocks.front());
            blocks.pop_front();
            block();
        }
    }
    std::deque<std::function<void()>> blocks;
};

class GivenAQueueOnAHeldExecutor : public ::testing::Test {
protected:
    std::function<void()> noting(const std::string& name) {
        return [this, name] { ran_ += name; };
    }

    std::shared_ptr<HeldExecutor> executor_ = std::make_shared<HeldExecutor>();
    std::unique_ptr<DispatchQueue> queue_ = std::make_unique<DispatchQueue>("held", executor_);
    std::string ran_;
};

}  // namespace

TEST_F(GivenAQueueOnAHeldExecutor, WhenBlocksAreSubmittedThenOneRunnerRunsThemInOrder) {
    queue_->async(noting("a"));
    queue_->async(noting("b"));
    EXPECT_EQ(executor_->blocks.size(), 1u);
    EXPECT_EQ(ran_, "");
    executor_->runAll();
    EXPECT_EQ(ran_, "ab");
    EXPECT_EQ(queue_->label(), "held");
}

TEST_F(GivenAQueueOnAHeldExecutor, WhenTheQueueIsLongThenItGivesTheThreadBackInBetween) {
    for (int i = 0; i < 1000; ++i) queue_->async(noting("x"));
    const auto runner = std::move(executor_->blocks.front());
    executor_->blocks.pop_front();
    runner();
    EXPECT_LT(ran_.size(), 1000u);
    EXPECT_EQ(executor_->blocks.size(), 1u);
    executor_->runAll();
    EXPECT_EQ(ran_.size(), 1000u);
}

TEST_F(GivenAQueueOnAHeldExecutor, WhenSuspendedTwiceThenOnlyTheSecondResumeLetsBlocksRun) {
    queue_->suspend();
    queue_->suspend();
    queue_->async(noting("a"));
    queue_->resume();
    executor_->runAll();
    EXPECT_EQ(ran_, "");
    queue_->resume();
    executor_->runAll();
    EXPECT_EQ(ran_, "a");
}

TEST_F(GivenAQueueOnAHeldExecutor, WhenABlockSuspendsItsQueueThenItEndsAndTheNextWaits) {
    queue_->async([this] {
        queue_->suspend();
        ran_ += "a";
    });
    queue_->async(noting("b"));
    executor_->runAll();
    EXPECT_EQ(ran_, "a");
    queue_->resume();
    executor_->runAll();
    EXPECT_EQ(ran_, "ab");
}

TEST_F(GivenAQueueOnAHeldExecutor, WhenSuspendedAfterTheRunnerWasPostedThenNothingRuns) {
    queue_->async(noting("a"));
    queue_->suspend();
    executor_->runAll();
    EXPECT_EQ(ran_, "");
    queue_->resume();
    executor_->runAll();
    EXPECT_EQ(ran_, "a");
}

TEST_F(GivenAQueueOnAHeldExecutor, WhenResumedTooOftenThenItIsLoggedAndIgnored) {
    std::string line;
    const auto previous = setLogSink([&](std::string_view text) { line = text; });
    queue_->resume();
    setLogSink(previous);
    EXPECT_EQ(line, "The queue \"held\" is resumed more often than suspended");
    queue_->suspend();
    queue_->async(noting("a"));
    executor_->runAll();
    EXPECT_EQ(ran_, "");
}

TEST_F(GivenAQueueOnAHeldExecutor, WhenABlockThrowsThenItIsLoggedAndTheNextRuns) {
    std::string line;
    const auto previous = setLogSink([&](std::string_view text) { line = text; });
    queue_->async([] { throw std::runtime_error("broken"); });
    queue_->async(noting("b"));
    executor_->runAll();
    setLogSink(previous);
    EXPECT_EQ(line, "The queue \"held\" ran a block that threw: broken");
    EXPECT_EQ(ran_, "b");
}

TEST_F(GivenAQueueOnAHeldExecutor, WhenSyncThenTheBlockRunsOnTheCallersThreadAndThrowsToIt) {
    const auto caller = std::this_thread::get_id();
    queue_->sync([&] {
        EXPECT_EQ(std::this_thread::get_id(), caller);
        EXPECT_TRUE(queue_->isCurrent());
    });
    EXPECT_FALSE(queue_->isCurrent());
    EXPECT_THROW(queue_->sync([] { throw std::runtime_error("broken"); }), std::runtime_error);
    queue_->sync(noting("a"));
    EXPECT_EQ(ran_, "a");
}

TEST_F(GivenAQueueOnAHeldExecutor, WhenSyncIsReenteredThenItThrowsAlsoThroughAnotherQueue) {
    DispatchQueue other("other", executor_);
    queue_->sync([&] {
        EXPECT_THROW(queue_->sync(noting("x")), std::logic_error);
        other.sync([&] {
            EXPECT_TRUE(queue_->isCurrent() && other.isCurrent());
            EXPECT_THROW(queue_->sync(noting("x")), std::logic_error);
        });
    });
    queue_->async([&] { EXPECT_THROW(queue_->sync(noting("x")), std::logic_error); });
    executor_->runAll();
    EXPECT_EQ(ran_, "");
}

TEST_F(GivenAQueueOnAHeldExecutor, WhenDestroyedThenWaitingBlocksAreDropped) {
    auto held = std::make_shared<int>(1);
    queue_->async([this, held] { ran_ += "a"; });
    queue_.reset();
    EXPECT_EQ(held.use_count(), 1);
    executor_->runAll();
    EXPECT_EQ(ran_, "");
}

TEST_F(GivenAQueueOnAHeldExecutor, WhenDestroyedByItsOwnBlockThenThatEndsInPeace) {
    queue_->async([this] {
        queue_.reset();
        ran_ += "a";
    });
    queue_->async(noting("b"));
    executor_->runAll();
    EXPECT_EQ(ran_, "a");
    queue_ = std::make_unique<DispatchQueue>("again", executor_);
    queue_->sync([this] { queue_.reset(); });
}

TEST(GivenAnExecutorThatRunsAtOnce, WhenABlockAddsToItsQueueThenThatRunsAfterIt) {
    struct Inline : Executor {
        void post(std::function<void()> block) override { block(); }
    };
    DispatchQueue queue("inline", std::make_shared<Inline>());
    std::string ran;
    queue.async([&] {
        queue.async([&] { ran += "b"; });
        ran += "a";
    });
    EXPECT_EQ(ran, "ab");
}

TEST(GivenAnExecutorThatFails, WhenABlockIsSubmittedThenItStaysInLineForTheNextTry) {
    struct Failing : Executor {
        void post(std::function<void()> block) override {
            if (failing) throw std::runtime_error("no thread");
            block();
        }
        bool failing = true;
    };
    const auto executor = std::make_shared<Failing>();
    DispatchQueue queue("failing", executor);
    std::string ran;
    EXPECT_THROW(queue.async([&] { ran += "a"; }), std::runtime_error);
    executor->failing = false;
    queue.async([&] { ran += "b"; });
    EXPECT_EQ(ran, "ab");
}

TEST(GivenAQueueOnThePool, WhenManyThreadsSubmitThenEachOnesBlocksRunInItsOrderOneAtATime) {
    constexpr int threadCount = 6, blocksEach = 1500;
    DispatchQueue queue("busy");
    std::vector<int> last(threadCount, -1);  // guarded by the queue
    std::atomic<int> inside{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t)
        threads.emplace_back([&, t] {
            for (int n = 0; n < blocksEach; ++n) {
                const auto block = [&, t, n] {
                    EXPECT_EQ(inside.fetch_add(1), 0);
                    EXPECT_TRUE(queue.isCurrent());
                    EXPECT_EQ(last[static_cast<std::size_t>(t)], n - 1);
                    last[static_cast<std::size_t>(t)] = n;
                    inside.fetch_sub(1);
                };
                if ((n + t) % 3 == 0)
                    queue.sync(block);
                else
                    queue.async(block);
            }
        });
    for (int n = 0; n < 200; ++n) {
        queue.suspend();
        queue.resume();
    }
    for (auto& thread : threads) thread.join();
    queue.sync([&] { EXPECT_EQ(last, std::vector<int>(threadCount, blocksEach - 1)); });
}

TEST(GivenManyQueues, WhenTheirBlocksEnterOthersSynchronouslyThenNobodyWaitsForEver) {
    std::vector<std::unique_ptr<DispatchQueue>> queues;
    for (int i = 0; i < 30; ++i) queues.push_back(std::make_unique<DispatchQueue>("q"));
    std::atomic<int> ran{0};
    std::promise<void> all;
    for (std::size_t i = 0; i + 1 < queues.size(); ++i)
        queues[i]->async([&, i] {
            queues[i + 1]->sync([&] {
                if (++ran == 29) all.set_value();
            });
        });
    all.get_future().wait();
    for (auto& queue : queues) queue->sync([] {});
}

TEST(GivenAPosterOfAQueue, WhenItPostsThenTheBlockRunsAndWhenTheQueueIsGoneItIsDropped) {
    auto queue = std::make_unique<DispatchQueue>("q");
    const DispatchQueue::Poster post = queue->poster();
    bool ran = false;
    post([&] { ran = true; });
    queue->sync([] {});
    EXPECT_TRUE(ran);

    queue = nullptr;
    const auto held = std::make_shared<int>(0);
    post([held] { ADD_FAILURE() << "the queue is gone"; });
    EXPECT_EQ(held.use_count(), 1) << "a dropped block is not kept";
}
