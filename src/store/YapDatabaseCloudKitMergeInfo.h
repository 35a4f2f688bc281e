#pragma once
#include "cloudkit/CKRecord.h"
#include "foundation/Dictionary.h"

namespace qsml {

/// What the store's cloud extension and the merge tell each other about one fetched record.
struct YapDatabaseCloudKitMergeInfo {
    /// All queued changes of the record; its changed keys are the pending ones. Null without any.
    std::shared_ptr<const CKRecord> pendingLocalRecord;
    /// Per pending key the value before its first change that was not acknowledged.
    Dictionary originalValues;
    /// The remote system fields without values; what the merge puts in is sent instead of what is
    /// queued.
    std::shared_ptr<CKRecord> updatedPendingLocalRecord;
};

}  // namespace qsml
