#pragma once
#include "contentpacks/PLXContentPack.h"

namespace qsml {

/// A pack whose files are played from pads.
class QSML_EXPORT PLXSequencerPack : public PLXContentPack {
    QSML_RECORD(PLXSequencerPack, PLXContentPack)
    QSML_RECORD_END()

    static std::shared_ptr<PLXSequencerPack> userContentPack() {
        return madeByUser<PLXSequencerPack>();
    }
    std::shared_ptr<PLXSequencerPack> mergedCopyWithContentPack(const PLXContentPack& other) const {
        return merged(*this, other);
    }
};

}  // namespace qsml
