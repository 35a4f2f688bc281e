#pragma once
#include "core/PLXCloudDatabaseObject.h"

namespace qsml {

/// One performance: when and where it was, and what was played.
/// Confined to one thread at a time until written; shared by any once frozen.
class QSML_EXPORT PLXHistorySession final : public PLXCloudDatabaseObject {
    QSML_RECORD(PLXHistorySession, PLXCloudDatabaseObject)

    /// The library sets none.
    QSML_PROPERTY(String, name, setName)
    /// The device that recorded the session.
    QSML_PROPERTY(String, deviceName, setDeviceName)
    /// The kind of device; this library records 0.
    QSML_PROPERTY(std::int64_t, deviceType, setDeviceType)
    QSML_PROPERTY(std::optional<Date>, startDate, setStartDate)
    /// Nil while the session is open.
    QSML_PROPERTY(std::optional<Date>, endDate, setEndDate)
    /// Keys into PLXDatabaseCollectionHistorySessionItems, in play order; some may name nothing.
    /// Also read from an array. Pinned by GivenArchivesOfAHistorySession.
    QSML_PROPERTY(std::optional<OrderedSet<String>>, itemUUIDs, setItemUUIDs,
                  .form = ArchiveForm::arrayOrOrderedSet)
    QSML_RECORD_END()
};

}  // namespace qsml
