#include <exception>

#include "database/PLXViewDataSource.h"
#include "foundation/Log.h"
#include "store/YapDatabaseTransaction.h"
#include "store/views/YapDatabaseViewMappings.h"
#include "store/views/YapDatabaseViewTransaction.h"

namespace qsml {

struct PLXViewDataSource::Changes {
    std::vector<YapDatabaseViewSectionChange> sections;
    std::vector<YapDatabaseViewRowChange> rows;
};

void PLXViewDataSource::databaseDidUpdate(const Notification& notification) {
    const auto* commits =
        notification.info<YapDatabaseNotifications>(PLXUIDatabaseConnectionNotificationsKey);
    if (!viewMappings_ || !commits || commits->empty()) return;
    const auto changes = std::make_shared<Changes>();
    read([&](auto& transaction) {
        if (auto* view =
                transaction.template ext<YapDatabaseViewTransaction>(viewMappings_->view()))
            view->getSectionChanges(&changes->sections, &changes->rows, *commits, *viewMappings_);
        else  // not there yet, or no longer: there is nothing to tell of its rows
            viewMappings_->updateWithTransaction(transaction);
    });
    if (changes->sections.empty() && changes->rows.empty()) return;
    tellDelegate(changes);
    followSelectedRecord();
    // On purpose also after a move: whoever wants it followed again sets the selection again.
    // Pinned by GivenASelectedRow.WhenItsRecordMovesTwiceThenOnlyTheFirstMoveIsFollowed.
    selectedItemKey_ = nullptr;
    selectedCollection_ = nullptr;
}

namespace {

/// Calls a block of the delegate where it has one. What it throws must not keep the other news from
/// the list: a list that missed a row shows wrong ones from then on.
template <class Block, class... Arguments>
void call(const Block& block, Arguments&&... arguments) {
    constexpr std::string_view method = "-[PLXViewDataSource databaseDidUpdate:]";
    if (!block) return;
    try {
        block(std::forward<Arguments>(arguments)...);
    } catch (const std::exception& exception) {
        log(method, __LINE__, std::string("A delegate threw: ") + exception.what());
    } catch (...) {
        log(method, __LINE__, "A delegate threw something unknown");
    }
}

}  // namespace

void PLXViewDataSource::tellDelegate(const std::shared_ptr<const Changes>& changes) {
    const auto delegate = delegate_.lock();
    if (!delegate) return;
    call(delegate->willBeginUpdates, *this);
    if (delegate->performUpdates)
        // Weak: a delegate may keep the block.
        call(delegate->performUpdates, *this,
             [weakSelf = weak_from_this(), weakDelegate = std::weak_ptr(delegate), changes] {
                 const auto self = weakSelf.lock();
                 const auto receiver = weakDelegate.lock();
                 if (self && receiver) tell(*self, *receiver, *changes);
             });
    else
        tell(*this, *delegate, *changes);
    call(delegate->didEndUpdates, *this);
}

namespace {

using Type = YapDatabaseViewChangeType;

void tellSection(PLXViewDataSource& source, const PLXViewDataSourceDelegate& delegate,
                 const YapDatabaseViewSectionChange& change) {
    const auto& block =
        change.type == Type::insertion ? delegate.didInsertSection : delegate.didDeleteSection;
    call(block, source, change.index);
}

void tellRow(PLXViewDataSource& source, const PLXViewDataSourceDelegate& delegate,
             const YapDatabaseViewRowChange& change) {
    switch (change.type) {
        case Type::insertion:
            call(delegate.didInsertRowAtIndexPath, source, *change.newIndexPath);
            break;
        case Type::deletion:
            call(delegate.didDeleteRowAtIndexPath, source, *change.indexPath);
            break;
        case Type::move:
            call(delegate.didMoveRowAtIndexPath, source, *change.indexPath, *change.newIndexPath);
            break;
        case Type::update:
            call(delegate.didUpdateRowAtIndexPath, source, *change.indexPath);
            break;
    }
}

}  // namespace

void PLXViewDataSource::tell(PLXViewDataSource& source, const PLXViewDataSourceDelegate& delegate,
                             const Changes& changes) {
    for (const auto& change : changes.sections) tellSection(source, delegate, change);
    for (const auto& change : changes.rows) tellRow(source, delegate, change);
}

void PLXViewDataSource::setIndexPathForSelectedRow(std::optional<IndexPath> path) {
    selectedPath_ = path;
    selectedItemKey_ = nullptr;
    selectedCollection_ = nullptr;
    if (!path || !viewMappings_) return;
    const auto group = viewMappings_->groupForSection(path->section);
    if (!group) return;
    read([&](auto& transaction) {
        auto* view = transaction.template ext<YapDatabaseViewTransaction>(viewMappings_->view());
        if (!view) return;
        // On purpose the row's index in the whole group, not in its range. Pinned by
        // GivenASelectedRow.WhenTheGroupHasARangeThenTheRecordIsThatOfTheIndexInTheWholeGroup.
        if (const auto row = view->keyAtIndex(path->row, *group)) {
            selectedItemKey_ = row->key;
            selectedCollection_ = row->collection;
        }
    });
}

void PLXViewDataSource::followSelectedRecord() {
    if (!selectedPath_ || !selectedItemKey_ || !selectedCollection_) return;
    const auto path = indexPathForItemWithKey(selectedItemKey_, selectedCollection_);
    if (path != selectedPath_) setIndexPathForSelectedRow(path);
}

}  // namespace qsml
