#include "store/views/detail/AutoViewTransaction.h"

#include "store/views/detail/ViewFailure.h"
#include "store/views/detail/announced.h"

namespace qsml::detail {

AutoViewTransaction::AutoViewTransaction(const YapDatabaseAutoView& view,
                                         YapDatabaseExtensionContext& context,
                                         std::shared_ptr<const ViewState> base)
    : YapDatabaseViewTransaction(context), view_(view), base_(std::move(base)) {}

AutoViewWork& AutoViewTransaction::work() {
    if (!work_) work_.emplace(view_, context(), base_);
    return *work_;
}

std::vector<YapDatabaseCollectionKey> AutoViewTransaction::dependentsOfRow(
    const YapDatabaseRow& row) {
    work().noteListHolder(row);
    return {};
}

bool AutoViewTransaction::flush(Error* error) {
    if (!work_) return true;
    try {
        work_->apply();
        return hasRead(context(), error);
    } catch (const ViewFailure& failure) {
        report(error, extensionFailure(failure.what()));
        return false;
    }
}

bool AutoViewTransaction::writeTables(Error* error) { return !work_ || work_->writeTables(error); }

std::shared_ptr<const YapDatabaseExtensionChanges> AutoViewTransaction::changes() {
    if (!work_ || changeNumber() == 0) return nullptr;
    return announced(rowChanges());
}

std::shared_ptr<const YapDatabaseExtensionState> AutoViewTransaction::newState() {
    return work_ ? work_->newState() : base_;
}

const ViewState& AutoViewTransaction::state() {
    if (!work_) return *base_;
    work_->apply();
    return work_->state();
}

const std::vector<YapDatabaseViewOperation>& AutoViewTransaction::rowChanges() {
    static const std::vector<YapDatabaseViewOperation> none;
    if (!work_) return none;
    work_->apply();
    return work_->changes();
}

std::optional<YapDatabaseViewPlace> AutoViewTransaction::placeOfRow(std::int64_t rowid) {
    work().apply();
    return work().placeOfRow(rowid);
}

}  // namespace qsml::detail
