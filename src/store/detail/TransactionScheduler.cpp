#include "store/detail/TransactionScheduler.h"

#include <array>
#include <utility>

#include "store/YapDatabaseException.h"

namespace qsml::detail {

struct TransactionScheduler::Item {
    std::array<Lane*, 2> lanes{};
    std::array<Item*, 2> before{}, after{};  // in each lane
    std::function<void()> work;              // of an asynchronous item
    std::shared_ptr<Item> self;              // keeps an asynchronous item while it is in its lanes
    std::condition_variable turn;
    bool isReady = false;
    bool isCancelled = false;
    bool hasBegun = false;
    bool isSync = false;
    const void* thread = nullptr;    // that runs it
    const Item* waitsFor = nullptr;  // a synchronous item that its thread has started inside it

    std::size_t placeIn(const Lane* lane) const { return lanes[0] == lane ? 0 : 1; }
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

void TransactionScheduler::enqueue(Item& item, Lane* connection, Lane* writers) noexcept {
    std::size_t place = 0;
    for (Lane* lane : {connection, writers}) {
        if (!lane) continue;
        item.lanes[place] = lane;
        item.before[place] = lane->last_;
        if (lane->last_)
            lane->last_->after[lane->last_->placeIn(lane)] = &item;
        else
            lane->first_ = &item;
        lane->last_ = &item;
        ++place;
    }
}

void TransactionScheduler::dequeue(Item& item) noexcept {
    for (std::size_t place = 0; place < item.lanes.size(); ++place) {
        Lane* lane = item.lanes[place];
        if (!lane) continue;
        Item* const before = item.before[place];
        Item* const after = item.after[place];
        (before ? before->after[before->placeIn(lane)] : lane->first_) = after;
        (after ? after->before[after->placeIn(lane)] : lane->last_) = before;
    }
}

bool TransactionScheduler::isFirst(const Item& item) const {
    for (const Lane* lane : item.lanes)
        if (lane && lane->first_ != &item) return false;
    return true;
}

void TransactionScheduler::runInTurn(Lane* connection, Lane* writers,
                                     const std::function<void()>& work) {
    Item item;
    auto* outer = static_cast<Item*>(currentItem);
    {
        std::unique_lock lock(mutex_);
        enqueue(item, connection, writers);
        if (outer) {
            try {
                refuseToWaitForItself(item);
            } catch (...) {
                dequeue(item);
                throw;
            }
            outer->waitsFor = &item;
        }
        item.isSync = true;
        item.isReady = isFirst(item);
        item.turn.wait(lock, [&] { return item.isReady; });
        item.thread = thisThread();
    }
    run(item, work, outer);
}

TransactionScheduler::Ticket TransactionScheduler::runAsync(Lane* connection, Lane* writers,
                                                            std::function<void()> work) {
    const auto item = std::make_shared<Item>();
    item->work = std::move(work);
    {
        const std::lock_guard lock(mutex_);
        enqueue(*item, connection, writers);
        item->self = item;
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
        dequeue(*item);
        item->self = nullptr;
        for (std::size_t i = 0; i < ready.size(); ++i) collectReady(item->lanes[i], &ready[i]);
    }
    for (const auto& next : ready)
        if (next) start(next);
    return true;
}

TransactionScheduler::Turn TransactionScheduler::tryTake(Lane& connection) {
    Turn turn = std::make_shared<Item>();
    const std::lock_guard lock(mutex_);
    if (connection.first_) return nullptr;
    enqueue(*turn, &connection, nullptr);
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
        self->run(*item, work, nullptr);
    };
    try {
        executor_->post(body);
    } catch (...) {  // no thread to be had: better here than never
        body();
    }
}

void TransactionScheduler::run(Item& item, const std::function<void()>& work, Item* outer) {
    struct Running {
        TransactionScheduler& scheduler;
        Item& item;
        Item* waiting;
        void* before = std::exchange(currentItem, static_cast<void*>(&item));
        ~Running() {
            currentItem = before;
            scheduler.finish(item, waiting);
        }
    } running{*this, item, outer};
    work();
}

void TransactionScheduler::finish(Item& item, Item* outer) noexcept {
    std::array<std::shared_ptr<Item>, 2> ready;
    std::shared_ptr<Item> self;  // goes outside the mutex
    {
        const std::lock_guard lock(mutex_);
        if (outer) outer->waitsFor = nullptr;
        item.thread = nullptr;
        dequeue(item);
        self = std::move(item.self);
        for (std::size_t i = 0; i < ready.size(); ++i) collectReady(item.lanes[i], &ready[i]);
    }
    for (const auto& next : ready)
        if (next) start(next);
}

void TransactionScheduler::collectReady(Lane* lane, std::shared_ptr<Item>* ready) {
    if (!lane || !lane->first_) return;
    Item* const next = lane->first_;
    if (next->isReady || !isFirst(*next)) return;
    next->isReady = true;
    if (next->isSync)
        next->turn.notify_one();
    else
        *ready = next->self;
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
    for (const Item* ahead : item.before) {
        if (!ahead) continue;
        if (const Item* own = ownItemBefore(*ahead, seen)) return own;
    }
    return nullptr;
}

}  // namespace qsml::detail
