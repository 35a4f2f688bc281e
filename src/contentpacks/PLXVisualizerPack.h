#pragma once
#include "contentpacks/PLXContentPack.h"

namespace qsml {

/// A pack of videos.
class QSML_EXPORT PLXVisualizerPack final : public PLXContentPack {
    QSML_RECORD(PLXVisualizerPack, PLXContentPack)
    QSML_RECORD_END()

    static std::shared_ptr<PLXVisualizerPack> userContentPack() {
        return madeByUser<PLXVisualizerPack>();
    }
    std::shared_ptr<PLXVisualizerPack> mergedCopyWithContentPack(
        const PLXContentPack& other) const {
        return merged(*this, other);
    }
};

}  // namespace qsml
