#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "store/views/YapDatabaseViewChanges.h"

namespace qsml::detail {

/// An operation with the ids of the row: they differ where a row went and came back under its key.
struct ViewRowChange {
    std::int64_t rowidBefore = 0;  ///< 0: it was not there
    std::int64_t rowidAfter = 0;   ///< 0: it is gone
    YapDatabaseViewOperation operation;
};

/// Null when there are none.
std::shared_ptr<const YapDatabaseViewChanges> announced(const std::vector<ViewRowChange>& changes);

}  // namespace qsml::detail
