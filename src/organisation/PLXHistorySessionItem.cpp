#include "organisation/PLXHistorySessionItem.h"

#include "database/collectionNames.h"

namespace qsml {

QSML_DEFINE_RECORD(PLXHistorySessionItem)

std::vector<YapDatabaseRelationshipEdge> PLXHistorySessionItem::yapDatabaseRelationshipEdges()
    const {
    if (!sessionUUID()) return {};
    return {{PLXHistorySessionItemSessionRelationshipEdgeName, sessionUUID(),
             PLXDatabaseCollectionHistorySessions, YDB_DeleteSourceIfDestinationDeleted}};
}

}  // namespace qsml
