#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <map>

#include "testing/recordArchives.h"
#include "testing/userData.h"

namespace qsml {
namespace {

using Keys = OrderedSet<String>;
using Record = PLXMediaItemUserData;
using Shared = std::shared_ptr<Record>;

std::shared_ptr<PLXCuePoint> cue(std::int64_t number, float time) {
    return PLXCuePoint::initWithNumber(number, time, nullptr);
}

std::shared_ptr<PLXLoopRegion> loop(std::int64_t number, float startTime) {
    return PLXLoopRegion::initWithNumber(number, startTime, 100, nullptr);
}

class GivenTwoRecordsOfOneTrack : public testing::Test {
protected:
    Shared merged() const { return mine_->mergedCopyWithMediaItemUserData(*theirs_); }
    /// The property of the merged record for two values of mine and theirs.
    Value mergedValue(const char* key, const Value& mine, const Value& theirs) const {
        EXPECT_TRUE(mine_->setValueForKey(key, mine) && theirs_->setValueForKey(key, theirs));
        return merged()->valueForKey(key);
    }
    std::vector<std::pair<std::int64_t, float>> mergedCues() const {
        std::vector<std::pair<std::int64_t, float>> cues;
        const Shared result = merged();
        for (const auto& point : *result->cuePoints())
            cues.emplace_back(point->number(), point->time());
        return cues;
    }

