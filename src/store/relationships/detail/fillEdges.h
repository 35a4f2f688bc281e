#pragma once
#include <optional>
#include <set>
#include <string>

#include "store/relationships/detail/EdgeTables.h"

namespace qsml::detail {

using Collections = std::optional<std::set<std::string, std::less<>>>;

struct ManualEdge {
    StoredEdge edge;
    YapDatabaseCollectionKey source, destination;
};
/// All of them, with the ends that they were given.
std::vector<ManualEdge> manualEdges(EdgeTables& tables);
/// All destinations that do not exist, with the number by which edges lead there.
std::vector<std::pair<std::int64_t, YapDatabaseCollectionKey>> absentRows(EdgeTables& tables);

/// Fills empty tables with what the rows declare, in one pass in the order of the sources.
void fillEdges(EdgeTables& tables, const Collections& collections);
/// Makes stored edges what the rows declare now. Keeps manual edges whose source exists, and the
/// edges of rows that do not decode. No rules run: what caused the differences is not known.
void rebuildEdges(EdgeTables& tables, const Collections& collections);

}  // namespace qsml::detail
