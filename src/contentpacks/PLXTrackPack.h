#pragma once
#include "contentpacks/PLXContentPack.h"

namespace qsml {

/// A pack of whole tracks.
class QSML_EXPORT PLXTrackPack final : public PLXContentPack {
    QSML_RECORD(PLXTrackPack, PLXContentPack)
    QSML_RECORD_END()

    static std::shared_ptr<PLXTrackPack> userContentPack() { return madeByUser<PLXTrackPack>(); }
    std::shared_ptr<PLXTrackPack> mergedCopyWithContentPack(const PLXContentPack& other) const {
        return merged(*this, other);
    }
};

}  // namespace qsml
