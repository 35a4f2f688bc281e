#include "store/views/YapDatabaseFilteredView.h"

#include "foundation/Log.h"
#include "store/detail/troubleOf.h"
#include "store/views/detail/ChildViewTransaction.h"
#include "store/views/detail/ViewCheck.h"

namespace qsml {

namespace {

struct Filter {
    YapDatabaseViewFiltering filtering;
    std::string versionTag;
};
using State = detail::ChildViewState<Filter>;

class Transaction final
    : public detail::ChildViewTransaction<YapDatabaseFilteredViewTransaction, Filter> {
public:
    Transaction(const YapDatabaseFilteredView& view, YapDatabaseExtensionContext& context,
                std::shared_ptr<const State> base)
        : ChildViewTransaction(context, view.parentViewName(), std::move(base)) {}

    std::string versionTag() const override { return rule().versionTag; }

    bool setFiltering(YapDatabaseViewFiltering filtering, std::string versionTag) override {
        if (context().readWriteTransaction() && versionTag == rule().versionTag) return false;
        replaceRule({std::move(filtering), std::move(versionTag)});
        return true;
    }

private:
    bool passes(std::string_view group, const YapDatabaseCollectionKey& row) {
        bool isShown = false;
        const auto trouble = detail::troubleOf([&] {
            isShown = rule().filtering &&
                      rule().filtering(context().transaction(), group, row.collection, row.key);
        });
        if (trouble)
            log("Warning: the filter of a view failed for \"" + row.key.str() + "\" of \"" +
                row.collection.str() + "\", which is not shown: " + *trouble);
        return isShown && !trouble;
    }

    void applyWhole(detail::ChildViewWork& work) override {
        work.applyWhole(parent(), [&](std::string_view group, std::int64_t rowid) {
            YapDatabaseCollectionKey row;
            return context().keyForRowid(rowid, &row) && passes(group, row);
        });
    }
    void applyChanges(detail::ChildViewWork& work) override {
        work.applyChanges(parent(), {}, [&](const detail::ChildViewWork::Candidate& candidate) {
            return passes(candidate.group, candidate.row);
        });
    }
};

}  // namespace

YapDatabaseFilteredView::YapDatabaseFilteredView(std::string parentViewName,
                                                 YapDatabaseViewFiltering filtering,
                                                 std::string versionTag)
    : YapDatabaseViewInMemory({std::move(parentViewName)}, std::move(versionTag)),
      filtering_(std::move(filtering)) {}

YapDatabaseFilteredView::~YapDatabaseFilteredView() = default;

std::shared_ptr<const YapDatabaseExtensionState> YapDatabaseFilteredView::loadState(
    YapDatabaseExtensionContext& context, Error* error) {
    return detail::filledView<Transaction>(*this, context, Filter{filtering_, versionTag()}, error);
}

std::shared_ptr<const YapDatabaseExtensionState> YapDatabaseFilteredView::reloadState(
    YapDatabaseExtensionContext& context,
    const std::shared_ptr<const YapDatabaseExtensionState>& newest, Error* error) {
    if (!newest) return loadState(context, error);
    return detail::filledView<Transaction>(*this, context, static_cast<const State&>(*newest).rule,
                                           error);
}

std::shared_ptr<const YapDatabaseExtensionChanges> YapDatabaseFilteredView::changesOfRegistration(
    YapDatabaseExtensionContext&, const std::shared_ptr<const YapDatabaseExtensionState>& state) {
    detail::NoNodeSource nodes;
    return detail::changesOfWholeView(*static_cast<const State&>(*state).rows, nodes);
}

std::unique_ptr<YapDatabaseExtensionTransaction> YapDatabaseFilteredView::newTransaction(
    YapDatabaseExtensionContext& context, std::shared_ptr<const YapDatabaseExtensionState> state) {
    return std::make_unique<Transaction>(*this, context,
                                         std::static_pointer_cast<const State>(std::move(state)));
}

bool YapDatabaseFilteredView::check(
    YapDatabaseExtensionContext& context,
    const std::function<void(std::string_view, std::string_view, std::string_view)>& fault,
    Error* error) {
    return detail::checkInMemory<Transaction, Filter>(*this, context, fault, error);
}

}  // namespace qsml
