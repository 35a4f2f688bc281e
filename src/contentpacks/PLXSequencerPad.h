#pragma once
#include "core/ValueObject.h"

namespace qsml {

/// One pad of a sampler deck or a looper track: the file that it plays and how. Threads as for
/// ValueObject.
class QSML_EXPORT PLXSequencerPad final : public ValueObject {
    QSML_VALUE_OBJECT(PLXSequencerPad)

    /// The numbers are 0.
    static std::shared_ptr<PLXSequencerPad> initWithMediaItemUUID(String mediaItemUUID);

    /// Of the PLXContentPackMediaItem that the pad plays; nil: an empty pad.
    QSML_PROPERTY(String, mediaItemUUID, setMediaItemUUID)
    /// The caller's enumerations, stored as given.
    QSML_PROPERTY(std::int64_t, triggerMode, setTriggerMode)
    QSML_PROPERTY(float, quantization, setQuantization)
    /// The level, and the position between left and right, in the caller's units.
    QSML_PROPERTY(float, gain, setGain)
    QSML_PROPERTY(float, pan, setPan)
    QSML_RECORD_END()

    /// By all properties; false for null.
    bool isEqualToSequencerPad(const PLXSequencerPad* other) const;
};

}  // namespace qsml
