#include "store/views/detail/ViewRowChange.h"

namespace qsml::detail {

std::shared_ptr<const YapDatabaseViewChanges> announced(const std::vector<ViewRowChange>& changes) {
    if (changes.empty()) return nullptr;
    std::vector<YapDatabaseViewOperation> operations;
    operations.reserve(changes.size());
    for (const ViewRowChange& change : changes) {
        operations.push_back(change.operation);
        operations.back().rowidBefore = change.rowidBefore;
        operations.back().rowidAfter = change.rowidAfter;
    }
    return std::make_shared<YapDatabaseViewChanges>(std::move(operations));
}

}  // namespace qsml::detail
