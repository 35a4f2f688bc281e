#pragma once
#include "core/PLXMediaEntity.h"

namespace qsml {

/// An album.
class QSML_EXPORT PLXMediaAlbum final : public PLXMediaEntity {
    QSML_RECORD(PLXMediaAlbum, PLXMediaEntity)

    /// Null for a nil name.
    static std::shared_ptr<PLXMediaAlbum> initWithName(const String& name);

    QSML_RECORD_END()
};

}  // namespace qsml
