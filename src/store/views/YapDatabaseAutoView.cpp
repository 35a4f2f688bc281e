#include "store/views/YapDatabaseAutoView.h"

#include <algorithm>
#include <set>

#include "store/detail/StatementRun.h"
#include "store/views/detail/AutoViewTransaction.h"
#include "store/views/detail/ViewCheck.h"
#include "store/views/detail/ViewFailure.h"

namespace qsml {

namespace {

/// Runs work whose failures are exceptions.
template <class Work>
bool succeeds(const Work& work, Error* error) {
    try {
        return work();
    } catch (const detail::ViewFailure& failure) {
        report(error, detail::extensionFailure(failure.what()));
        return false;
    }
}

}  // namespace

YapDatabaseAutoView::YapDatabaseAutoView(YapDatabaseViewGrouping grouping,
                                         YapDatabaseViewSorting sorting, std::string versionTag,
                                         Options options)
    : YapDatabaseExtension(std::move(versionTag)),
      grouping_(std::move(grouping)),
      sorting_(std::move(sorting)),
      options_(std::move(options)) {}

YapDatabaseAutoView::~YapDatabaseAutoView() = default;

std::string YapDatabaseAutoView::configuration() const {
    return (sorting_.isByList() ? "by list " : "by key ") + sorting_.identity;
}

const std::set<std::string, std::less<>>* YapDatabaseAutoView::allowedCollections() const {
    return options_.allowedCollections ? &*options_.allowedCollections : nullptr;
}

const std::set<std::string, std::less<>>* YapDatabaseAutoView::collectionsWithDependents() const {
    return &sorting_.list.collections;
}

bool YapDatabaseAutoView::createTables(YapDatabaseExtensionContext& context, Error* error) {
    return detail::ViewTable(context).create(error);
}

bool YapDatabaseAutoView::dropTables(YapDatabaseExtensionContext& context, Error* error) {
    return detail::ViewTable(context).drop(error);
}

bool YapDatabaseAutoView::fill(YapDatabaseExtensionContext& context, Error* error) {
    return succeeds(
        [&] {
            detail::AutoViewWork work(*this, context, std::make_shared<detail::ViewState>());
            const auto add = [&](const YapDatabaseRow& row) { work.insert(row); };
            if (!context.enumerateRows(allowedCollections(), add)) {
                report(error, context.transaction().error());
                return false;
            }
            work.apply();
            return detail::hasRead(context, error) && work.writeTables(error);
        },
        error);
}

std::shared_ptr<const YapDatabaseExtensionState> YapDatabaseAutoView::loadState(
    YapDatabaseExtensionContext& context, Error* error) {
    std::shared_ptr<const YapDatabaseExtensionState> state;
    succeeds(
        [&] {
            state = detail::ViewTable(context).loadState();
            return true;
        },
        error);
    return state;
}

std::shared_ptr<const YapDatabaseExtensionChanges> YapDatabaseAutoView::changesOfRegistration(
    YapDatabaseExtensionContext& context,
    const std::shared_ptr<const YapDatabaseExtensionState>& state) {
    detail::ViewTable table(context);
    return detail::changesOfWholeView(*state, table);
}

std::unique_ptr<YapDatabaseExtensionTransaction> YapDatabaseAutoView::newTransaction(
    YapDatabaseExtensionContext& context, std::shared_ptr<const YapDatabaseExtensionState> state) {
    return std::make_unique<detail::AutoViewTransaction>(
        *this, context, std::static_pointer_cast<const detail::ViewState>(std::move(state)));
}

bool YapDatabaseAutoView::check(
    YapDatabaseExtensionContext& context,
    const std::function<void(std::string_view, std::string_view, std::string_view)>& fault,
    Error* error) {
    return succeeds([&] { return detail::checkAutoView(*this, context, fault, error); }, error);
}

}  // namespace qsml
