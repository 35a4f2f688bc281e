#pragma once
#include "core/PLXMediaEntity.h"

namespace qsml {

/// An artist of tracks or albums.
class QSML_EXPORT PLXMediaArtist final : public PLXMediaEntity {
    QSML_RECORD(PLXMediaArtist, PLXMediaEntity)

    /// Null for a nil name.
    static std::shared_ptr<PLXMediaArtist> initWithName(const String& name);

    QSML_RECORD_END()
};

}  // namespace qsml
