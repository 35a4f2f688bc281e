#pragma once
#include "core/PLXCloudDatabaseObject.h"
#include "store/YapDatabaseRelationshipNode.h"
#include "tracks/PLXMediaItemTitleID.h"

namespace qsml {

inline constexpr std::string_view PLXQueueItemQueueRelationshipEdgeName = "queueItemQueue";

/// One entry of a queue.
/// Confined to one thread at a time until written; shared by any once frozen.
class QSML_EXPORT PLXQueueItem final : public PLXCloudDatabaseObject,
                                       public YapDatabaseRelationshipNode {
    QSML_RECORD(PLXQueueItem, PLXCloudDatabaseObject)

    /// Key into PLXDatabaseCollectionQueues.
    QSML_PROPERTY(String, queueUUID, setQueueUUID)
    /// The queued title by value, so that the entry does not depend on a track of the library.
    QSML_PROPERTY(Copied<PLXMediaItemTitleID>, titleID, setTitleID)
    QSML_RECORD_END()

    /// Its queue, with which the entry goes. The queue's list keeps the UUID of an entry that goes
    /// alone.
    std::vector<YapDatabaseRelationshipEdge> yapDatabaseRelationshipEdges() const override;
};

}  // namespace qsml
