#include "organisation/PLXQueueItem.h"

#include "database/collectionNames.h"

namespace qsml {

QSML_DEFINE_RECORD(PLXQueueItem)

std::vector<YapDatabaseRelationshipEdge> PLXQueueItem::yapDatabaseRelationshipEdges() const {
    if (!queueUUID()) return {};
    return {{PLXQueueItemQueueRelationshipEdgeName, queueUUID(), PLXDatabaseCollectionQueues,
             YDB_DeleteSourceIfDestinationDeleted}};
}

}  // namespace qsml
