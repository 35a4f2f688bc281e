#include "tracks/PLXCuePoint.h"

#include "foundation/JSON.h"
#include "foundation/text.h"
#include "tracks/detail/jsonNumbers.h"

namespace qsml {

QSML_DEFINE_VALUE_OBJECT(PLXCuePoint)

std::shared_ptr<PLXCuePoint> PLXCuePoint::initWithNumber(std::int64_t number, float time,
                                                         String comment) {
    auto made = init();
    made->setNumber(number);
    made->setTime(time);
    made->setComment(std::move(comment));
    return made;
}

std::shared_ptr<PLXCuePoint> PLXCuePoint::initWithJSONObject(const Dictionary& json) {
    if (!detail::holdsNumbers(json, {"time", "number"})) return nullptr;
    return initWithNumber(integerOfJSONEntry(json["number"]), floatOfJSONEntry(json["time"]),
                          chuzzle(json["comment"].string()));
}

bool PLXCuePoint::isEqualToCuePoint(const PLXCuePoint* other) const {
    return other && isEqual(*other);
}

Dictionary PLXCuePoint::JSONObjectRepresentation() const {
    Dictionary json{{"time", time()}, {"number", number()}};
    json.set("comment", comment());
    return json;
}

}  // namespace qsml
