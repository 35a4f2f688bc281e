#pragma once
#include <utility>
#include <vector>

#include "store/detail/ConnectionCore.h"
#include "store/detail/TransactionScheduler.h"

namespace qsml::detail {

/// Connections that were at rest and whose turn was taken; what is not used is given back at the
/// end, also after an exception. Confined to one thread.
class TakenTurns {
public:
    explicit TakenTurns(TransactionScheduler& scheduler) : scheduler_(scheduler) {}
    TakenTurns(const TakenTurns&) = delete;
    TakenTurns& operator=(const TakenTurns&) = delete;
    ~TakenTurns() {
        for (const auto& [connection, turn] : turns_) giveBack(turn);
    }

    /// False when the connection is busy.
    bool take(ConnectionCore& connection) {
        auto& place = turns_.emplace_back(&connection, nullptr);  // before the turn: it may throw
        place.second = scheduler_.tryTake(connection.lane());
        if (place.second) return true;
        turns_.pop_back();
        return false;
    }

    /// Runs the work in each turn and gives it back right after.
    template <class Work>
    void useEach(Work&& work) {
        for (auto& [connection, turn] : turns_) {
            work(*connection);
            giveBack(std::exchange(turn, nullptr));
        }
    }

private:
    void giveBack(const TransactionScheduler::Turn& turn) noexcept {
        if (turn) scheduler_.giveBack(turn);
    }

    TransactionScheduler& scheduler_;
    std::vector<std::pair<ConnectionCore*, TransactionScheduler::Turn>> turns_;
};

}  // namespace qsml::detail
