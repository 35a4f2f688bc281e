#include "tracks/PLXMediaItemUserData.h"

#include <gtest/gtest.h>

#include "testing/ArchiveBuilder.h"
#include "testing/recordTable.h"
#include "testing/userData.h"
#include "tracks/registerTrackClasses.h"

namespace qsml {
namespace {

using Keys = OrderedSet<String>;
using Record = PLXMediaItemUserData;

const std::vector<RecordRow> table = {
    {"titleIDs", Takes::set},
    {"startPoint", Takes::object},
    {"endPoint", Takes::object},
    {"automixStartPoint", Takes::object},
    {"automixEndPoint", Takes::object},
    {"cuePoints", Takes::array},
    {"loopRegions", Takes::array},
    {"highEQ", Takes::real, 0.0F},
    {"midEQ", Takes::real, 0.0F},
    {"lowEQ", Takes::real, 0.0F},
    {"manualBPM", Takes::real, 0.0F},
    {"manualBeatTime", Takes::real, 0.0F},
    {"manualKeySignatureIndex", Takes::whole, 0},
    {"manualFirstDownBeatIndices", Takes::array},
    {"manualGridStartPoints", Takes::array},
    {"rating", Takes::whole, 0},
    {"energy", Takes::whole, 0},
    {"playCount", Takes::boxedNumber, 0},
    {"tagUUIDs", Takes::set},
    {"linkedUserDataUUIDs", Takes::orderedSet},
};

Value foreignCue(std::int64_t number) {
    return Value(Dictionary{{"$class", "PLXCuePoint"}, {"number", number}, {"time", 1.5}});
}

TEST(GivenUserData, WhenHeldAgainstItsTableThenKeysDefaultsAndChecksAreThose) {
    registerTrackClasses();
    expectTable<Record>(table, *filledUserData());
    expectTable<Record>(table, *Record::init());
}

TEST(GivenUserData, WhenItsPropertiesAreAskedThenThoseOfTheTableAreMonitored) {
    KeySet names;
    for (const RecordRow& row : table) names.insert(row.name);
    EXPECT_EQ(Record::classObject().monitoredProperties(), names);
    EXPECT_EQ(Record::classObject().cloudType(), "MediaItemUserData");
    EXPECT_TRUE(Record::classObject().storesOriginalCloudValues());
    EXPECT_TRUE(Record::classObject().trackUserChangedCloudKeys());
}

TEST(GivenTheClassesOfUserData, WhenRegisteredThenArchivesFindThemByName) {
    registerTrackClasses();
    for (const char* name : {"PLXMediaItemUserData", "PLXCuePoint", "PLXLoopRegion"})
        EXPECT_NE(ArchiveClass::named(name), nullptr) << name;
}

TEST(GivenFilledUserData, WhenReadBackThenEveryPropertyIsEqual) {
    const auto data = filledUserData();
    const auto read = recordFrom<Record>(archiveOf(*data));
    ASSERT_TRUE(read);
    for (const RecordRow& row : table) {
        EXPECT_FALSE(data->valueForKey(row.name) == row.initial) << row.name << " is filled";
        EXPECT_TRUE(read->valueForKey(row.name) == data->valueForKey(row.name)) << row.name;
    }
    EXPECT_EQ(read->linkedUserDataUUIDs(), (Keys{"link-2", "link-1"})) << "in order";
    EXPECT_EQ(read->userChangedCloudKeys(), data->userChangedCloudKeys());
    EXPECT_EQ(read->changedProperties(), std::nullopt);
    EXPECT_EQ(archiveOf(*read), archiveOf(*data));
}

TEST(GivenUserDataOfAnotherProgram, WhenReadThenElementsOfOtherClassesAreLeftOut) {
    registerTrackClasses();
    const Value titleID(Dictionary{{"$class", "PLXMediaItemTitleID"}, {"uuid", "t"}});
    const auto read = recordFrom<Record>(foreignArchive(
        {{"$class",
          Value::Array{"PLXMediaItemUserData", "PLXCloudDatabaseObject", "PLXDatabaseObject"}},
         {"uuid", "u"},
         {"titleIDs", Value(ValueSet{titleID, foreignCue(3), Value("x")})},
         {"startPoint", foreignCue(1)},
         {"endPoint", titleID},
         {"cuePoints", Value::Array{foreignCue(2), titleID, Value("x"), foreignCue(1)}},
         {"loopRegions", Value::Array{foreignCue(2)}},
         {"highEQ", 0.5},
         {"playCount", Value(Dictionary{{"$boxed", 7}})},
         {"tagUUIDs", Value(ValueSet{Value("tag"), Value(5)})},
         {"linkedUserDataUUIDs", Value(Keys{"b", "a"})}}));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->uuid(), "u");
    ASSERT_EQ(read->titleIDs()->size(), 1U);
    EXPECT_EQ(read->titleIDs()->front()->uuid(), "t");
    EXPECT_EQ(read->startPoint()->number(), 1);
    EXPECT_EQ(read->endPoint(), nullptr);
    ASSERT_EQ(read->cuePoints()->size(), 2U);
    EXPECT_EQ(read->cuePoints()->front()->number(), 2);
    EXPECT_TRUE(read->loopRegions()->empty());
    EXPECT_EQ(read->highEQ(), 0.5F);
    EXPECT_EQ(read->playCount(), 7U);
    EXPECT_EQ(read->tagUUIDs(), Keys{"tag"});
    EXPECT_EQ(read->linkedUserDataUUIDs(), (Keys{"b", "a"}));
}

// The key table here starts at 0 for "not set", so the key is always written.
TEST(GivenNewUserData, WhenArchivedThenTheUnsetKeyIsThereToo) {
    const auto text = archiveDescription(archiveOf(*Record::init()));
    EXPECT_NE(text.find("\"manualKeySignatureIndex\":0"), std::string::npos) << text;
    EXPECT_EQ(text.find("\"playCount\":0"), std::string::npos) << "a number object, not inline";
}

TEST(GivenALargePlayCount, WhenArchivedThenItComesBack) {
    const auto data = Record::init();
    data->setPlayCount(0xFFFFFFFFFFFFFFFFU);
    EXPECT_EQ(recordFrom<Record>(archiveOf(*data))->playCount(), 0xFFFFFFFFFFFFFFFFU);
}

// The record would hold itself, and never be freed.
TEST(GivenAnArchiveWhoseNumbersHoldTheRecordItself, WhenReadThenTheyAreLeftOut) {
    ArchiveBuilder b;
    const auto root = b.reserve();
    const auto number = b.add(b.integer(7));
    const auto inner = b.collection("NSArray", {root});
    const auto keys = b.collection("NSArray", {number});
    const auto deep = b.instance("NSDictionary",
                                 {{"NS.keys", b.uids({number})}, {"NS.objects", b.uids({inner})}});
    const auto list = b.collection("NSArray", {root, number, inner, keys, deep});
    b.place(root,
            b.instanceRef("PLXMediaItemUserData", {{"uuid", b.uid(b.addText("u"))},
                                                   {"manualFirstDownBeatIndices", b.uid(list)},
                                                   {"manualGridStartPoints", b.uid(list)}}));
    auto read = recordFrom<Record>(b.archive(root));
    ASSERT_TRUE(read);
    const Value::Array numbers{Value(7), Value(Value::Array{Value(7)})};
    EXPECT_EQ(read->manualFirstDownBeatIndices(), numbers);
    EXPECT_EQ(read->manualGridStartPoints(), numbers);
    const std::weak_ptr<Record> watched = read;
    read.reset();
    EXPECT_TRUE(watched.expired());
}

TEST(GivenATitleIDOfATrack, WhenUserDataIsMadeOfItThenItIsKeyedByTheInternalID) {
    const auto id = PLXMediaItemTitleID::initWithTitle("Song", "Band", 200, nullptr);
    EXPECT_EQ(Record::initWithTitleID(id)->uuid(), id->uuid());
    id->setInternalID("internal");
    const auto data = Record::initWithTitleID(id);
    EXPECT_EQ(data->uuid(), "internal");
    ASSERT_EQ(data->titleIDs()->size(), 1U);
    EXPECT_TRUE(data->titleIDs()->front()->isEqual(*id));
    EXPECT_EQ(data->changedProperties(), KeySet{"titleIDs"});
    EXPECT_EQ(data->cloudUUID(), "mediaitemuserdata-internal");
    id->setTitle("changed");
    EXPECT_EQ(data->titleIDs()->front()->title(), "Song") << "a copy of its own";
}

TEST(GivenTitleIDsThatSayTheSame, WhenReadBackThenOnlyTheFirstIsThere) {
    const auto data = PLXMediaItemUserData::initWithUUID("u");
    data->setTitleIDs(TitleIDs{PLXMediaItemTitleID::initWithTitle("Song", "Band", 1, "ONE"),
                               PLXMediaItemTitleID::initWithTitle("Song", "Band", 1, "TWO")});
    const auto read = recordFrom<PLXMediaItemUserData>(archiveOf(*data));
    ASSERT_EQ(read->titleIDs()->size(), 1U);
    EXPECT_EQ(read->titleIDs()->front()->isrc(), "ONE");
}

TEST(GivenATitleIDOfATrack, WhenUserDataIsMadeOfItThenOnlyOneThatCanChangeKeepsItsInternalID) {
    const auto id = PLXMediaItemTitleID::initWithTitle("Song", "Band", 200, nullptr);
    const String uuid = id->uuid();
    (void)Record::initWithTitleID(std::shared_ptr<const PLXMediaItemTitleID>(id));
    id->setUuid("second");
    EXPECT_EQ(Record::initWithTitleID(id)->uuid(), "second") << "was not kept before";
    id->setUuid("third");
    EXPECT_EQ(Record::initWithTitleID(id)->uuid(), "second") << "is kept now";
    const auto none = Record::initWithTitleID(std::shared_ptr<PLXMediaItemTitleID>());
    EXPECT_FALSE(none->uuid());
    EXPECT_EQ(none->titleIDs(), std::nullopt);
}

TEST(GivenFilledUserData, WhenItsCopyChangesThenItStaysAsItWas) {
    const auto data = filledUserData();
    data->makeImmutable();
    const auto before = archiveOf(*data);
    const auto copy = data->copy();
    EXPECT_EQ(archiveOf(*copy), before);
    EXPECT_NE(copy->startPoint(), data->startPoint());
    EXPECT_NE(copy->titleIDs()->front(), data->titleIDs()->front());
    EXPECT_NE(copy->cuePoints()->front(), data->cuePoints()->front());
    EXPECT_NE(copy->loopRegions()->front(), data->loopRegions()->front());
    for (const RecordRow& row : table) copy->setValueForKey(row.name, row.initial);
    for (const RecordRow& row : table)
        EXPECT_EQ(copy->valueForKey(row.name), row.initial) << row.name;
    EXPECT_EQ(archiveOf(*data), before);
    for (const RecordRow& row : table)
        EXPECT_THROW(data->setValueForKey(row.name, row.initial), PLXDatabaseObjectException);
}

TEST(GivenObjectsSetIntoUserData, WhenTheyChangeLaterThenTheRecordStaysAsItWas) {
    const auto cue = PLXCuePoint::initWithNumber(1, 2, "x");
    const auto data = Record::init();
    data->setStartPoint(cue);
    data->setCuePoints(CuePoints{cue});
    cue->setNumber(9);
    EXPECT_EQ(data->startPoint()->number(), 1);
    EXPECT_EQ(data->cuePoints()->front()->number(), 1);
}

TEST(GivenListsWithRepeatedNumbers, WhenLookedUpThenTheFirstIsFound) {
    const auto data = Record::init();
    EXPECT_EQ(data->cuePointWithNumber(0), nullptr);
    EXPECT_EQ(data->loopRegionWithNumber(0), nullptr);
    data->setCuePoints(CuePoints{PLXCuePoint::initWithNumber(5, 1, nullptr),
                                 PLXCuePoint::initWithNumber(2, 2, nullptr),
                                 PLXCuePoint::initWithNumber(5, 3, nullptr)});
    data->setLoopRegions(LoopRegions{PLXLoopRegion::initWithNumber(2, 1, 2, nullptr),
                                     PLXLoopRegion::initWithNumber(2, 3, 4, nullptr)});
    EXPECT_EQ(data->cuePoints()->size(), 3U) << "nothing is collapsed";
    EXPECT_EQ(data->cuePointWithNumber(5)->time(), 1.0F);
    EXPECT_EQ(data->cuePointWithNumber(2)->time(), 2.0F);
    EXPECT_EQ(data->cuePointWithNumber(1), nullptr);
    EXPECT_EQ(data->loopRegionWithNumber(2)->startTime(), 1.0F);
    EXPECT_EQ(data->loopRegionWithNumber(5), nullptr);
}

class GivenOneSettingOfTheDeck : public testing::Test {
protected:
    /// Of a record with nothing but that.
    template <class Setter, class Setting>
    static bool hasDeckMetadataWith(Setter setter, Setting setting) {
        const auto data = Record::init();
        (*data.*setter)(setting);
        return data->hasDeckMetadata();
    }
};

TEST_F(GivenOneSettingOfTheDeck, WhenAskedThenThereIsDeckMetadata) {
    const auto cue = PLXCuePoint::initWithNumber(0, 0, nullptr);
    EXPECT_TRUE(hasDeckMetadataWith(&Record::setStartPoint, cue));
    EXPECT_TRUE(hasDeckMetadataWith(&Record::setEndPoint, cue));
    EXPECT_TRUE(hasDeckMetadataWith(&Record::setAutomixStartPoint, cue));
    EXPECT_TRUE(hasDeckMetadataWith(&Record::setAutomixEndPoint, cue));
    EXPECT_TRUE(hasDeckMetadataWith(&Record::setCuePoints, CuePoints{cue}));
    EXPECT_TRUE(hasDeckMetadataWith(&Record::setLoopRegions,
                                    LoopRegions{PLXLoopRegion::initWithNumber(0, 0, 0, nullptr)}));
    EXPECT_TRUE(hasDeckMetadataWith(&Record::setMidEQ, 0.5F));
    EXPECT_TRUE(hasDeckMetadataWith(&Record::setLowEQ, 0.5F));
    EXPECT_TRUE(hasDeckMetadataWith(&Record::setManualBPM, 0.5F));
    EXPECT_TRUE(hasDeckMetadataWith(&Record::setManualBeatTime, -0.5F));
    EXPECT_TRUE(hasDeckMetadataWith(&Record::setManualKeySignatureIndex, 1));
    EXPECT_TRUE(hasDeckMetadataWith(&Record::setManualFirstDownBeatIndices, Value::Array{0}));
    EXPECT_TRUE(hasDeckMetadataWith(&Record::setManualGridStartPoints, Value::Array{0}));
}

TEST_F(GivenOneSettingOfTheDeck, WhenItIsTheHighBandThenThereIsNoDeckMetadata) {
    EXPECT_FALSE(hasDeckMetadataWith(&Record::setHighEQ, 0.5F));
}

TEST_F(GivenOneSettingOfTheDeck, WhenItIsEmptyOrOfAnotherKindThenThereIsNoDeckMetadata) {
    EXPECT_FALSE(Record::init()->hasDeckMetadata());
    EXPECT_FALSE(hasDeckMetadataWith(&Record::setCuePoints, CuePoints()));
    EXPECT_FALSE(hasDeckMetadataWith(&Record::setLoopRegions, LoopRegions()));
    EXPECT_FALSE(hasDeckMetadataWith(&Record::setManualFirstDownBeatIndices, Value::Array()));
    EXPECT_FALSE(hasDeckMetadataWith(&Record::setManualGridStartPoints, Value::Array()));
    EXPECT_FALSE(hasDeckMetadataWith(&Record::setLowEQ, -0.0F));
    EXPECT_FALSE(hasDeckMetadataWith(&Record::setRating, 5));
    EXPECT_FALSE(hasDeckMetadataWith(&Record::setEnergy, 5));
    EXPECT_FALSE(hasDeckMetadataWith(&Record::setPlayCount, 5U));
    EXPECT_FALSE(hasDeckMetadataWith(&Record::setTagUUIDs, Keys{"tag"}));
    EXPECT_FALSE(hasDeckMetadataWith(&Record::setLinkedUserDataUUIDs, Keys{"link"}));
    EXPECT_FALSE(hasDeckMetadataWith(
        &Record::setTitleIDs, TitleIDs{PLXMediaItemTitleID::initWithTitle("a", "b", 1, nullptr)}));
}

TEST(GivenUserDataWithTags, WhenItsEdgesAreAskedThenThereIsOneATag) {
    const auto data = Record::init();
    EXPECT_TRUE(data->yapDatabaseRelationshipEdges().empty());
    data->setTagUUIDs(Keys());
    EXPECT_TRUE(data->yapDatabaseRelationshipEdges().empty());
    data->setTagUUIDs(Keys{"a", "b"});
    const std::vector<YapDatabaseRelationshipEdge> expected = {
        {"mediaItemUserDataMediaItemTag", "a", "mediaItemTags", 32},
        {"mediaItemUserDataMediaItemTag", "b", "mediaItemTags", 32}};
    EXPECT_EQ(data->yapDatabaseRelationshipEdges(), expected);
}

TEST(GivenFilledUserData, WhenItsArchiveIsDamagedThenItReadsAsARecordOrNil) {
    readDamagedArchives(*filledUserData());
}

}  // namespace
}  // namespace qsml
