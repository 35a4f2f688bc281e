#include "contentpacks/PLXLooperTrack.h"

namespace qsml {

QSML_DEFINE_VALUE_OBJECT(PLXLooperTrack)

bool PLXLooperTrack::isEqualToLooperTrack(const PLXLooperTrack* other) const {
    return other && isEqual(*other);
}

bool PLXLooperTrack::initWithCoder(KeyedUnarchiver& coder) {
    if (!ValueObject::initWithCoder(coder)) return false;
    if (!pads()) setPads(PLXSequencerPads::ofMediaItemUUIDs(coder.decodeValue("sampleUUIDs")));
    return true;
}

}  // namespace qsml
