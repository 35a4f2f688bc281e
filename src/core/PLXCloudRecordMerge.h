#pragma once
#include <functional>

#include "core/PLXCloudDatabaseObject.h"
#include "store/YapDatabaseCloudKitMergeInfo.h"

namespace qsml {

/// The record class of a cloud record type; null for a type that does not sync.
using PLXRecordClassForCloudType = std::function<const RecordClass*(const String& recordType)>;

/// Merges a fetched cloud record into a copy of the stored record, key by key, and answers the copy
/// to store in its place; null when there is nothing to store (an unknown type, no stored record,
/// or one of another class).
///
/// A key that only one side changed takes that side's value, an absent value included; one that
/// both changed takes the remote value. Local changes that stand are put into the updated pending
/// record, to be sent again. The keys that the user has changed are united and only ever grow.
/// Neither the stored record nor the remote and pending ones are changed.
QSML_EXPORT std::shared_ptr<PLXCloudDatabaseObject> PLXCloudRecordMerge(
    const std::shared_ptr<const PLXCloudDatabaseObject>& stored, const CKRecord& remote,
    YapDatabaseCloudKitMergeInfo& mergeInfo, const PLXRecordClassForCloudType& recordClassForType);

}  // namespace qsml
