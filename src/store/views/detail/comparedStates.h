#pragma once
#include <cstdint>
#include <vector>

#include "store/views/YapDatabaseViewMappings.h"
#include "store/views/YapDatabaseViewRowChange.h"

namespace qsml {
class YapDatabaseViewTransaction;
}

namespace qsml::detail {

/// What a list must do that was shown with `before`, when another process has committed and nobody
/// says what changed: both states of the view are compared. Every row that stayed counts as
/// updated, because it may have been. Rows that went may have a null key. False, with nothing
/// done, where the older state is not in memory as a whole or either list is longer than
/// `longest`, as replacing it costs less then.
bool comparedStates(const YapDatabaseViewMappings& before, const YapDatabaseViewMappings& after,
                    YapDatabaseViewTransaction& view,
                    std::vector<YapDatabaseViewSectionChange>* sections,
                    std::vector<YapDatabaseViewRowChange>* rows, std::uint64_t longest = 20000);

}  // namespace qsml::detail
