#pragma once
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <set>

#include "foundation/DispatchQueue.h"

namespace qsml::detail {

/// Decides whose turn it is. Each connection has a lane and the database one lane of writers; an
/// item is put at the end of all its lanes at once and runs when it is the first in each.
/// Synchronous items run on the caller's thread, asynchronous ones on the executor. Thread-safe;
/// its mutex is never held while an item runs.
///
/// A synchronous item that could only start after an item of its own thread has ended, whatever
/// stands between, is refused with YapDatabaseException instead of waiting for ever.
class TransactionScheduler : public std::enable_shared_from_this<TransactionScheduler> {
    struct Item;

public:
    /// Names an asynchronous item that may be cancelled.
    using Ticket = std::weak_ptr<Item>;

    class Lane {
        friend class TransactionScheduler;
        Item* first_ = nullptr;  // of a chain that runs through the items: waiting needs no memory
        Item* last_ = nullptr;
    };

    explicit TransactionScheduler(std::shared_ptr<Executor> executor);
    ~TransactionScheduler();

    /// Runs the work in its turn and returns after it. Either lane may be null. Needs no memory, so
    /// that it can serve destructors.
    template <class Work>
    void runSync(Lane* connection, Lane* writers, Work&& work) {
        runInTurn(connection, writers, std::ref(work));
    }
    /// The work must not throw.
    Ticket runAsync(Lane* connection, Lane* writers, std::function<void()> work);
    /// Takes back an item that has not begun; true when it will not run.
    bool cancel(const Ticket& ticket);
    /// Takes the lane for the calling thread, when it is empty; null when it is not.
    using Turn = std::shared_ptr<Item>;
    Turn tryTake(Lane& connection);
    void giveBack(const Turn& turn) noexcept { finish(*turn, nullptr); }

private:
    void runInTurn(Lane* connection, Lane* writers, const std::function<void()>& work);
    void enqueue(Item& item, Lane* connection, Lane* writers) noexcept;
    void dequeue(Item& item) noexcept;
    bool isFirst(const Item& item) const;
    void start(const std::shared_ptr<Item>& item);
    void run(Item& item, const std::function<void()>& work, Item* outer);
    void finish(Item& item, Item* outer) noexcept;
    void collectReady(Lane* lane, std::shared_ptr<Item>* ready);
    void refuseToWaitForItself(Item& item) const;
    const Item* ownItemBefore(const Item& item, std::set<const Item*>& seen) const;

    std::shared_ptr<Executor> executor_;
    std::mutex mutex_;
};

}  // namespace qsml::detail
