#pragma once
#include <memory>

#include "store/YapDatabaseExtension.h"
#include "store/views/detail/ViewState.h"

namespace qsml::detail {

/// A view on a view on one snapshot: its rows, and the rule that chose them.
template <class Rule>
struct ChildViewState final : YapDatabaseExtensionState {
    ChildViewState(Rule chosenBy, std::shared_ptr<const ViewState> chosen)
        : rule(std::move(chosenBy)), rows(std::move(chosen)) {}
    static std::shared_ptr<const ViewState> noRows() {
        auto empty = std::make_shared<ViewState>();
        empty->nextNode = 0;
        return empty;
    }

    Rule rule;
    std::shared_ptr<const ViewState> rows;
};

}  // namespace qsml::detail
