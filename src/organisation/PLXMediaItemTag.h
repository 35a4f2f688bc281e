#pragma once
#include "core/PLXCloudDatabaseObject.h"

namespace qsml {

/// A short free text that the user attaches to tracks. The tracks' user data declares the edges; a
/// tag that none of it names goes away.
/// Confined to one thread at a time until written; shared by any once frozen.
class QSML_EXPORT PLXMediaItemTag final : public PLXCloudDatabaseObject {
    QSML_RECORD(PLXMediaItemTag, PLXCloudDatabaseObject)

    /// Keyed by the MD5 digest of the text, so that one text is one record on every device; without
    /// a text there is no UUID.
    static std::shared_ptr<PLXMediaItemTag> initWithValue(String value);

    QSML_PROPERTY(String, value, setValue)
    QSML_RECORD_END()
};

}  // namespace qsml
