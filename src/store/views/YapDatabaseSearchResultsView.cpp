#include "store/views/YapDatabaseSearchResultsView.h"

#include <algorithm>

#include "store/search/YapDatabaseFullTextSearchTransaction.h"
#include "store/search/fullTextQuery.h"
#include "store/views/detail/ChildViewTransaction.h"

namespace qsml {

namespace {

struct Search {
    std::string query;    ///< as it was given
    std::string matched;  ///< in the language of the full-text search; empty: nothing is found
};
using State = detail::ChildViewState<Search>;

/// More changed rows than this are tested by one search for all.
constexpr std::size_t fewRows = 64;

class Transaction final
    : public detail::ChildViewTransaction<YapDatabaseSearchResultsViewTransaction, Search> {
public:
    Transaction(const YapDatabaseSearchResultsView& view, YapDatabaseExtensionContext& context,
                std::shared_ptr<const State> base)
        : ChildViewTransaction(context, view.parentViewName(), std::move(base)), view_(view) {}

    std::string query() const override { return rule().query; }

    void performSearchFor(std::string_view query) override {
        Search search{std::string(query), std::string(query)};
        std::vector<std::int64_t> found;
        Error notAQuery;
        if (context().readWriteTransaction() && !words().rowidsMatching(query, &found, &notAQuery))
            search.matched = fullTextQueryForTypedText(query);
        replaceRule(std::move(search));
    }

private:
    YapDatabaseFullTextSearchTransaction& words() {
        if (!words_)
            words_ = extension<YapDatabaseFullTextSearchTransaction>(view_.fullTextSearchName());
        return *words_;
    }
    std::uint64_t numberOfChanges() override {
        Error error;
        if (!words().flush(&error)) throw detail::ViewFailure(error.description);
        return parent().changeNumber() + words().changeNumber();
    }
    std::vector<std::int64_t> matches() {
        std::vector<std::int64_t> found;
        Error error;
        if (!words().rowidsMatching(rule().matched, &found, &error))
            throw detail::ViewFailure(error.description);
        return found;
    }
    bool isMatch(std::int64_t rowid) {
        bool matches = false;
        Error error;
        if (!words().rowMatches(rowid, rule().matched, &matches, &error))
            throw detail::ViewFailure(error.description);
        return matches;
    }

    void applyWhole(detail::ChildViewWork& work) override {
        work.applyRows(parent(), matches(),
                       [&](std::string_view group) { return view_.isAllowed(group); });
    }
    void applyChanges(detail::ChildViewWork& work) override {
        const bool areMany =
            parent().rowChanges().size() + words().changedRowids().size() > fewRows;
        std::vector<std::int64_t> found;  // ascending
        if (areMany) found = matches();
        work.applyChanges(
            parent(), words().changedRowids(),
            [&](const detail::ChildViewWork::Candidate& candidate) {
                return view_.isAllowed(candidate.group) &&
                       (areMany ? std::binary_search(found.begin(), found.end(), candidate.rowid)
                                : isMatch(candidate.rowid));
            });
    }

    const YapDatabaseSearchResultsView& view_;
    YapDatabaseFullTextSearchTransaction* words_ = nullptr;
};

}  // namespace

YapDatabaseSearchResultsView::YapDatabaseSearchResultsView(std::string fullTextSearchName,
                                                           std::string parentViewName,
                                                           std::string versionTag, Options options)
    : YapDatabaseViewInMemory({std::move(fullTextSearchName), std::move(parentViewName)},
                              std::move(versionTag)),
      options_(std::move(options)) {}

YapDatabaseSearchResultsView::~YapDatabaseSearchResultsView() = default;

bool YapDatabaseSearchResultsView::isAllowed(std::string_view group) const {
    return !options_.allowedGroups ||
           options_.allowedGroups->find(group) != options_.allowedGroups->end();
}

std::shared_ptr<const YapDatabaseExtensionState> YapDatabaseSearchResultsView::loadState(
    YapDatabaseExtensionContext&, Error*) {
    return std::make_shared<State>(Search{}, State::noRows());
}

std::shared_ptr<const YapDatabaseExtensionState> YapDatabaseSearchResultsView::reloadState(
    YapDatabaseExtensionContext& context,
    const std::shared_ptr<const YapDatabaseExtensionState>& newest, Error* error) {
    if (!newest) return loadState(context, error);
    return detail::filledView<Transaction>(*this, context, static_cast<const State&>(*newest).rule,
                                           error);
}

std::unique_ptr<YapDatabaseExtensionTransaction> YapDatabaseSearchResultsView::newTransaction(
    YapDatabaseExtensionContext& context, std::shared_ptr<const YapDatabaseExtensionState> state) {
    return std::make_unique<Transaction>(*this, context,
                                         std::static_pointer_cast<const State>(std::move(state)));
}

bool YapDatabaseSearchResultsView::check(
    YapDatabaseExtensionContext& context,
    const std::function<void(std::string_view, std::string_view, std::string_view)>& fault,
    Error* error) {
    return detail::checkInMemory<Transaction, Search>(*this, context, fault, error);
}

}  // namespace qsml
