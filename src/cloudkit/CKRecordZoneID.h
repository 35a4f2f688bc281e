#pragma once
#include <compare>

#include "foundation/String.h"

namespace qsml {

/// The owner placeholder that means "the current user".
inline constexpr std::string_view CKCurrentUserDefaultName = "__defaultOwner__";

/// A zone: its name and its owner. A value.
struct CKRecordZoneID {
    String zoneName;
    String ownerName = CKCurrentUserDefaultName;

    friend bool operator==(const CKRecordZoneID&, const CKRecordZoneID&) = default;
    friend std::strong_ordering operator<=>(const CKRecordZoneID&, const CKRecordZoneID&) = default;
};

}  // namespace qsml
