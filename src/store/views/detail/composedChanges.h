#pragma once
#include <vector>

#include "store/views/YapDatabaseViewChanges.h"

namespace qsml::detail {

/// What several commits, oldest first, did together: each row once, with its place before the first
/// and after the last of them and the flags of all. A row that is in the view neither before nor
/// after is listed without places. A row that went and came back has the flags of object and
/// metadata, for it may have been written while it was away. O(k log k log c) of k operations in c
/// commits.
std::vector<YapDatabaseViewOperation> composedChanges(
    const std::vector<const YapDatabaseViewChanges*>& commits);

}  // namespace qsml::detail
