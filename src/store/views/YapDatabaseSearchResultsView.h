#pragma once
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "store/views/YapDatabaseViewInMemory.h"
#include "store/views/YapDatabaseViewTransaction.h"

namespace qsml {

struct YapDatabaseSearchResultsViewOptions {
    /// Groups of the parent that are searched; nothing means all.
    std::optional<std::set<std::string, std::less<>>> allowedGroups = {};
};

/// The rows of a parent view that match a full-text query, in the parent's groups and order. Stays
/// in step with the rows between searches. Kept in memory: empty until the first search of a run.
class QSML_EXPORT YapDatabaseSearchResultsView final : public YapDatabaseViewInMemory {
public:
    using Options = YapDatabaseSearchResultsViewOptions;

    YapDatabaseSearchResultsView(std::string fullTextSearchName, std::string parentViewName,
                                 std::string versionTag = "", Options options = {});
    ~YapDatabaseSearchResultsView() override;

    const std::string& fullTextSearchName() const noexcept { return firstParentName(); }
    bool isAllowed(std::string_view group) const;

    std::string kind() const override { return "YapDatabaseSearchResultsView"; }
    std::shared_ptr<const YapDatabaseExtensionState> loadState(YapDatabaseExtensionContext& context,
                                                               Error* error) override;
    std::shared_ptr<const YapDatabaseExtensionState> reloadState(
        YapDatabaseExtensionContext& context,
        const std::shared_ptr<const YapDatabaseExtensionState>& newest, Error* error) override;
    std::unique_ptr<YapDatabaseExtensionTransaction> newTransaction(
        YapDatabaseExtensionContext& context,
        std::shared_ptr<const YapDatabaseExtensionState> state) override;
    bool check(YapDatabaseExtensionContext& context,
               const std::function<void(std::string_view collection, std::string_view key,
                                        std::string_view description)>& fault,
               Error* error) override;

private:
    Options options_;
};

/// Search results in one transaction.
class QSML_EXPORT YapDatabaseSearchResultsViewTransaction : public YapDatabaseViewTransaction {
public:
    /// The query in force, as it was given; empty before the first search.
    virtual std::string query() const = 0;
    /// Replaces the query. The text is taken as a full-text query; where it is none, as what a
    /// person typed (see fullTextQueryForTypedText). An empty text has no results. Throws
    /// YapDatabaseException in a read transaction.
    virtual void performSearchFor(std::string_view query) = 0;

protected:
    using YapDatabaseViewTransaction::YapDatabaseViewTransaction;
};

}  // namespace qsml
