#pragma once
#include "core/PLXCloudDatabaseObject.h"

namespace qsml {

class PLXDatabaseManager;

/// The key of the queue that always exists once asked for.
inline constexpr std::string_view PLXDefaultQueueUUID = "queue-default";

/// Titles lined up to play next, in order.
/// Confined to one thread at a time until written; shared by any once frozen.
class QSML_EXPORT PLXQueue final : public PLXCloudDatabaseObject {
    QSML_RECORD(PLXQueue, PLXCloudDatabaseObject)

    /// The stored default queue, made without entries and stored where there is none. Null when it
    /// could not be read or stored: the library is not set up, its file failed, or what stands
    /// under the key is damaged or no queue (it is not replaced). Runs synchronous
    /// transactions on the background connection; from any thread, but not from inside a
    /// transaction.
    static std::shared_ptr<const PLXQueue> defaultQueue(PLXDatabaseManager& manager);
    /// That of the shared manager's library.
    static std::shared_ptr<const PLXQueue> defaultQueue();

    /// Keys into PLXDatabaseCollectionQueueItems, in play order; some may name nothing.
    /// Also read from an array. Pinned by GivenArchivesOfAQueue.
    QSML_PROPERTY(std::optional<OrderedSet<String>>, itemUUIDs, setItemUUIDs,
                  .form = ArchiveForm::arrayOrOrderedSet)
    QSML_RECORD_END()
};

}  // namespace qsml
