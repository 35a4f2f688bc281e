#pragma once
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "foundation/Export.h"

namespace qsml {

/// Where queues run their blocks. Thread-safe; blocks posted may run in any order and in parallel.
class QSML_EXPORT Executor {
public:
    virtual ~Executor();
    virtual void post(std::function<void()> block) = 0;
    /// The process's own pool of worker threads: started on first use, it grows up to 64 threads
    /// while all are busy, so that blocks may wait for other blocks. At process exit the blocks get
    /// two seconds to end; what has not begun by then is dropped. An exception that leaves a block
    /// is logged.
    static std::shared_ptr<Executor> threadPool();
};

/// A serial queue: blocks run one at a time in order of submission. Thread-safe. An exception that
/// leaves an asynchronous block is logged; one that leaves a synchronous block reaches the caller.
/// Destroying a queue drops blocks that wait; a running one keeps what it needs alive.
class QSML_EXPORT DispatchQueue {
public:
    explicit DispatchQueue(std::string label,
                           std::shared_ptr<Executor> executor = Executor::threadPool());
    ~DispatchQueue();
    DispatchQueue(const DispatchQueue&) = delete;
    DispatchQueue& operator=(const DispatchQueue&) = delete;

    const std::string& label() const;
    void async(std::function<void()> block);
    /// Appends blocks as async() does, and may outlive the queue: it drops them once the queue is
    /// gone.
    using Poster = std::function<void(std::function<void()>)>;
    Poster poster() const;
    /// Runs the block on the calling thread when its turn comes and returns after it. Throws
    /// std::logic_error when called from a block of this same queue: it would wait for itself. On
    /// the main queue the block runs where the main queue's blocks run.
    void sync(const std::function<void()>& block);
    /// Adds one to the suspension count; no block starts while it is above zero. A running block
    /// ends.
    void suspend();
    /// Takes one off the count; a resume too many is logged and ignored.
    void resume();
    /// True on the thread that runs a block of this queue.
    bool isCurrent() const;

    /// The main queue, owned by the host (see MainQueue).
    static DispatchQueue& main();

private:
    friend class MainQueue;
    struct State;
    std::shared_ptr<State> state_;
};

/// How the host runs the main queue. It either installs a post function (of its event loop), or
/// adopts a thread and drains the queue there; with neither, a thread of the library runs it.
class QSML_EXPORT MainQueue {
public:
    /// Blocks are handed to `post`, which must run each once, in order, on one thread.
    static void setExecutor(std::function<void(std::function<void()>)> post);
    /// From now on blocks wait until a thread calls runPending(): tests and simple hosts.
    static void setManual();
    /// Back to the library's own thread.
    static void setAutomatic();
    /// Runs what waits, including what these blocks add, on the calling thread; returns how many
    /// ran. Only after setManual().
    static std::size_t runPending();
    /// Waits until a block is there or the time is over (true: there is one). Only after
    /// setManual().
    static bool waitForBlock(double timeoutSeconds);
};

}  // namespace qsml
