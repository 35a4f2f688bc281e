#pragma once
#include <map>
#include <string>
#include <vector>

#include "store/YapDatabaseTransaction.h"
#include "store/views/YapDatabaseViewTransaction.h"

namespace qsml {

/// The keys of each group, in order.
using ViewGroups = std::map<std::string, std::vector<std::string>>;

/// What a view shows, from whatever transaction.
inline ViewGroups groupsShown(YapDatabaseReadTransaction& transaction, std::string_view name) {
    ViewGroups groups;
    auto* const view = transaction.ext<YapDatabaseViewTransaction>(name);
    if (!view) return {{"(the view is missing)", {}}};
    for (const String& group : view->allGroups()) {
        auto& keys = groups[group.str()];
        view->enumerateKeysInGroup(
            group, [&](auto, std::string_view key, auto, bool&) { keys.emplace_back(key); });
    }
    return groups;
}

}  // namespace qsml
