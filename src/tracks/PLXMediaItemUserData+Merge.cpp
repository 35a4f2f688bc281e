#include <map>

#include "tracks/PLXMediaItemUserData.h"

namespace qsml {
namespace {

using Record = PLXMediaItemUserData;

template <class Getter, class Setter>
void takeIfNil(Record& merged, const Record& other, Getter get, Setter set) {
    if (!(merged.*get)() && (other.*get)()) (merged.*set)((other.*get)());
}

template <class Getter, class Setter>
void takeIfZero(Record& merged, const Record& other, Getter get, Setter set) {
    if ((merged.*get)() == 0 && (other.*get)() != 0) (merged.*set)((other.*get)());
}

template <class T>
using List = std::optional<std::vector<std::shared_ptr<const T>>>;

/// One a number, ascending: of mine the last, and where I have none of theirs the first.
template <class T>
std::vector<std::shared_ptr<const T>> mergedByNumber(const List<T>& mine, const List<T>& theirs) {
    std::map<std::int64_t, std::shared_ptr<const T>> table;
    if (mine)
        for (const auto& element : *mine) table.insert_or_assign(element->number(), element);
    if (theirs)
        for (const auto& element : *theirs) table.emplace(element->number(), element);
    std::vector<std::shared_ptr<const T>> merged;
    merged.reserve(table.size());
    for (auto& [number, element] : table) merged.push_back(std::move(element));
    return merged;
}

void mergePoints(Record& merged, const Record& other) {
    takeIfNil(merged, other, &Record::titleIDs, &Record::setTitleIDs);
    takeIfNil(merged, other, &Record::startPoint, &Record::setStartPoint);
    takeIfNil(merged, other, &Record::endPoint, &Record::setEndPoint);
    takeIfNil(merged, other, &Record::automixStartPoint, &Record::setAutomixStartPoint);
    takeIfNil(merged, other, &Record::automixEndPoint, &Record::setAutomixEndPoint);
    if (auto cues = mergedByNumber(merged.cuePoints(), other.cuePoints()); !cues.empty())
        merged.setCuePoints(cues);
    if (auto loops = mergedByNumber(merged.loopRegions(), other.loopRegions()); !loops.empty())
        merged.setLoopRegions(loops);
}

void mergeSettings(Record& merged, const Record& other) {
    takeIfZero(merged, other, &Record::highEQ, &Record::setHighEQ);
    takeIfZero(merged, other, &Record::midEQ, &Record::setMidEQ);
    takeIfZero(merged, other, &Record::lowEQ, &Record::setLowEQ);
    takeIfZero(merged, other, &Record::manualBPM, &Record::setManualBPM);
    takeIfZero(merged, other, &Record::manualBeatTime, &Record::setManualBeatTime);
    takeIfNil(merged, other, &Record::manualFirstDownBeatIndices,
              &Record::setManualFirstDownBeatIndices);
    takeIfNil(merged, other, &Record::manualGridStartPoints, &Record::setManualGridStartPoints);
    takeIfZero(merged, other, &Record::manualKeySignatureIndex,
               &Record::setManualKeySignatureIndex);
    takeIfZero(merged, other, &Record::rating, &Record::setRating);
    // On purpose the other way round than the rating. Pinned by
    // GivenTwoRecordsOfOneTrack.WhenOneHasNoEnergyThenNeitherHasTheMerged.
    if (merged.energy() != 0 && other.energy() == 0) merged.setEnergy(0);
}

void mergeTags(Record& merged, const Record& other) {
    if (merged.tagUUIDs() && other.tagUUIDs()) {
        std::vector<String> united = merged.tagUUIDs()->elements();
        united.insert(united.end(), other.tagUUIDs()->begin(), other.tagUUIDs()->end());
        merged.setTagUUIDs(OrderedSet<String>(std::move(united)));
    }
    takeIfNil(merged, other, &Record::tagUUIDs, &Record::setTagUUIDs);
    takeIfNil(merged, other, &Record::linkedUserDataUUIDs, &Record::setLinkedUserDataUUIDs);
}

}  // namespace

// Through the setters, so that the sync learns what the merge has changed.
std::shared_ptr<PLXMediaItemUserData> PLXMediaItemUserData::mergedCopyWithMediaItemUserData(
    const PLXMediaItemUserData& other) const {
    auto merged = copy();
    mergePoints(*merged, other);
    mergeSettings(*merged, other);
    mergeTags(*merged, other);
    merged->setPlayCount(playCount() + other.playCount());
    return merged;
}

}  // namespace qsml
