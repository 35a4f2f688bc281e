#pragma once
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "store/views/YapDatabaseViewInMemory.h"
#include "store/views/YapDatabaseViewTransaction.h"

namespace qsml {

/// Whether a row of the parent view is shown. Runs when the row comes into the parent, is written
/// or touched, moves or changes its group there, and for every row when the filter is set. On the
/// thread of the transaction; must not write. What it throws is logged, and the row is not shown.
using YapDatabaseViewFiltering =
    std::function<bool(YapDatabaseReadTransaction& transaction, std::string_view group,
                       std::string_view collection, std::string_view key)>;

/// Some of the rows of a parent view, in its groups and order. Kept in memory: nothing of it is in
/// the file, and it is made anew from the parent when it is registered and after commits of another
/// process. versionTag() is that of the filter it was registered with; the transaction tells the
/// one in force.
class QSML_EXPORT YapDatabaseFilteredView final : public YapDatabaseViewInMemory {
public:
    YapDatabaseFilteredView(std::string parentViewName, YapDatabaseViewFiltering filtering,
                            std::string versionTag = "");
    ~YapDatabaseFilteredView() override;

    std::string kind() const override { return "YapDatabaseFilteredView"; }
    std::shared_ptr<const YapDatabaseExtensionState> loadState(YapDatabaseExtensionContext& context,
                                                               Error* error) override;
    std::shared_ptr<const YapDatabaseExtensionState> reloadState(
        YapDatabaseExtensionContext& context,
        const std::shared_ptr<const YapDatabaseExtensionState>& newest, Error* error) override;
    std::shared_ptr<const YapDatabaseExtensionChanges> changesOfRegistration(
        YapDatabaseExtensionContext& context,
        const std::shared_ptr<const YapDatabaseExtensionState>& state) override;
    std::unique_ptr<YapDatabaseExtensionTransaction> newTransaction(
        YapDatabaseExtensionContext& context,
        std::shared_ptr<const YapDatabaseExtensionState> state) override;
    bool check(YapDatabaseExtensionContext& context,
               const std::function<void(std::string_view collection, std::string_view key,
                                        std::string_view description)>& fault,
               Error* error) override;

private:
    YapDatabaseViewFiltering filtering_;
};

/// A filtered view in one transaction.
class QSML_EXPORT YapDatabaseFilteredViewTransaction : public YapDatabaseViewTransaction {
public:
    /// Of the filter that is in force on this snapshot, and in this transaction.
    virtual std::string versionTag() const = 0;
    /// Replaces the filter; rows enter and leave, the others stay as they are. False, and nothing
    /// happens, when the tag is the one in force. Throws YapDatabaseException in a read
    /// transaction.
    virtual bool setFiltering(YapDatabaseViewFiltering filtering, std::string versionTag) = 0;

protected:
    using YapDatabaseViewTransaction::YapDatabaseViewTransaction;
};

}  // namespace qsml
