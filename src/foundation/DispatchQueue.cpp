#include "foundation/DispatchQueue.h"

#include <exception>
#include <stdexcept>

#include "foundation/Log.h"
#include "foundation/detail/DispatchQueueState.h"
#include "foundation/detail/WorkerPool.h"

namespace qsml {

namespace {

/// A runner gives its thread back after that many blocks, so that a long queue hogs none.
constexpr std::size_t blocksInARow = 64;

}  // namespace

/// Marks the queue as current on this thread; they nest, as one queue's block may enter another.
class DispatchQueue::State::Current {
public:
    explicit Current(const State* state) : state_(state), outer_(innermost) { innermost = this; }
    ~Current() { innermost = outer_; }
    Current(const Current&) = delete;
    Current& operator=(const Current&) = delete;

    static bool holds(const State* state) {
        for (auto* current = innermost; current; current = current->outer_)
            if (current->state_ == state) return true;
        return false;
    }

private:
    static thread_local const Current* innermost;
    const State* state_;
    const Current* outer_;
};

thread_local const DispatchQueue::State::Current* DispatchQueue::State::Current::innermost =
    nullptr;

std::size_t& detail::blocksRunByThisThread() {
    thread_local std::size_t count = 0;
    return count;
}

DispatchQueue::State::State(std::string name, std::shared_ptr<Executor> runner)
    : label(std::move(name)), executor(std::move(runner)) {}

bool DispatchQueue::State::isCurrent() const { return Current::holds(this); }

void DispatchQueue::State::async(std::function<void()> block) {
    Lock lock(mutex_);
    if (closed_) return;
    items_.push_back({std::move(block), nullptr});
    passTurn(lock);
}

/// Where nobody has the turn, gives it to the first in line. Unlocks: an executor may run the
/// runner at once, on this thread.
void DispatchQueue::State::passTurn(Lock& lock) {
    if (phase_ != Phase::idle || suspensions_ > 0 || items_.empty()) return;
    if (Waiter* waiter = items_.front().waiter) {
        items_.pop_front();
        phase_ = Phase::running;
        waiter->hasTurn = true;
        waiter->changed.notify_one();
        return;
    }
    phase_ = Phase::posted;
    const std::uint64_t generation = ++generation_;
    lock.unlock();
    try {
        executor->post([self = shared_from_this(), generation] { self->run(generation); });
    } catch (...) {
        // The blocks stay in line; the next to join it tries again.
        lock.lock();
        if (phase_ == Phase::posted && generation_ == generation) phase_ = Phase::idle;
        throw;
    }
}

bool DispatchQueue::State::mayRunBlock(std::uint64_t generation) const {
    return generation == generation_ && suspensions_ == 0 && !items_.empty() &&
           !items_.front().waiter;
}

void DispatchQueue::State::run(std::uint64_t generation) {
    Lock lock(mutex_);
    if (generation != generation_ || phase_ != Phase::posted) return;
    phase_ = Phase::running;
    for (std::size_t i = 0; i < blocksInARow && mayRunBlock(generation); ++i) {
        auto block = std::move(items_.front().block);
        items_.pop_front();
        lock.unlock();
        {
            const Current current(this);
            if (runsAllOnExecutor) ++detail::blocksRunByThisThread();
            detail::runLogged("The queue \"" + label + "\"", block);
            block = nullptr;
        }
        lock.lock();
    }
    phase_ = Phase::idle;
    try {
        passTurn(lock);
    } catch (const std::exception&) {  // nobody to tell; the next to join the line tries again
    }
}

void DispatchQueue::State::takeTurn() {
    Lock lock(mutex_);
    if (closed_) throw std::logic_error("The queue \"" + label + "\" is gone");
    if (phase_ == Phase::idle && suspensions_ == 0 && items_.empty()) {
        phase_ = Phase::running;
        return;
    }
    Waiter waiter;
    items_.push_back({nullptr, &waiter});
    waiter.changed.wait(lock, [&] { return waiter.hasTurn || waiter.dropped; });
    if (waiter.dropped) throw std::logic_error("The queue \"" + label + "\" went away");
}

void DispatchQueue::State::endTurn() {
    Lock lock(mutex_);
    phase_ = Phase::idle;
    passTurn(lock);
}

void DispatchQueue::State::sync(const std::function<void()>& block) {
    if (isCurrent())
        throw std::logic_error("sync from a block of the queue \"" + label + "\" itself");
    if (runsAllOnExecutor) return syncOnExecutor(block);
    takeTurn();
    try {
        const Current current(this);
        block();
    } catch (...) {
        endTurn();
        throw;
    }
    endTurn();
}

void DispatchQueue::State::syncOnExecutor(const std::function<void()>& block) {
    struct Outcome {
        std::mutex mutex;
        std::condition_variable changed;
        bool done = false;
        std::exception_ptr thrown;
    } outcome;
    async([&] {
        std::exception_ptr thrown;
        try {
            block();
        } catch (...) {
            thrown = std::current_exception();
        }
        const std::lock_guard lock(outcome.mutex);
        outcome.thrown = std::move(thrown);
        outcome.done = true;
        outcome.changed.notify_one();  // within the lock: the outcome is gone soon after
    });
    Lock lock(outcome.mutex);
    outcome.changed.wait(lock, [&] { return outcome.done; });
    if (outcome.thrown) std::rethrow_exception(outcome.thrown);
}

void DispatchQueue::State::suspend() {
    const std::lock_guard lock(mutex_);
    ++suspensions_;
}

void DispatchQueue::State::resume() {
    Lock lock(mutex_);
    if (suspensions_ == 0) {
        lock.unlock();
        log("The queue \"" + label + "\" is resumed more often than suspended");
        return;
    }
    if (--suspensions_ == 0) passTurn(lock);
}

void DispatchQueue::State::close() {
    std::deque<Item> dropped;  // destroyed unlocked: what blocks hold may use queues when it goes
    const std::lock_guard lock(mutex_);
    closed_ = true;
    dropped.swap(items_);
    for (auto& item : dropped) {
        if (!item.waiter) continue;
        item.waiter->dropped = true;
        item.waiter->changed.notify_one();
    }
}

void DispatchQueue::State::postAgain() {
    Lock lock(mutex_);
    ++generation_;
    if (phase_ != Phase::posted) return;  // a running one sees its generation and passes the turn
    phase_ = Phase::idle;
    passTurn(lock);
}

DispatchQueue::DispatchQueue(std::string label, std::shared_ptr<Executor> executor)
    : state_(std::make_shared<State>(std::move(label), std::move(executor))) {}

DispatchQueue::~DispatchQueue() { state_->close(); }

const std::string& DispatchQueue::label() const { return state_->label; }

void DispatchQueue::async(std::function<void()> block) { state_->async(std::move(block)); }

DispatchQueue::Poster DispatchQueue::poster() const {
    return [state = state_](std::function<void()> block) { state->async(std::move(block)); };
}

void DispatchQueue::sync(const std::function<void()>& block) {
    const auto state = state_;  // the block may destroy the queue
    state->sync(block);
}

void DispatchQueue::suspend() { state_->suspend(); }

void DispatchQueue::resume() { state_->resume(); }

bool DispatchQueue::isCurrent() const { return state_->isCurrent(); }

}  // namespace qsml
