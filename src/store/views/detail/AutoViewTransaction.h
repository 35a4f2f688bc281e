#pragma once
#include <memory>
#include <optional>

#include "store/views/YapDatabaseAutoView.h"
#include "store/views/YapDatabaseViewTransaction.h"
#include "store/views/detail/AutoViewWork.h"

namespace qsml::detail {

/// An auto view in one transaction. Most transactions leave most views alone: nothing is made
/// before the first change or question.
class AutoViewTransaction final : public YapDatabaseViewTransaction {
public:
    AutoViewTransaction(const YapDatabaseAutoView& view, YapDatabaseExtensionContext& context,
                        std::shared_ptr<const ViewState> base);

    void didInsertRow(const YapDatabaseRow& row) override { work().insert(row); }
    void didUpdateRow(const YapDatabaseRow& row, YapDatabaseUpdate update) override {
        work().update(row, update);
    }
    void didRemoveRow(const YapDatabaseRow& row) override { work().remove(row); }
    std::vector<YapDatabaseCollectionKey> dependentsOfRow(const YapDatabaseRow& row) override;

    bool flush(Error* error) override;
    bool writeTables(Error* error) override;
    std::shared_ptr<const YapDatabaseExtensionChanges> changes() override;
    std::shared_ptr<const YapDatabaseExtensionState> newState() override;

    std::shared_ptr<const YapDatabaseExtensionState> keptState() override {
        return work_ && work_->changeNumber() > 0 ? nullptr : base_;
    }
    const ViewState& state() override;
    ViewNodeSource& source() override { return work().source(); }
    const std::vector<YapDatabaseViewOperation>& rowChanges() override;
    std::uint64_t changeNumber() override { return work_ ? work_->changeNumber() : 0; }
    std::optional<YapDatabaseViewPlace> placeOfRow(std::int64_t rowid) override;
    bool findsPlacesQuickly() const override { return !view_.sorting().isByList(); }

private:
    AutoViewWork& work();

    const YapDatabaseAutoView& view_;
    std::shared_ptr<const ViewState> base_;
    std::optional<AutoViewWork> work_;
};

}  // namespace qsml::detail
