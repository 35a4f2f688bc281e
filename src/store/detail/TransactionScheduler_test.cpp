#include "store/detail/TransactionScheduler.h"

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <future>
#include <thread>

#include "store/YapDatabaseException.h"

namespace qsml::detail {
namespace {

/// Keeps what is posted until the test runs it.
class ManualExecutor final : public Executor {
public:
    void post(std::function<void()> block) override { blocks_.push_back(std::move(block)); }
    void runAll() {
        while (!blocks_.empty()) {
            const auto block = std::move(blocks_.front());
            blocks_.pop_front();
            block();
        }
    }
    std::size_t waiting() const { return blocks_.size(); }

private:
    std::deque<std::function<void()>> blocks_;
};

class GivenTwoLanes : public ::testing::Test {
protected:
    void note(const char* what) { order_ += what; }

    std::shared_ptr<ManualExecutor> executor_ = std::make_shared<ManualExecutor>();
    std::shared_ptr<TransactionScheduler> scheduler_ =
        std::make_shared<TransactionScheduler>(executor_);
    TransactionScheduler::Lane first_, second_, writers_;
    std::string order_;
};

TEST_F(GivenTwoLanes, WhenWritesAreSubmittedThenTheyRunInOrderOverAllConnections) {
    scheduler_->runAsync(&first_, &writers_, [&] { note("a"); });
    scheduler_->runAsync(&second_, &writers_, [&] { note("b"); });
    scheduler_->runAsync(&first_, &writers_, [&] { note("c"); });
    EXPECT_EQ(executor_->waiting(), 1u);  // only the first has its turn
    executor_->runAll();
    EXPECT_EQ(order_, "abc");
}

TEST_F(GivenTwoLanes, WhenAWriteWaitsThenReadsOfOtherConnectionsDoNot) {
    scheduler_->runAsync(&first_, &writers_, [&] { note("w"); });
    scheduler_->runSync(&second_, nullptr, [&] { note("r"); });
    executor_->runAll();
    EXPECT_EQ(order_, "rw");
}

TEST_F(GivenTwoLanes, WhenReadsFollowAWriteOfTheSameConnectionThenTheyWaitForIt) {
    scheduler_->runAsync(&first_, &writers_, [&] { note("w"); });
    scheduler_->runAsync(&first_, nullptr, [&] { note("r"); });
    EXPECT_EQ(executor_->waiting(), 1u);
    executor_->runAll();
    EXPECT_EQ(order_, "wr");
}

TEST_F(GivenTwoLanes, WhenNestedOnTheSameConnectionThenItThrows) {
    scheduler_->runSync(&first_, nullptr, [&] {
        EXPECT_THROW(scheduler_->runSync(&first_, nullptr, [] {}), YapDatabaseException);
    });
    scheduler_->runSync(&first_, nullptr, [&] { note("works again"); });
    EXPECT_EQ(order_, "works again");
}

TEST_F(GivenTwoLanes, WhenAWriteIsNestedInAWriteThenItThrows) {
    scheduler_->runSync(&first_, &writers_, [&] {
        EXPECT_THROW(scheduler_->runSync(&second_, &writers_, [] {}), YapDatabaseException);
        scheduler_->runSync(&second_, nullptr, [&] { note("a read is fine"); });
    });
    EXPECT_EQ(order_, "a read is fine");
}

TEST_F(GivenTwoLanes, WhenAWriteWouldWaitForAWriteThatWaitsForThisBlockThenItThrows) {
    scheduler_->runSync(&first_, nullptr, [&] {
        scheduler_->runAsync(&first_, &writers_, [&] { note("w"); });
        EXPECT_THROW(scheduler_->runSync(&second_, &writers_, [] {}), YapDatabaseException);
    });
    executor_->runAll();
    EXPECT_EQ(order_, "w");
}

TEST_F(GivenTwoLanes, WhenTwoThreadsWouldWaitForEachOtherThenOneThrows) {
    std::promise<void> bothRun[2];
    std::atomic<int> thrown{0};
    const auto cross = [&](TransactionScheduler::Lane& own, TransactionScheduler::Lane& other,
                           std::size_t number) {
        scheduler_->runSync(&own, nullptr, [&] {
            bothRun[number].set_value();
            bothRun[1 - number].get_future().wait();
            try {
                scheduler_->runSync(&other, nullptr, [] {});
            } catch (const YapDatabaseException&) {
                ++thrown;
            }
        });
    };
    std::thread thread([&] { cross(first_, second_, 0); });
    cross(second_, first_, 1);
    thread.join();
    EXPECT_EQ(thrown, 1);
}

TEST_F(GivenTwoLanes, WhenAnItemIsCancelledThenItDoesNotRunAndTheNextDoes) {
    const auto ticket = scheduler_->runAsync(nullptr, &writers_, [&] { note("never"); });
    scheduler_->runAsync(&first_, &writers_, [&] { note("w"); });
    EXPECT_TRUE(scheduler_->cancel(ticket));
    EXPECT_FALSE(scheduler_->cancel(ticket));
    executor_->runAll();
    EXPECT_EQ(order_, "w");
}

TEST_F(GivenTwoLanes, WhenALaneIsTakenThenItsItemsWaitForItsReturn) {
    const auto turn = scheduler_->tryTake(first_);
    ASSERT_TRUE(turn);
    EXPECT_FALSE(scheduler_->tryTake(first_));
    scheduler_->runAsync(&first_, nullptr, [&] { note("r"); });
    executor_->runAll();
    EXPECT_EQ(order_, "");
    scheduler_->giveBack(turn);
    executor_->runAll();
    EXPECT_EQ(order_, "r");
}

TEST_F(GivenTwoLanes, WhenAnExceptionLeavesASynchronousItemThenTheLaneGoesOn) {
    EXPECT_THROW(scheduler_->runSync(&first_, &writers_, [] { throw std::runtime_error("x"); }),
                 std::runtime_error);
    scheduler_->runSync(&first_, &writers_, [&] { note("on"); });
    EXPECT_EQ(order_, "on");
}

}  // namespace
}  // namespace qsml::detail
