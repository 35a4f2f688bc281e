#pragma once
#include "core/PLXMediaEntity.h"

namespace qsml {

/// A genre.
class QSML_EXPORT PLXMediaGenre final : public PLXMediaEntity {
    QSML_RECORD(PLXMediaGenre, PLXMediaEntity)

    /// Null for a nil name.
    static std::shared_ptr<PLXMediaGenre> initWithName(const String& name);

    QSML_RECORD_END()
};

}  // namespace qsml
