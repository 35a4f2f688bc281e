#include "contentpacks/PLXSequencerPad.h"

namespace qsml {

QSML_DEFINE_VALUE_OBJECT(PLXSequencerPad)

std::shared_ptr<PLXSequencerPad> PLXSequencerPad::initWithMediaItemUUID(String mediaItemUUID) {
    auto pad = init();
    pad->setMediaItemUUID(std::move(mediaItemUUID));
    return pad;
}

bool PLXSequencerPad::isEqualToSequencerPad(const PLXSequencerPad* other) const {
    return other && isEqual(*other);
}

}  // namespace qsml
