#pragma once
#include <memory>

#include "store/YapDatabaseRelationshipEdge.h"

namespace qsml {

class Object;

/// A stored object that declares edges. Asked whenever it is written; the list replaces the last
/// one. Both functions run on the thread of the write, inside its transaction, and must write
/// nothing themselves; what they throw makes the commit fail.
class QSML_EXPORT YapDatabaseRelationshipNode {
public:
    enum class Reason : std::uint8_t { edgeDeleted, sourceNodeDeleted, destinationNodeDeleted };

    /// Made anew each time; empty for an object without links.
    virtual std::vector<YapDatabaseRelationshipEdge> yapDatabaseRelationshipEdges() const = 0;
    /// Tells the object that remains what became of an edge with a notify rule. The object to store
    /// in its place; null to leave it as it is.
    virtual std::shared_ptr<Object> yapDatabaseRelationshipEdgeDeleted(
        const YapDatabaseRelationshipEdge& edge, Reason reason) const;

protected:
    YapDatabaseRelationshipNode() = default;
    YapDatabaseRelationshipNode(const YapDatabaseRelationshipNode&) = default;
    YapDatabaseRelationshipNode& operator=(const YapDatabaseRelationshipNode&) = default;
    virtual ~YapDatabaseRelationshipNode();
};

}  // namespace qsml
