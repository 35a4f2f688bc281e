#include "store/YapDatabaseRelationshipNode.h"

#include "foundation/Object.h"

namespace qsml {

YapDatabaseRelationshipNode::~YapDatabaseRelationshipNode() = default;

std::shared_ptr<Object> YapDatabaseRelationshipNode::yapDatabaseRelationshipEdgeDeleted(
    const YapDatabaseRelationshipEdge&, Reason) const {
    return nullptr;
}

}  // namespace qsml
