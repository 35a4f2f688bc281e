#pragma once
#include <memory>
#include <vector>

#include "store/views/YapDatabaseViewChanges.h"

namespace qsml::detail {

/// Null when there are none.
inline std::shared_ptr<const YapDatabaseViewChanges> announced(
    const std::vector<YapDatabaseViewOperation>& changes) {
    return changes.empty() ? nullptr : std::make_shared<YapDatabaseViewChanges>(changes);
}

}  // namespace qsml::detail
