#pragma once
#include <cstddef>
#include <deque>
#include <functional>
#include <vector>

#include "foundation/Export.h"

namespace qsml {

/// Groups of actions that take changes back. Groups are opened and closed by the host. Confined to
/// one thread at a time.
class QSML_EXPORT UndoManager {
public:
    /// At most that many top-level groups are kept, the newest; 0 means no limit. Lowering it drops
    /// the oldest at once.
    std::size_t levelsOfUndo() const { return levels_; }
    void setLevelsOfUndo(std::size_t levels);

    void beginUndoGrouping();
    /// Closes the innermost group. Throws std::logic_error when none is open.
    void endUndoGrouping();
    /// Adds an action to the open group; during undo() it goes to the redo side. A registration
    /// outside both clears the redo side. Throws std::logic_error when no group is open.
    void registerUndo(std::function<void()> action);

    bool canUndo() const { return !undo_.empty(); }
    bool canRedo() const { return !redo_.empty(); }
    /// Runs the newest group's actions in reverse order; nothing without one.
    /// Throws std::logic_error while a group is open or undo() or redo() runs. When an action
    /// throws, the actions not yet run stay undoable.
    void undo();
    void redo();

private:
    using Group = std::vector<std::function<void()>>;
    enum class Running { neither, undo, redo };
    void keep(std::deque<Group>& side, Group group);
    void run(std::deque<Group>& side, Running running);

    std::size_t levels_ = 0;
    std::deque<Group> undo_;
    std::deque<Group> redo_;
    Group open_;
    std::size_t depth_ = 0;
    Running running_ = Running::neither;
};

}  // namespace qsml
