#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string_view>

#include "store/views/detail/ViewState.h"

namespace qsml::detail {

/// The view that a transaction makes out of the one it began with. Confined to the transaction.
class ViewEditing {
public:
    /// A view that is never stored numbers neither groups nor nodes.
    enum class Storage { stored, volatileOnly };
    ViewEditing(std::shared_ptr<const ViewState> base, ViewNodeSource& source, Storage storage);

    const ViewState& base() const noexcept { return *base_; }
    bool hasChanged() const noexcept { return made_ != nullptr; }
    /// As it is now.
    const ViewState& state() const noexcept { return made_ ? *made_ : *base_; }
    /// What the commit keeps.
    std::shared_ptr<const ViewState> newState() const;

    ViewEdit& edit() noexcept { return edit_; }
    ViewNodeSource& source() noexcept { return edit_.source; }
    /// The group's tree, to be put back when it has been changed.
    ViewTree tree(std::string_view group) const { return state().tree(group); }
    void put(const String& group, ViewTree tree);

    const std::set<String>& changedGroups() const noexcept { return changedGroups_; }

private:
    std::shared_ptr<const ViewState> base_;
    std::shared_ptr<ViewState> made_;
    ViewEdit edit_;
    Storage storage_;
    std::set<String> changedGroups_;
};

}  // namespace qsml::detail
