#pragma once
#include "cloudkit/CKRecord.h"
#include "core/PLXCloudDatabaseObject.h"
#include "store/YapDatabaseCloudKitRecordInfo.h"

namespace qsml {

/// The zone that holds the library's records.
inline constexpr std::string_view PLXMediaLibraryZoneName = "medialibrary";

/// Turns a written record into its cloud record: `cloudRecord` is the one that exists, or null, and
/// is given the values to send; left as it is when there is nothing to send. A new one gets every
/// cloud key, an existing one the changed keys, and either just the keys to restore where there are
/// any.
///
/// A value that the cloud cannot hold is logged and left out; so is a record whose name it cannot
/// hold. Call it with the record to itself or frozen.
QSML_EXPORT void PLXCloudRecordHandler(std::shared_ptr<CKRecord>& cloudRecord,
                                       YapDatabaseCloudKitRecordInfo& recordInfo,
                                       const PLXCloudDatabaseObject& object,
                                       const String& containerIdentifier);

}  // namespace qsml
