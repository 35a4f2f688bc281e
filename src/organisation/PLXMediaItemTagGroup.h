#pragma once
#include "core/PLXCloudDatabaseObject.h"

namespace qsml {

/// Tag texts under a heading, to choose from. It holds texts and not tags, so it stays as it is
/// whatever tags come and go.
/// Confined to one thread at a time until written; shared by any once frozen.
class QSML_EXPORT PLXMediaItemTagGroup final : public PLXCloudDatabaseObject {
    QSML_RECORD(PLXMediaItemTagGroup, PLXCloudDatabaseObject)

    QSML_PROPERTY(String, name, setName)
    /// In no order of meaning.
    QSML_PROPERTY(std::optional<OrderedSet<String>>, tags, setTags, .form = ArchiveForm::set)
    QSML_RECORD_END()
};

}  // namespace qsml
