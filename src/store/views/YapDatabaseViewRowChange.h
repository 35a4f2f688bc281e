#pragma once
#include <cstdint>
#include <optional>
#include <vector>

#include "foundation/IndexPath.h"
#include "store/views/YapDatabaseViewChanges.h"

namespace qsml {

enum class YapDatabaseViewChangeType { insertion = 1, deletion = 2, move = 3, update = 4 };

/// Type insertion: `index` counts the sections after the change; deletion: those before.
struct YapDatabaseViewSectionChange {
    YapDatabaseViewChangeType type = YapDatabaseViewChangeType::insertion;
    std::uint64_t index = 0;
    String group;
    friend bool operator==(const YapDatabaseViewSectionChange&,
                           const YapDatabaseViewSectionChange&) = default;
};

/// All paths are absolute: none is relative to another change of the list.
struct YapDatabaseViewRowChange {
    YapDatabaseViewChangeType type = YapDatabaseViewChangeType::update;
    YapDatabaseCollectionKey row;           ///< null where it is not known, as after a search
    std::optional<IndexPath> indexPath;     ///< before: of deletions, moves and updates
    std::optional<IndexPath> newIndexPath;  ///< after: of insertions and moves
    unsigned flags = 0;                     ///< YapDatabaseViewChangesBits
    friend bool operator==(const YapDatabaseViewRowChange&,
                           const YapDatabaseViewRowChange&) = default;
};

}  // namespace qsml
