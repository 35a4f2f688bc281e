#pragma once
#include <memory>
#include <string>

#include "store/views/YapDatabaseViewRules.h"

namespace qsml {

/// Rows in groups, each group in an order: a list that follows the rows. It is kept in the file, is
/// read through YapDatabaseViewTransaction, and is after each commit what a rebuild would make.
///
/// Another version tag, sorting identity or kind of order rebuilds it; what the rules do cannot be
/// compared, so changed rules need another tag. Thread-safe as extensions are.
class QSML_EXPORT YapDatabaseAutoView final : public YapDatabaseExtension {
public:
    using Options = YapDatabaseViewOptions;

    YapDatabaseAutoView(YapDatabaseViewGrouping grouping, YapDatabaseViewSorting sorting,
                        std::string versionTag = "", Options options = {});
    ~YapDatabaseAutoView() override;

    const YapDatabaseViewGrouping& grouping() const noexcept { return grouping_; }
    const YapDatabaseViewSorting& sorting() const noexcept { return sorting_; }

    std::string kind() const override { return "YapDatabaseAutoView"; }
    std::int64_t formatVersion() const override { return 1; }
    std::string configuration() const override;
    const std::set<std::string, std::less<>>* allowedCollections() const override;
    const std::set<std::string, std::less<>>* collectionsWithDependents() const override;

    bool createTables(YapDatabaseExtensionContext& context, Error* error) override;
    bool dropTables(YapDatabaseExtensionContext& context, Error* error) override;
    bool fill(YapDatabaseExtensionContext& context, Error* error) override;
    std::shared_ptr<const YapDatabaseExtensionState> loadState(YapDatabaseExtensionContext& context,
                                                               Error* error) override;
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
    YapDatabaseViewGrouping grouping_;
    YapDatabaseViewSorting sorting_;
    Options options_;
};

}  // namespace qsml
