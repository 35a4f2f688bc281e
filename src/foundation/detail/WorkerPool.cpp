#include "foundation/detail/WorkerPool.h"

#include <chrono>
#include <cstdlib>
#include <system_error>
#include <thread>
#include <vector>

#include "foundation/Log.h"

namespace qsml::detail {

namespace {

constexpr std::chrono::seconds idleTimeOfExtraThreads{10};
constexpr std::chrono::seconds longestWaitAtExit{2};

thread_local const WorkerPool* poolOfThisThread = nullptr;

struct Pools {
    std::mutex mutex;
    std::vector<WorkerPool*> all;
};

Pools& pools() {
    static auto& shared = *new Pools();
    return shared;
}

void stopPools() {
    std::vector<WorkerPool*> all;
    {
        const std::lock_guard lock(pools().mutex);
        all = pools().all;
    }
    for (auto* pool : all) pool->stopForExit();
}

void stopAtExit(WorkerPool& pool) {
    const std::lock_guard lock(pools().mutex);
    if (pools().all.empty()) std::atexit(stopPools);
    pools().all.push_back(&pool);
}

}  // namespace

WorkerPool::WorkerPool(std::size_t mostThreads, std::size_t stayingThreads)
    : mostThreads_(mostThreads), stayingThreads_(stayingThreads) {
    stopAtExit(*this);
}

void WorkerPool::post(std::function<void()> block) {
    const std::lock_guard lock(mutex_);
    if (stopped_) return;
    blocks_.push_back(std::move(block));
    if (blocks_.size() > idle_ && threads_ < mostThreads_) startThread();
    changed_.notify_one();
}

/// With the mutex held. A thread that cannot be had is missed only where there is no other.
void WorkerPool::startThread() {
    try {
        std::thread([this] { work(); }).detach();
        ++threads_;
    } catch (const std::system_error&) {
        if (threads_ > 0) return;
        blocks_.pop_back();
        throw;
    }
}

void WorkerPool::work() {
    poolOfThisThread = this;
    std::unique_lock lock(mutex_);
    while (waitForBlock(lock)) runNext(lock);
    --threads_;
}

/// False when this thread is no longer needed.
bool WorkerPool::waitForBlock(std::unique_lock<std::mutex>& lock) {
    ++idle_;
    const auto ready = [this] { return stopped_ || !blocks_.empty(); };
    if (threads_ <= stayingThreads_)
        changed_.wait(lock, ready);
    else
        changed_.wait_for(lock, idleTimeOfExtraThreads, ready);
    --idle_;
    return !stopped_ && !blocks_.empty();
}

void WorkerPool::runNext(std::unique_lock<std::mutex>& lock) {
    auto block = std::move(blocks_.front());
    blocks_.pop_front();
    ++running_;
    lock.unlock();
    runLogged("A worker thread", block);
    block = nullptr;  // what it holds may take locks when it goes
    lock.lock();
    --running_;
    if (leaving_) changed_.notify_all();
}

void WorkerPool::stopForExit() {
    std::unique_lock lock(mutex_);
    leaving_ = true;
    // A block that itself calls exit() cannot be waited for.
    const std::size_t own = poolOfThisThread == this ? 1 : 0;
    changed_.wait_for(lock, longestWaitAtExit, [&] { return blocks_.empty() && running_ <= own; });
    stopped_ = true;
    // What still waits stays undestroyed: what it holds may need what this exit destroys.
    changed_.notify_all();
}

void runLogged(std::string_view runner, const std::function<void()>& block) {
    try {
        block();
    } catch (const std::exception& error) {
        log(std::string(runner) + " ran a block that threw: " + error.what());
    } catch (...) {
        log(std::string(runner) + " ran a block that threw something unknown");
    }
}

}  // namespace qsml::detail
