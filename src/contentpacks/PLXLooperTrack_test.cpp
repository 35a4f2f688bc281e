#include "contentpacks/PLXLooperTrack.h"

#include <gtest/gtest.h>

#include "contentpacks/detail/samplePads.h"

namespace qsml {
namespace {

std::shared_ptr<PLXLooperTrack> readTrack(const Dictionary& keys) {
    Dictionary root = keys;
    root.set("$class", "PLXLooperTrack");
    (void)PLXSequencerPad::classObject();
    return recordFrom<PLXLooperTrack>(foreignArchive(root));
}

TEST(GivenALooperTrack, WhenHeldAgainstItsTableThenKeysDefaultsAndChecksAreThose) {
    expectTable<PLXLooperTrack>({{"category", Takes::text}, {"pads", Takes::array}},
                                *filledTrack());
}

TEST(GivenALooperTrack, WhenArchivedThenAnEqualOneIsReadBack) {
    const auto track = filledTrack();
    const auto read = recordFrom<PLXLooperTrack>(archiveOf(*track));
    ASSERT_TRUE(read);
    EXPECT_TRUE(read->isEqualToLooperTrack(track.get()));
    EXPECT_EQ(layoutOf(read->pads()), "item-1item-2");
    const auto empty = recordFrom<PLXLooperTrack>(archiveOf(*PLXLooperTrack::init()));
    EXPECT_TRUE(empty->isEqualToLooperTrack(PLXLooperTrack::init().get()));
    EXPECT_FALSE(empty->pads()) << "nil and no pads are different";
}

TEST(GivenTwoLooperTracks, WhenAFieldOfOneOfTheirPadsDiffersThenTheyAreNotEqual) {
    const auto other = filledTrack();
    EXPECT_TRUE(filledTrack()->isEqualToLooperTrack(other.get()));
    auto pads = *other->pads();
    const auto changed = pads[1]->copy();
    changed->setPan(0);
    pads[1] = changed;
    other->setPads(pads);
    EXPECT_FALSE(filledTrack()->isEqualToLooperTrack(other.get()));
    other->setPads(filledTrack()->pads().value());
    other->setCategory("Bass");
    EXPECT_FALSE(filledTrack()->isEqualToLooperTrack(other.get()));
    EXPECT_FALSE(filledTrack()->isEqualToLooperTrack(nullptr));
}

TEST(GivenALooperTrack, WhenCopiedThenItsPadsAreCopiesToo) {
    const auto track = filledTrack();
    const auto copy = track->copy();
    EXPECT_TRUE(copy->isEqualToLooperTrack(track.get()));
    EXPECT_NE(copy->pads()->front(), track->pads()->front());
    copy->setPads(std::nullopt);
    EXPECT_EQ(layoutOf(track->pads()), "item-1item-2");
}

TEST(GivenAnArchiveOfAnotherProgram, WhenThingsThatAreNoPadsStandBetweenThenTheirPlacesAreEmpty) {
    const auto track =
        readTrack({{"category", "Bass"}, {"pads", Value(archivedPadsWithStrangersBetween())}});
    ASSERT_TRUE(track);
    EXPECT_EQ(layoutOf(track->pads()), layoutWithStrangersBetween);
    EXPECT_EQ(track->category(), "Bass");
}

TEST(GivenAnArchiveFromBeforePads, WhenReadThenEachUUIDIsAPadAndOnlyPadsAreWrittenBack) {
    const auto track = readTrack({{"sampleUUIDs", Value(archivedUUIDsWithStrangersBetween())}});
    ASSERT_TRUE(track);
    EXPECT_EQ(layoutOf(track->pads()), uuidLayoutWithStrangersBetween);
    EXPECT_EQ(archivedKeys(*track), (std::vector<std::string>{"category", "pads"}));
    EXPECT_EQ(layoutOf(recordFrom<PLXLooperTrack>(archiveOf(*track))->pads()),
              uuidLayoutWithStrangersBetween);
}

TEST(GivenAnArchiveFromBeforePads, WhenItAlsoHasPadsThenThosePrevail) {
    const Value uuids(Value::Array{"old"});
    const Value pads(Value::Array{archivedPad("new")});
    EXPECT_EQ(layoutOf(readTrack({{"pads", pads}, {"sampleUUIDs", uuids}})->pads()), "new");
    EXPECT_EQ(layoutOf(readTrack({{"pads", Value::Array()}, {"sampleUUIDs", uuids}})->pads()), "");
    EXPECT_EQ(layoutOf(readTrack({{"pads", Value("x")}, {"sampleUUIDs", uuids}})->pads()), "old")
        << "what is no array is no pads";
    EXPECT_EQ(layoutOf(readTrack({{"sampleUUIDs", Value("old")}})->pads()), "nil");
}

TEST(GivenALooperTrack, WhenItsArchiveIsDamagedThenItReadsAsOneOrNil) {
    readDamagedArchives(*filledTrack());
}

}  // namespace
}  // namespace qsml
