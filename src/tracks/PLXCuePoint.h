#pragma once
#include "core/ValueObject.h"

namespace qsml {

/// A marked position in a track. Confined to one thread at a time while it is changed; what a
/// record holds is its own copy, which any thread may read.
class QSML_EXPORT PLXCuePoint final : public ValueObject {
    QSML_VALUE_OBJECT(PLXCuePoint)

    static std::shared_ptr<PLXCuePoint> initWithNumber(std::int64_t number, float time,
                                                       String comment);
    /// Null unless "number" and "time" are there, each as a number or as the text of one.
    static std::shared_ptr<PLXCuePoint> initWithJSONObject(const Dictionary& json);

    /// The slot; the cue's identity within the list of its track.
    QSML_PROPERTY(std::int64_t, number, setNumber)
    /// In the player's unit, stored as given.
    QSML_PROPERTY(float, time, setTime)
    /// The user's label.
    QSML_PROPERTY(String, comment, setComment)
    QSML_RECORD_END()

    /// Equal in every property, the time exactly; null is never equal.
    bool isEqualToCuePoint(const PLXCuePoint* other) const;
    Dictionary JSONObjectRepresentation() const;
};

}  // namespace qsml
