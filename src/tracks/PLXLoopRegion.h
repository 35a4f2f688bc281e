#pragma once
#include "core/ValueObject.h"

namespace qsml {

/// A saved loop of a track. Confined to one thread at a time while it is changed; what a record
/// holds is its own copy, which any thread may read.
class QSML_EXPORT PLXLoopRegion final : public ValueObject {
    QSML_VALUE_OBJECT(PLXLoopRegion)

    static std::shared_ptr<PLXLoopRegion> initWithNumber(std::int64_t number, float startTime,
                                                         float endTime, String comment);
    /// Null unless "number", "startTime" and "endTime" are there, each as a number or as the text
    /// of one.
    static std::shared_ptr<PLXLoopRegion> initWithJSONObject(const Dictionary& json);

    /// The slot; the loop's identity within the list of its track.
    QSML_PROPERTY(std::int64_t, number, setNumber)
    /// Both times are in the player's unit, stored as given.
    QSML_PROPERTY(float, startTime, setStartTime)
    QSML_PROPERTY(float, endTime, setEndTime)
    /// The user's label.
    QSML_PROPERTY(String, comment, setComment)
    QSML_RECORD_END()

    /// Equal in every property, the times exactly; null is never equal.
    bool isEqualToLoopRegion(const PLXLoopRegion* other) const;
    Dictionary JSONObjectRepresentation() const;
};

}  // namespace qsml
