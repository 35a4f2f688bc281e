#include "store/detail/TransactionScheduler.h"

#include <algorithm>
#include <array>
#include <utility>

#include "store/YapDatabaseException.h"

namespace qsml::detail {

struct TransactionScheduler::Item {
    std::array<Lane*, 2> lanes{};
    std::function<void()> work;  // of an asynchronous item
    std::condition_variable turn;
    bool isReady = false;
    bool isCancelled = false;
    bool hasBegun = false;
    bool isSync = false;
    const void* thread = nullptr;    // that runs it
    std::shared_ptr<Item> waitsFor;  // a synchronous item that its thread has started inside it
};

namespace {

/// Identifies the calling thread as long as it lives.
const void* thisThread() {
    thread_local char identity;
    return &identity;
}

thread_local void* currentItem = nullptr;  // the innermost item that this thread runs

}  // namespace

TransactionScheduler::TransactionScheduler(std::shared_ptr<Executor> executor)
    : executor_(std::move(executor)) {}

TransactionScheduler::~TransactionScheduler() = default;

std::shared_ptr<TransactionScheduler::Item> TransactionScheduler::enqueue(Lane* connection,
                                                                          Lane* writers) {
    auto item = std::make_shared<Item>();
    for (Lane* lane : {connection, writers}) {
        if (!lane) continue;
        try {
            lane->items_.push_back(item);
        } catch (...) {
            if (item->lanes[0]) item->lanes[0]->items_.pop_back();
            throw;
        }
        item->lanes[item->lanes[0] ? 1 : 0] = lane;
    }
    return item;
}

bool TransactionScheduler::isFirst(const Item& item) const {
    for (const Lane* lane : item.lanes)
        if (lane && lane->items_.front().get() != &item) return false;
    return true;
}

void TransactionScheduler::runSync(Lane* connection, Lane* writers,
                                   const std::function<void()>& work) {
    std::shared_ptr<Item> item;
    auto* outer = static_cast<Item*>(currentItem);
    {
        std::unique_lock lock(mutex_);
        item = enqueue(connection, writers);
        if (outer) {
            try {
                refuseToWaitForItself(*item);
            } catch (...) {
                for (Lane* lane : item->lanes)
                    if (lane) lane->items_.pop_back();
                throw;
            }
            outer->waitsFor = item;
        }
        item->isSync = true;
        item->isReady = isFirst(*item);
        item->turn.wait(lock, [&] { return item->isReady; });
        item->thread = thisThread();
    }
    run(item, work, outer);
}

TransactionScheduler::Ticket TransactionScheduler::runAsync(Lane* connection, Lane* writers,
                                                            std::function<void()> work) {
    std::shared_ptr<Item> item;
    {
        const std::lock_guard lock(mutex_);
        item = enqueue(connection, writers);
        item->work = std::move(work);
        if (!isFirst(*item)) return item;
        item->isReady = true;
    }
    start(item);
    return item;
}

bool TransactionScheduler::cancel(const Ticket& ticket) {
    const std::shared_ptr<Item> item = ticket.lock();
    if (!item) return false;
    std::array<std::shared_ptr<Item>, 2> ready;
    std::function<void()> work;  // what it holds goes outside the mutex
    {
        const std::lock_guard lock(mutex_);
        if (item->hasBegun || item->isCancelled) return false;
        item->isCancelled = true;
        work = std::move(item->work);
        for (Lane* lane : item->lanes)
            if (lane) std::erase(lane->items_, item);
        for (std::size_t i = 0; i < ready.size(); ++i) collectReady(item->lanes[i], &ready[i]);
    }
    for (const auto& next : ready)
        if (next) start(next);
    return true;
}

TransactionScheduler::Turn TransactionScheduler::tryTake(Lane& connection) {
    const std::lock_guard lock(mutex_);
    if (!connection.items_.empty()) return nullptr;
    Turn turn = enqueue(&connection, nullptr);
    turn->isReady = turn->isSync = true;
    turn->thread = thisThread();
    return turn;
}

void TransactionScheduler::start(const std::shared_ptr<Item>& item) {
    const auto body = [self = shared_from_this(), item] {
        {
            const std::lock_guard lock(self->mutex_);
            if (item->isCancelled) return;
            item->hasBegun = true;
            item->thread = thisThread();
        }
        // What the work holds may hold the last reference to a connection: it goes after the turn.
        const std::function<void()> work = std::move(item->work);
        self->run(item, work, nullptr);
    };
    try {
        executor_->post(body);
    } catch (...) {  // no thread to be had: better here than never
        body();
    }
}

void TransactionScheduler::run(const std::shared_ptr<Item>& item, const std::function<void()>& work,
                               Item* outer) {
    struct Running {
        TransactionScheduler& scheduler;
        const std::shared_ptr<Item>& item;
        Item* waiting;
        void* before = std::exchange(currentItem, static_cast<void*>(item.get()));
        ~Running() {
            currentItem = before;
            scheduler.finish(item, waiting);
        }
    } running{*this, item, outer};
    work();
}

void TransactionScheduler::finish(const std::shared_ptr<Item>& item, Item* outer) noexcept {
    std::array<std::shared_ptr<Item>, 2> ready;
    {
        const std::lock_guard lock(mutex_);
        if (outer) outer->waitsFor = nullptr;
        item->thread = nullptr;
        for (Lane* lane : item->lanes)
            if (lane) lane->items_.pop_front();
        for (std::size_t i = 0; i < ready.size(); ++i) collectReady(item->lanes[i], &ready[i]);
    }
    for (const auto& next : ready)
        if (next) start(next);
}

void TransactionScheduler::collectReady(Lane* lane, std::shared_ptr<Item>* ready) {
    if (!lane || lane->items_.empty()) return;
    const auto& next = lane->items_.front();
    if (next->isReady || !isFirst(*next)) return;
    next->isReady = true;
    if (next->isSync)
        next->turn.notify_one();
    else
        *ready = next;
}

void TransactionScheduler::refuseToWaitForItself(Item& item) const {
    std::set<const Item*> seen;
    const Item* own = ownItemBefore(item, seen);
    if (!own) return;
    if (own->lanes[0] == item.lanes[0])
        throw YapDatabaseException(
            "A synchronous transaction was started on a connection from inside a block of the same "
            "connection and would wait for itself. Use the transaction that the block was given.");
    if (own->lanes[1] && own->lanes[1] == item.lanes[1])
        throw YapDatabaseException(
            "A synchronous write was started from inside a write block of the same database and "
            "would "
            "wait for itself. Use the transaction that the block was given, or the asynchronous "
            "form.");
    throw YapDatabaseException(
        "A synchronous transaction was started from inside a block of another connection, behind "
        "transactions that wait for that block, and would wait for itself. Use the asynchronous "
        "form.");
}

/// What the item waits for, followed to an item that the calling thread runs.
const TransactionScheduler::Item* TransactionScheduler::ownItemBefore(
    const Item& item, std::set<const Item*>& seen) const {
    if (!seen.insert(&item).second) return nullptr;
    if (item.thread == thisThread()) return &item;
    if (item.thread) return item.waitsFor ? ownItemBefore(*item.waitsFor, seen) : nullptr;
    for (const Lane* lane : item.lanes) {
        if (!lane) continue;
        const auto place = std::find_if(lane->items_.rbegin(), lane->items_.rend(),
                                        [&](const auto& other) { return other.get() == &item; });
        if (place == lane->items_.rend() || std::next(place) == lane->items_.rend()) continue;
        if (const Item* own = ownItemBefore(**std::next(place), seen)) return own;
    }
    return nullptr;
}

}  // namespace qsml::detail
