#include "foundation/UndoManager.h"

#include <iterator>
#include <stdexcept>
#include <utility>

namespace qsml {

void UndoManager::setLevelsOfUndo(std::size_t levels) {
    levels_ = levels;
    if (levels_ == 0) return;
    while (undo_.size() > levels_) undo_.pop_front();
    while (redo_.size() > levels_) redo_.pop_front();
}

void UndoManager::beginUndoGrouping() { ++depth_; }

void UndoManager::endUndoGrouping() {
    if (depth_ == 0) throw std::logic_error("endUndoGrouping without an open group");
    // While undo() or redo() runs, all that is registered belongs to the one group it makes.
    if (--depth_ == 0 && running_ == Running::neither) keep(undo_, std::exchange(open_, {}));
}

void UndoManager::registerUndo(std::function<void()> action) {
    if (running_ == Running::neither) {
        if (depth_ == 0) throw std::logic_error("registerUndo without an open group");
        redo_.clear();
    }
    open_.push_back(std::move(action));
}

void UndoManager::undo() { run(undo_, Running::undo); }
void UndoManager::redo() { run(redo_, Running::redo); }

/// A group without actions is no step that a person could take back, so it is not kept.
void UndoManager::keep(std::deque<Group>& side, Group group) {
    if (group.empty()) return;
    side.push_back(std::move(group));
    if (levels_ != 0 && side.size() > levels_) side.pop_front();
}

void UndoManager::run(std::deque<Group>& side, Running running) {
    if (depth_ > 0 || running_ != Running::neither)
        throw std::logic_error("undo and redo need all groups closed and no undo or redo running");
    if (side.empty()) return;
    Group group = std::move(side.back());
    side.pop_back();
    running_ = running;
    auto& other = running == Running::undo ? redo_ : undo_;
    const auto finish = [&] {
        running_ = Running::neither;
        depth_ = 0;
        keep(other, std::exchange(open_, {}));
    };
    try {
        while (!group.empty()) {
            const auto action = std::move(group.back());
            group.pop_back();
            action();
        }
    } catch (...) {
        finish();
        keep(side, std::move(group));  // what has not run can still be taken back
        throw;
    }
    finish();
}

}  // namespace qsml
