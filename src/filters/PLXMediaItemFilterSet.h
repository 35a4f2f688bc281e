#pragma once
#include "core/PLXCloudDatabaseObject.h"
#include "filters/PLXMediaItemFilter.h"

namespace qsml {

/// Rules under one name, as a record of its own or inside a playlist. How the enabled ones combine
/// is for those who evaluate them, who say so to predicateForFilterSet(). Confined to one thread at
/// a time until written; shared by any once frozen.
class QSML_EXPORT PLXMediaItemFilterSet final : public PLXCloudDatabaseObject {
    QSML_RECORD(PLXMediaItemFilterSet, PLXCloudDatabaseObject)

    QSML_PROPERTY(String, name, setName)
    /// In the order that the user gave them. Copies of their own: to change a rule, copy it, change
    /// the copy and set the array that holds it. Elements of an archive that are no rules known
    /// here are left out, and are lost when the set is stored again, also by the library itself.
    QSML_PROPERTY(CopiedArray<PLXMediaItemFilter>, filters, setFilters)
    QSML_RECORD_END()

    /// Whether the other is equal as a record (the same UUID) and has an equal name and equal rules
    /// in the same order. Nil equals nil alone.
    bool isEqualToFilterSet(const PLXMediaItemFilterSet* other) const;
    bool isEqual(const Object& other) const override;
};

}  // namespace qsml
