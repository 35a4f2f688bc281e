#pragma once
#include "core/PLXMediaEntity.h"

namespace qsml {

/// A record label.
class QSML_EXPORT PLXMediaLabel final : public PLXMediaEntity {
    QSML_RECORD(PLXMediaLabel, PLXMediaEntity)

    /// Null for a nil name.
    static std::shared_ptr<PLXMediaLabel> initWithName(const String& name);

    QSML_RECORD_END()
};

}  // namespace qsml
