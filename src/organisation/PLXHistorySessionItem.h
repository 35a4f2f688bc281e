#pragma once
#include "core/PLXCloudDatabaseObject.h"
#include "store/YapDatabaseRelationshipNode.h"
#include "tracks/PLXMediaItemTitleID.h"

namespace qsml {

inline constexpr std::string_view PLXHistorySessionItemSessionRelationshipEdgeName =
    "historySessionItemSession";

/// One title that was played in a session.
/// Confined to one thread at a time until written; shared by any once frozen.
class QSML_EXPORT PLXHistorySessionItem final : public PLXCloudDatabaseObject,
                                                public YapDatabaseRelationshipNode {
    QSML_RECORD(PLXHistorySessionItem, PLXCloudDatabaseObject)

    /// Key into PLXDatabaseCollectionHistorySessions.
    QSML_PROPERTY(String, sessionUUID, setSessionUUID)
    /// The title by value, so that the entry survives when the track leaves the library.
    QSML_PROPERTY(Copied<PLXMediaItemTitleID>, titleID, setTitleID)
    /// The deck on which the title was started.
    QSML_PROPERTY(std::int64_t, deckNumber, setDeckNumber)
    QSML_PROPERTY(std::optional<Date>, startTime, setStartTime)
    QSML_RECORD_END()

    /// Its session, with which the entry goes. The session's list keeps the UUID of an entry that
    /// goes alone.
    std::vector<YapDatabaseRelationshipEdge> yapDatabaseRelationshipEdges() const override;
};

}  // namespace qsml
