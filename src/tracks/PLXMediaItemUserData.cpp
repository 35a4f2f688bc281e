#include "tracks/PLXMediaItemUserData.h"

#include <algorithm>

#include "database/collectionNames.h"

namespace qsml {
namespace {

template <class T>
std::shared_ptr<const T> firstWithNumber(
    const std::optional<std::vector<std::shared_ptr<const T>>>& list, std::int64_t number) {
    if (!list) return nullptr;
    const auto found = std::find_if(list->begin(), list->end(), [&](const auto& element) {
        return element->number() == number;
    });
    return found == list->end() ? nullptr : *found;
}

template <class List>
bool holdsAny(const std::optional<List>& list) {
    return list && !list->empty();
}

bool holdsObject(const Value& value) {
    const auto& elements = value.elements();
    const auto& pairs = value.dictionary();
    return value.kind() == Value::Kind::object ||
           std::any_of(elements.begin(), elements.end(), holdsObject) ||
           std::any_of(pairs.begin(), pairs.end(), [](const auto& pair) {
               return holdsObject(pair.first) || holdsObject(pair.second);
           });
}

// A damaged archive can name the record itself, which would then never be freed.
void leaveOutObjects(std::optional<Value::Array>& numbers) {
    if (numbers) std::erase_if(*numbers, holdsObject);
}

}  // namespace

QSML_DEFINE_RECORD(PLXMediaItemUserData, .storesOriginalCloudValues = true,
                   .trackUserChangedCloudKeys = true,
                   .keysKeptLocal = {"tagUUIDs", "linkedUserDataUUIDs", "manualBPM",
                                     "manualBeatTime", "manualKeySignatureIndex",
                                     "manualFirstDownBeatIndices", "manualGridStartPoints"})

std::shared_ptr<PLXMediaItemUserData> PLXMediaItemUserData::initWithTitleID(
    const std::shared_ptr<const PLXMediaItemTitleID>& titleID) {
    auto made = initWithUUID(titleID ? titleID->internalID() : String());
    if (titleID) made->setTitleIDs(std::vector{titleID});
    return made;
}

std::shared_ptr<PLXMediaItemUserData> PLXMediaItemUserData::initWithTitleID(
    const std::shared_ptr<PLXMediaItemTitleID>& titleID) {
    if (titleID) (void)titleID->internalID();
    return initWithTitleID(std::shared_ptr<const PLXMediaItemTitleID>(titleID));
}

std::shared_ptr<const PLXCuePoint> PLXMediaItemUserData::cuePointWithNumber(
    std::int64_t number) const {
    return firstWithNumber(cuePoints(), number);
}

std::shared_ptr<const PLXLoopRegion> PLXMediaItemUserData::loopRegionWithNumber(
    std::int64_t number) const {
    return firstWithNumber(loopRegions(), number);
}

// On purpose the low band stands where the high band would be expected.
bool PLXMediaItemUserData::hasDeckMetadata() const {
    return startPoint() || endPoint() || automixEndPoint() || automixStartPoint() ||
           holdsAny(cuePoints()) || holdsAny(loopRegions()) || lowEQ() != 0 || midEQ() != 0 ||
           manualBPM() != 0 || manualBeatTime() != 0 || manualKeySignatureIndex() != 0 ||
           holdsAny(manualFirstDownBeatIndices()) || holdsAny(manualGridStartPoints());
}

std::vector<YapDatabaseRelationshipEdge> PLXMediaItemUserData::yapDatabaseRelationshipEdges()
    const {
    std::vector<YapDatabaseRelationshipEdge> edges;
    if (!tagUUIDs()) return edges;
    for (const String& tagUUID : *tagUUIDs())
        if (tagUUID)
            edges.push_back({PLXMediaItemUserDataTagRelationshipEdgeName, tagUUID,
                             PLXDatabaseCollectionMediaItemTags,
                             YDB_DeleteDestinationIfAllSourcesDeleted});
    return edges;
}

bool PLXMediaItemUserData::initWithCoder(KeyedUnarchiver& coder) {
    if (!PLXCloudDatabaseObject::initWithCoder(coder)) return false;
    leaveOutObjects(manualFirstDownBeatIndices_);
    leaveOutObjects(manualGridStartPoints_);
    return true;
}

}  // namespace qsml