    Shared mine_ = Record::initWithUUID("track");
    Shared theirs_ = Record::initWithUUID("other");
};

TEST_F(GivenTwoRecordsOfOneTrack, WhenMergedThenTheResultIsAMutableCopyOfMine) {
    mine_->makeImmutable();
    theirs_->makeImmutable();
    EXPECT_EQ(merged()->uuid(), "track");
    EXPECT_FALSE(merged()->isImmutable());
    EXPECT_NE(merged(), mine_);
}

TEST_F(GivenTwoRecordsOfOneTrack, WhenMergedThenPlayCountsAdd) {
    mine_->setPlayCount(5);
    theirs_->setPlayCount(7);
    EXPECT_EQ(merged()->playCount(), 12U);
}

TEST_F(GivenTwoRecordsOfOneTrack, WhenIHaveNoObjectThenTheirsIsTaken) {
    const std::pair<const char*, std::pair<Value, Value>> cases[] = {
        {"titleIDs",
         {Value(ValueSet{Value(PLXMediaItemTitleID::initWithUUID("a"))}),
          Value(ValueSet{Value(PLXMediaItemTitleID::initWithUUID("b"))})}},
        {"startPoint", {Value(cue(1, 1)), Value(cue(2, 2))}},
        {"endPoint", {Value(cue(1, 1)), Value(cue(2, 2))}},
        {"automixStartPoint", {Value(cue(1, 1)), Value(cue(2, 2))}},
        {"automixEndPoint", {Value(cue(1, 1)), Value(cue(2, 2))}},
        {"manualFirstDownBeatIndices", {Value(Value::Array{}), Value(Value::Array{2})}},
        {"manualGridStartPoints", {Value(Value::Array{1}), Value(Value::Array{})}},
        {"linkedUserDataUUIDs", {Value(Keys{"a"}), Value(Keys{"b"})}},
    };
    for (const auto& [key, values] : cases) {
        const auto& [mine, theirs] = values;
        EXPECT_EQ(mergedValue(key, {}, theirs), theirs) << key;
        EXPECT_EQ(mergedValue(key, mine, theirs), mine) << key << ": never united";
        EXPECT_EQ(mergedValue(key, mine, {}), mine) << key;
        EXPECT_EQ(mergedValue(key, {}, {}), Value()) << key;
    }
}

TEST_F(GivenTwoRecordsOfOneTrack, WhenMyNumberIsZeroThenTheirsIsTaken) {
    for (const char* key : {"highEQ", "midEQ", "lowEQ", "manualBPM", "manualBeatTime",
                            "manualKeySignatureIndex", "rating"}) {
        EXPECT_EQ(mergedValue(key, 0, 3), Value(3)) << key;
        EXPECT_EQ(mergedValue(key, 0, -3), Value(-3)) << key;
        EXPECT_EQ(mergedValue(key, 2, 3), Value(2)) << key;
        EXPECT_EQ(mergedValue(key, 2, 0), Value(2)) << key;
        EXPECT_EQ(mergedValue(key, 0, 0), Value(0)) << key;
    }
}

TEST_F(GivenTwoRecordsOfOneTrack, WhenANumberIsNaNThenItCountsAsSet) {
    theirs_->setManualBPM(std::nanf(""));
    EXPECT_TRUE(std::isnan(merged()->manualBPM()));
    mine_->setManualBPM(std::nanf(""));
    theirs_->setManualBPM(120);
    EXPECT_TRUE(std::isnan(merged()->manualBPM()));
}

TEST_F(GivenTwoRecordsOfOneTrack, WhenOneHasNoEnergyThenNeitherHasTheMerged) {
    EXPECT_EQ(mergedValue("energy", 4, 0), Value(0));
    EXPECT_EQ(mergedValue("energy", 0, 4), Value(0));
    EXPECT_EQ(mergedValue("energy", 4, 3), Value(4));
    EXPECT_EQ(mergedValue("rating", 0, 3), Value(3)) << "unlike the rating";
}

TEST_F(GivenTwoRecordsOfOneTrack, WhenBothHaveCuesThenMineWinAndNumbersAscend) {
    mine_->setCuePoints(CuePoints{cue(3, 30), cue(1, 10)});
    theirs_->setCuePoints(CuePoints{cue(2, 2), cue(1, 1)});
    const std::vector<std::pair<std::int64_t, float>> expected = {{1, 10}, {2, 2}, {3, 30}};
    EXPECT_EQ(mergedCues(), expected);
}

TEST_F(GivenTwoRecordsOfOneTrack, WhenNumbersRepeatThenMyLastAndTheirFirstCount) {
    mine_->setCuePoints(CuePoints{cue(1, 1), cue(1, 2)});
    theirs_->setCuePoints(CuePoints{cue(-2, 3), cue(1, 4), cue(-2, 5)});
    const std::vector<std::pair<std::int64_t, float>> expected = {{-2, 3}, {1, 2}};
    EXPECT_EQ(mergedCues(), expected);
}

TEST_F(GivenTwoRecordsOfOneTrack, WhenBothHaveLoopsThenTheyMergeAsCuesDo) {
    mine_->setLoopRegions(LoopRegions{loop(3, 1), loop(1, 2), loop(1, 3)});
    theirs_->setLoopRegions(LoopRegions{loop(2, 4), loop(1, 5), loop(2, 6)});
    std::vector<std::pair<std::int64_t, float>> loops;
    const Shared result = merged();
    for (const auto& region : *result->loopRegions())
        loops.emplace_back(region->number(), region->startTime());
    const std::vector<std::pair<std::int64_t, float>> expected = {{1, 3}, {2, 4}, {3, 1}};
    EXPECT_EQ(loops, expected);
}

TEST_F(GivenTwoRecordsOfOneTrack, WhenNeitherHasCuesThenNilAndEmptyStayAsTheyAreMine) {
    const Value none, empty{Value::Array{}};
    for (const char* key : {"cuePoints", "loopRegions"}) {
        EXPECT_EQ(mergedValue(key, none, none), none);
        EXPECT_EQ(mergedValue(key, none, empty), none);
        EXPECT_EQ(mergedValue(key, empty, none), empty);
        EXPECT_FALSE(merged()->changedProperties()->contains(key));
    }
}

TEST_F(GivenTwoRecordsOfOneTrack, WhenBothHaveTagsThenTheyUnite) {
    const auto tags = [](std::initializer_list<const char*> names) {
        return Value(ValueSet(std::vector<Value>(names.begin(), names.end())));
    };
    EXPECT_EQ(mergedValue("tagUUIDs", tags({"a", "b"}), tags({"b", "c"})), tags({"a", "b", "c"}));
    EXPECT_EQ(mergedValue("tagUUIDs", {}, tags({"b"})), tags({"b"}));
    EXPECT_EQ(mergedValue("tagUUIDs", tags({"a"}), {}), tags({"a"}));
    EXPECT_EQ(mergedValue("tagUUIDs", tags({}), tags({"b"})), tags({"b"}));
    EXPECT_EQ(mergedValue("tagUUIDs", {}, {}), Value());
}

TEST_F(GivenTwoRecordsOfOneTrack, WhenMergedThenTheSyncLearnsWhatWasTaken) {
    mine_->setRating(2);
    mine_->clearChangedProperties();
    mine_->makeImmutable();
    theirs_->setRating(3);
    theirs_->setLowEQ(0.5F);
    theirs_->setStartPoint(cue(1, 1));
    EXPECT_EQ(merged()->changedProperties(), (KeySet{"lowEQ", "playCount", "startPoint"}));
    const Keys keys = merged()->userChangedCloudKeys();
    EXPECT_TRUE(keys.contains("startPoint") && keys.contains("lowEQ") && keys.contains("rating"));
}

const KeySet& names() { return Record::classObject().monitoredProperties(); }

RC_GTEST_PROP(UserDataMerge, LeavesBothInputsAsTheyWere, ()) {
    const auto mine = anyUserData(), theirs = anyUserData();
    const auto before = std::pair(archiveOf(*mine), archiveOf(*theirs));
    (void)mine->mergedCopyWithMediaItemUserData(*theirs);
    RC_ASSERT(before == std::pair(archiveOf(*mine), archiveOf(*theirs)));
}

RC_GTEST_PROP(UserDataMerge, IsTheSameForCopiesAndForFrozenRecords, ()) {
    const auto mine = anyUserData(), theirs = anyUserData();
    const auto merged = mine->mergedCopyWithMediaItemUserData(*theirs);
    const auto ofCopies = mine->copy()->mergedCopyWithMediaItemUserData(*theirs->copy());
    RC_ASSERT(archiveOf(*ofCopies) == archiveOf(*merged));
    const auto read = recordFrom<Record>(archiveOf(*mine));
    read->makeImmutable();
    theirs->makeImmutable();
    const auto ofFrozen = read->mergedCopyWithMediaItemUserData(*theirs);
    for (const String& name : names())
        RC_ASSERT(ofFrozen->valueForKey(name) == merged->valueForKey(name));
}

RC_GTEST_PROP(UserDataMerge, SharesNothingWithItsInputs, ()) {
    const auto mine = anyUserData(), theirs = anyUserData();
    const auto merged = mine->mergedCopyWithMediaItemUserData(*theirs);
    for (const auto& input : {mine, theirs}) {
        RC_ASSERT(!merged->startPoint() || merged->startPoint() != input->startPoint());
        if (!merged->cuePoints() || !input->cuePoints()) continue;
        for (const auto& point : *input->cuePoints())
            RC_ASSERT(std::count(merged->cuePoints()->begin(), merged->cuePoints()->end(), point) ==
                      0);
    }
}

RC_GTEST_PROP(UserDataMerge, HoldsOneCueANumberAscendingAndMineWhereIHaveOne, ()) {
    const auto mine = anyUserData(), theirs = anyUserData();
    const auto merged = mine->mergedCopyWithMediaItemUserData(*theirs);
    std::map<std::int64_t, const PLXCuePoint*> expected;
    for (const auto& point : mine->cuePoints().value_or(decltype(*mine->cuePoints()){}))
        expected[point->number()] = point.get();
    for (const auto& point : theirs->cuePoints().value_or(decltype(*mine->cuePoints()){}))
        expected.try_emplace(point->number(), point.get());
    if (expected.empty()) {
        RC_ASSERT(merged->valueForKey("cuePoints") == mine->valueForKey("cuePoints"));
        return;
    }
    RC_ASSERT(merged->cuePoints()->size() == expected.size());
    auto next = merged->cuePoints()->begin();
    for (const auto& [number, point] : expected) RC_ASSERT((*next++)->isEqualToCuePoint(point));
}

RC_GTEST_PROP(UserDataMerge, ChangesNothingButThePlayCountTheSecondTime, ()) {
    const auto mine = anyUserData(), theirs = anyUserData();
    const auto once = mine->mergedCopyWithMediaItemUserData(*theirs);
    const auto twice = once->mergedCopyWithMediaItemUserData(*theirs);
    RC_ASSERT(twice->playCount() == mine->playCount() + 2 * theirs->playCount());
    twice->setPlayCount(once->playCount());
    RC_ASSERT(archiveOf(*twice) == archiveOf(*once));
}

RC_GTEST_PROP(UserDataMerge, KeepsWhatIHaveAndUnitesTags, ()) {
    const auto mine = anyUserData(), theirs = anyUserData();
    const auto merged = mine->mergedCopyWithMediaItemUserData(*theirs);
    for (const String& name : names()) {
        const Value value = mine->valueForKey(name);
        if (name == "playCount" || name == "energy" || name == "tagUUIDs") continue;
        if (name == "cuePoints" || name == "loopRegions") continue;
        const bool isSet = value.isNumber() ? value != Value(0) : !value.isNil();
        RC_ASSERT(merged->valueForKey(name) == (isSet ? value : theirs->valueForKey(name)));
    }
    const Keys none, tags = merged->tagUUIDs().value_or(none);
    const Keys myTags = mine->tagUUIDs().value_or(none), their = theirs->tagUUIDs().value_or(none);
    for (const char* tag : {"a", "b", "c", "d"})
        RC_ASSERT(tags.contains(tag) == (myTags.contains(tag) || their.contains(tag)));
}

RC_GTEST_PROP(UserDataMerge, RecordsEveryPropertyThatItChanges, ()) {
    const auto mine = anyUserData(), theirs = anyUserData();
    mine->clearChangedProperties();
    const auto merged = mine->mergedCopyWithMediaItemUserData(*theirs);
    const auto changed = *merged->changedProperties();
    for (const String& name : names())
        RC_ASSERT(changed.contains(name) || merged->valueForKey(name) == mine->valueForKey(name));
}

}  // namespace
}  // namespace qsml
