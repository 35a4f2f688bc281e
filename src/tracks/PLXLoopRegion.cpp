#include "tracks/PLXLoopRegion.h"

#include "foundation/JSON.h"
#include "foundation/text.h"
#include "tracks/detail/jsonNumbers.h"

namespace qsml {

QSML_DEFINE_VALUE_OBJECT(PLXLoopRegion)

std::shared_ptr<PLXLoopRegion> PLXLoopRegion::initWithNumber(std::int64_t number, float startTime,
                                                             float endTime, String comment) {
    auto made = init();
    made->setNumber(number);
    made->setStartTime(startTime);
    made->setEndTime(endTime);
    made->setComment(std::move(comment));
    return made;
}

std::shared_ptr<PLXLoopRegion> PLXLoopRegion::initWithJSONObject(const Dictionary& json) {
    if (!detail::holdsNumbers(json, {"startTime", "endTime", "number"})) return nullptr;
    return initWithNumber(integerOfJSONEntry(json["number"]), floatOfJSONEntry(json["startTime"]),
                          floatOfJSONEntry(json["endTime"]), chuzzle(json["comment"].string()));
}

bool PLXLoopRegion::isEqualToLoopRegion(const PLXLoopRegion* other) const {
    return other && isEqual(*other);
}

Dictionary PLXLoopRegion::JSONObjectRepresentation() const {
    Dictionary json{{"startTime", startTime()}, {"endTime", endTime()}, {"number", number()}};
    json.set("comment", comment());
    return json;
}

}  // namespace qsml
