#include "tracks/PLXMediaItemAnalyzedData.h"

#include <gtest/gtest.h>

#include "testing/recordTable.h"
#include "tracks/registerTrackClasses.h"

namespace qsml {
namespace {

using Record = PLXMediaItemAnalyzedData;

std::shared_ptr<PLXMediaItemTitleID> anyTitleID() {
    return PLXMediaItemTitleID::initWithTitle("Night Drive", "The Examples", 449.6F, nullptr);
}

TEST(GivenAnalyzedData, WhenHeldAgainstItsTableThenKeysDefaultsAndChecksAreThose) {
    registerTrackClasses();
    const std::vector<RecordRow> table = {{"bpm", Takes::real, 0.0F},
                                          {"keySignatureIndex", Takes::whole, 0},
                                          {"roundedBPM", Takes::whole, 0, false}};
    const auto filled = Record::initWithTitleID(anyTitleID());
    filled->setBpm(127.3F);
    filled->setKeySignatureIndex(11);
    expectTable<Record>(table, *filled);
    expectTable<Record>(table, *Record::init());
    EXPECT_EQ(ArchiveClass::named("PLXMediaItemAnalyzedData"), &Record::classObject());
    EXPECT_EQ(Record::classObject().cloudType(), "MediaItemAnalyzedData");
    const auto read = recordFrom<Record>(archiveOf(*filled));
    EXPECT_EQ(read->uuid(), filled->uuid());
    EXPECT_EQ(read->bpm(), 127.3F);
    EXPECT_EQ(read->keySignatureIndex(), 11);
}

TEST(GivenNewAnalyzedData, WhenMadeOfATitleIDThenTheMusicalKeyIsUnknownElseTheFirst) {
    const auto titleID = anyTitleID();
    EXPECT_EQ(Record::initWithTitleID(titleID)->keySignatureIndex(), -1);
    EXPECT_EQ(Record::init()->keySignatureIndex(), 0);
    EXPECT_EQ(Record::initWithTitleID(titleID)->uuid(), titleID->uuid());
    titleID->setInternalID("internal");
    const std::shared_ptr<const PLXMediaItemTitleID> shared = titleID;
    EXPECT_EQ(Record::initWithTitleID(shared)->uuid(), "internal");
    EXPECT_EQ(Record::initWithTitleID(std::shared_ptr<PLXMediaItemTitleID>())->uuid(), nullptr);
}

TEST(GivenNewAnalyzedData, WhenArchivedThenTheUnknownKeyIsWrittenAndReadBack) {
    const auto data = Record::initWithTitleID(anyTitleID());
    EXPECT_EQ(archivedKeys(*data), (std::vector<std::string>{"uuid", "bpm", "keySignatureIndex"}));
    EXPECT_EQ(recordFrom<Record>(archiveOf(*data))->keySignatureIndex(), -1);
}

TEST(GivenAnArchiveWithoutItsKeys, WhenReadAsAnalyzedDataThenTheMusicalKeyIsTheFirst) {
    registerTrackClasses();
    const auto read = recordFrom<Record>(foreignArchive({{"$class", "PLXMediaItemAnalyzedData"}}));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->keySignatureIndex(), 0);
    EXPECT_EQ(read->bpm(), 0);
}

TEST(GivenAnAnalyzedTempo, WhenRoundedThenHalvesGoAwayFromZero) {
    const auto data = Record::init();
    const std::pair<float, std::int64_t> cases[] = {
        {120.49F, 120}, {120.5F, 121}, {127.5F, 128}, {-0.5F, -1}, {0, 0}};
    for (const auto& [bpm, rounded] : cases) {
        data->setBpm(bpm);
        EXPECT_EQ(data->roundedBPM(), rounded) << bpm;
    }
}

TEST(GivenAnalyzedData, WhenItsCopyChangesThenItStaysAsItWas) {
    const auto data = Record::initWithTitleID(anyTitleID());
    data->setBpm(100);
    data->makeImmutable();
    const auto copy = data->copy();
    copy->setBpm(90);
    copy->setKeySignatureIndex(3);
    EXPECT_EQ(data->bpm(), 100);
    EXPECT_EQ(data->keySignatureIndex(), -1);
    EXPECT_TRUE(copy->isEqual(*data));
    EXPECT_THROW(data->setBpm(1), PLXDatabaseObjectException);
    EXPECT_THROW(data->setKeySignatureIndex(1), PLXDatabaseObjectException);
}

TEST(GivenAnalyzedData, WhenItsArchiveIsDamagedThenItReadsAsARecordOrNil) {
    readDamagedArchives(*Record::initWithTitleID(anyTitleID()));
}

}  // namespace
}  // namespace qsml
