#pragma once
#include "contentpacks/PLXSequencerPads.h"

namespace qsml {

/// One track of a looper pack: its loops, of which one plays at a time. Threads as for ValueObject.
class QSML_EXPORT PLXLooperTrack final : public ValueObject {
    QSML_VALUE_OBJECT(PLXLooperTrack)

    QSML_PROPERTY(String, category, setCategory)
    QSML_PROPERTY(PLXSequencerPads, pads, setPads)
    QSML_RECORD_END()

    /// By all properties, and those of the pads; false for null.
    bool isEqualToLooperTrack(const PLXLooperTrack* other) const;

    /// Older archives hold no pads but the UUIDs of what they play, as "sampleUUIDs".
    bool initWithCoder(KeyedUnarchiver& coder) override;
};

}  // namespace qsml
