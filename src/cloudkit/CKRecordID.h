#pragma once
#include "cloudkit/CKRecordZoneID.h"

namespace qsml {

/// Whether a name may be given to a record or zone of ours: ASCII, 1 to 255 characters, no
/// underscore in front. The server's own names (user records) do not follow this.
QSML_EXPORT bool isValidCloudName(std::string_view name) noexcept;

/// The identity of a record in a database: its name within its zone. A value.
struct CKRecordID {
    String recordName;
    CKRecordZoneID zoneID;

    friend bool operator==(const CKRecordID&, const CKRecordID&) = default;
    friend std::strong_ordering operator<=>(const CKRecordID&, const CKRecordID&) = default;
};

}  // namespace qsml
