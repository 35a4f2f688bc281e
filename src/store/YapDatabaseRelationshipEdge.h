#pragma once
#include <compare>
#include <vector>

#include "foundation/String.h"

namespace qsml {

/// What happens to the ends of an edge when one of them is deleted. Bits combine.
enum YapDatabaseNodeDeleteRules : std::uint32_t {
    YDB_NotifyIfSourceDeleted = 1,       ///< the destination is told
    YDB_NotifyIfDestinationDeleted = 2,  ///< the source is told
    YDB_DeleteSourceIfDestinationDeleted = 4,
    YDB_DeleteDestinationIfSourceDeleted = 8,
    YDB_DeleteSourceIfAllDestinationsDeleted = 16,
    YDB_DeleteDestinationIfAllSourcesDeleted = 32,
};

/// A named link from the record that declares it to a destination row. A value.
struct YapDatabaseRelationshipEdge {
    String name;
    String destinationKey;
    String destinationCollection;
    std::uint32_t nodeDeleteRules = 0;  ///< bits of YapDatabaseNodeDeleteRules

    friend bool operator==(const YapDatabaseRelationshipEdge&,
                           const YapDatabaseRelationshipEdge&) = default;
};

}  // namespace qsml
