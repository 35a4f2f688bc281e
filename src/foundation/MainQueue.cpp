#include <chrono>
#include <optional>
#include <stdexcept>

#include "foundation/detail/DispatchQueueState.h"
#include "foundation/detail/WorkerPool.h"

namespace qsml {

namespace {

/// Hands the main queue's runners to whoever runs it now. A runner that was handed to another
/// before does nothing when it is run late: the queue has posted a newer one.
class MainExecutor final : public Executor {
public:
    using Post = std::function<void(std::function<void()>)>;

    void post(std::function<void()> runner) override {
        std::unique_lock lock(mutex_);
        if (manual_) {
            waiting_.push_back(std::move(runner));
            changed_.notify_all();
            return;
        }
        if (const auto post = post_) {
            lock.unlock();
            (*post)(std::move(runner));
            return;
        }
        if (!ownThread_) ownThread_ = std::make_shared<detail::WorkerPool>(1, 1);
        ownThread_->post(std::move(runner));
    }

    void setPost(Post post) {
        const std::lock_guard lock(mutex_);
        manual_ = false;
        post_ = post ? std::make_shared<const Post>(std::move(post)) : nullptr;
        changed_.notify_all();
    }

    void setManual() {
        const std::lock_guard lock(mutex_);
        manual_ = true;
        waiting_.clear();
    }

    /// Nothing when none waits.
    std::function<void()> takeRunner() {
        const std::lock_guard lock(mutex_);
        if (!manual_) throw std::logic_error("The main queue is not in manual mode");
        if (waiting_.empty()) return nullptr;
        auto runner = std::move(waiting_.front());
        waiting_.pop_front();
        return runner;
    }

    bool waitForRunner(double timeoutSeconds) {
        std::unique_lock lock(mutex_);
        if (!manual_) throw std::logic_error("The main queue is not in manual mode");
        // A year is as good as for ever, and cannot overflow the clock.
        const double seconds = std::min(std::max(timeoutSeconds, 0.0), 31'536'000.0);
        const auto ready = [this] { return !manual_ || !waiting_.empty(); };
        changed_.wait_for(lock, std::chrono::duration<double>(seconds), ready);
        return manual_ && !waiting_.empty();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool manual_ = false;
    std::shared_ptr<const Post> post_;               // null: the own thread
    std::shared_ptr<detail::WorkerPool> ownThread_;  // null until it is needed
    std::deque<std::function<void()>> waiting_;      // in manual mode
};

// Neither is destroyed: the library's threads use the main queue as long as the process lives.
MainExecutor& mainExecutor() {
    static auto& executor = *new std::shared_ptr<MainExecutor>(std::make_shared<MainExecutor>());
    return *executor;
}

}  // namespace

DispatchQueue& DispatchQueue::main() {
    static auto& queue = *[] {
        // An alias without a count: the executor is never destroyed.
        auto* made = new DispatchQueue(
            "main", std::shared_ptr<Executor>(std::shared_ptr<void>(), &mainExecutor()));
        made->state_->runsAllOnExecutor = true;
        return made;
    }();
    return queue;
}

void MainQueue::setExecutor(std::function<void(std::function<void()>)> post) {
    mainExecutor().setPost(std::move(post));
    DispatchQueue::main().state_->postAgain();
}

void MainQueue::setManual() {
    mainExecutor().setManual();
    DispatchQueue::main().state_->postAgain();
}

void MainQueue::setAutomatic() { setExecutor(nullptr); }

std::size_t MainQueue::runPending() {
    const std::size_t before = detail::blocksRunByThisThread();
    while (const auto runner = mainExecutor().takeRunner()) runner();
    return detail::blocksRunByThisThread() - before;
}

bool MainQueue::waitForBlock(double timeoutSeconds) {
    return mainExecutor().waitForRunner(timeoutSeconds);
}

}  // namespace qsml
