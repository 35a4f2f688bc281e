#pragma once
#include <condition_variable>
#include <deque>
#include <mutex>

#include "foundation/DispatchQueue.h"

namespace qsml::detail {

/// Threads that run blocks, oldest first. One is added whenever a block would have to wait, up to a
/// most; those above the few that stay leave after some idle seconds. Never destroyed, since its
/// threads run until the process is gone; at exit it stops as Executor::threadPool() says.
class WorkerPool final : public Executor {
public:
    WorkerPool(std::size_t mostThreads, std::size_t stayingThreads);

    void post(std::function<void()> block) override;

    /// Waits, for a limited time, until all blocks have ended; then begins no further one.
    void stopForExit();

private:
    void startThread();
    void work();
    bool waitForBlock(std::unique_lock<std::mutex>& lock);
    void runNext(std::unique_lock<std::mutex>& lock);

    const std::size_t mostThreads_;
    const std::size_t stayingThreads_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> blocks_;
    std::size_t threads_ = 0;
    std::size_t idle_ = 0;
    std::size_t running_ = 0;
    bool leaving_ = false;  // the process exits: tell it when a block has ended
    bool stopped_ = false;
};

/// Runs a block; an exception that leaves it is logged with who ran it.
void runLogged(std::string_view runner, const std::function<void()>& block);

}  // namespace qsml::detail
