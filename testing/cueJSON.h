#pragma once
#include "tracks/PLXMediaItemUserData.h"

namespace qsml {

/// Takes any text as the cloud value of a point, a cue, a loop and a title ID. What was read is
/// sent, and read once more elsewhere: whether both records then hold the same.
inline bool survivesCueJSON(std::string_view text) {
    const auto first = PLXMediaItemUserData::initWithUUID("track");
    const auto second = PLXMediaItemUserData::initWithUUID("track");
    for (const char* key : {"startPoint", "cuePoints", "loopRegions", "titleIDs"}) {
        const bool isPoint = std::string_view(key) == "startPoint";
        const Value sent = isPoint ? Value(text) : Value(Value::Array{Value(text), Value(text)});
        if (!first->setLocalValueFromCloudValue(sent, key)) return false;
        const Value passedOn = first->cloudValueForCloudKey(key);
        if (!second->setLocalValueFromCloudValue(passedOn, key)) return false;
        if (second->valueForKey(key) != first->valueForKey(key)) return false;
        if (second->cloudValueForCloudKey(key) != passedOn) return false;
    }
    return true;
}

}  // namespace qsml
