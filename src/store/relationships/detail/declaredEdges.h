#pragma once
#include <vector>

#include "store/YapDatabaseRelationshipEdge.h"
#include "store/relationships/detail/EdgeTables.h"

namespace qsml {
class Value;
}

namespace qsml::detail {

class RemovedRows;

/// What the object declares, without edges to a nil key, which names no row. Nothing for an object
/// without the node role.
EdgeList declaredEdges(const Value& object);

/// Where an edge to this row leads. A row whose removal is still to be told is meant by its former
/// row id; one that does not exist gets an entry as an absent one.
std::int64_t destinationFor(EdgeTables& tables, const RemovedRows& removed, std::string_view key,
                            std::string_view collection);

/// A list of which nothing is stored yet, as protocol edges in the order of destination and kind.
/// Of several with one name and destination the last counts.
std::vector<StoredEdge> storedForm(EdgeTables& tables, const RemovedRows& removed,
                                   std::int64_t source, EdgeList list);

/// Stores the list in place of the one that is stored, as differences: edges that are new are
/// appended to `added` (the caller inserts them), edges that went are removed and given to
/// `dropped`. Where a long list is known, the cost is that of comparing texts in memory.
void storeDifference(EdgeTables& tables, const RemovedRows& removed, std::int64_t source,
                     EdgeList list, std::vector<StoredEdge>& added,
                     std::vector<StoredEdge>& dropped);

}  // namespace qsml::detail
