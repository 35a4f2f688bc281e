#pragma once
#include <optional>

#include "store/views/YapDatabaseViewMappings.h"
#include "store/views/YapDatabaseViewRowChange.h"

namespace qsml {
class YapDatabaseViewTransaction;
}

namespace qsml::detail {

/// What a list must do that was shown with `before`, when another process has committed and nobody
/// says what changed: both states of the view are compared. Every row that stayed counts as
/// updated, because it may have been. Rows that went may have a null key. False, with nothing
/// done, where the older state is not in memory as a whole or the list is so long that replacing it
/// costs less.
bool comparedStates(const YapDatabaseViewMappings& before, const YapDatabaseViewMappings& after,
                    YapDatabaseViewTransaction& view,
                    std::vector<YapDatabaseViewSectionChange>* sections,
                    std::vector<YapDatabaseViewRowChange>* rows);

}  // namespace qsml::detail
