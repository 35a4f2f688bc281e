#pragma once
#include <condition_variable>
#include <deque>
#include <mutex>

#include "foundation/DispatchQueue.h"

namespace qsml {

/// What a queue is, shared with the runner that works it off, so that the queue may go away
/// meanwhile.
///
/// One turn is taken at a time: either by a runner on the executor, which takes several blocks in a
/// row, or by a synchronous caller. `phase` says who has it.
struct DispatchQueue::State : std::enable_shared_from_this<State> {
    struct Waiter {
        bool hasTurn = false;
        bool dropped = false;
        std::condition_variable changed;
    };
    /// Either a block or a synchronous caller.
    struct Item {
        std::function<void()> block;
        Waiter* waiter = nullptr;
    };
    enum class Phase { idle, posted, running };

    State(std::string name, std::shared_ptr<Executor> runner);

    void async(std::function<void()> block);
    void sync(const std::function<void()>& block);
    void suspend();
    void resume();
    bool isCurrent() const;
    void close();
    /// Forgets a runner that has not begun and posts another; for an executor that has changed.
    void postAgain();

    const std::string label;
    const std::shared_ptr<Executor> executor;
    /// Synchronous blocks run on the executor as well, as the main queue's must.
    bool runsAllOnExecutor = false;

private:
    class Current;
    using Lock = std::unique_lock<std::mutex>;
    void passTurn(Lock& lock);
    void takeTurn();
    void endTurn();
    void syncOnExecutor(const std::function<void()>& block);
    void run(std::uint64_t generation);
    bool mayRunBlock(std::uint64_t generation) const;

    std::mutex mutex_;
    std::deque<Item> items_;
    std::size_t suspensions_ = 0;
    Phase phase_ = Phase::idle;
    /// Of the runner that counts; one of an older generation does nothing.
    std::uint64_t generation_ = 0;
    bool closed_ = false;
};

namespace detail {

/// How many blocks runners have begun on this thread for the queues that run all on their executor.
std::size_t& blocksRunByThisThread();

}  // namespace detail

}  // namespace qsml
