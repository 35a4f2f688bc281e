#include "contentpacks/PLXLooperPack.h"

#include <gtest/gtest.h>

#include "contentpacks/detail/samplePacks.h"
#include "contentpacks/detail/samplePads.h"
#include "testing/LogCapture.h"

namespace qsml {
namespace {

std::shared_ptr<PLXLooperPack> filled() {
    auto pack = filledPack<PLXLooperPack>();
    pack->setTracks(std::vector{filledTrack(), PLXLooperTrack::init()});
    return pack;
}

TEST(GivenALooperPack, WhenHeldAgainstItsTableThenKeysDefaultsAndChecksAreThose) {
    expectTable<PLXLooperPack>(packRows({{"tracks", Takes::array}}), *filled());
}

TEST(GivenALooperPack, WhenArchivedThenEveryTrackIsReadBackInOrder) {
    const auto pack = filled();
    const auto read = recordFrom<PLXLooperPack>(archiveOf(*pack));
    ASSERT_TRUE(read);
    EXPECT_TRUE(haveEqualFields(*read, *pack));
    ASSERT_EQ(read->tracks()->size(), 2U);
    EXPECT_TRUE(read->tracks()->front()->isEqual(*filledTrack()));
}

TEST(GivenALooperPack, WhenItsCopyChangesThenItsTracksStay) {
    const auto track = filledTrack();
    const auto pack = PLXLooperPack::init();
    pack->setTracks(std::vector{track});
    track->setCategory("changed");
    EXPECT_EQ(pack->tracks()->front()->category(), "Drums") << "a copy of its own";
    const auto copy = pack->copy();
    EXPECT_NE(copy->tracks()->front(), pack->tracks()->front());
    EXPECT_NE(copy->tracks()->front()->pads()->front(), pack->tracks()->front()->pads()->front());
    copy->setTracks(std::nullopt);
    EXPECT_EQ(copy->changedProperties(), KeySet{"tracks"});
    EXPECT_TRUE(pack->tracks());
    pack->makeImmutable();
    EXPECT_THROW(pack->setTracks(std::nullopt), PLXDatabaseObjectException);
}

TEST(GivenAnArchiveOfAnotherProgram, WhenTracksOfBeforePadsAreInItThenTheirFilesAreOnPads) {
    (void)PLXSequencerPad::classObject();
    const Dictionary track{{"$class", "PLXLooperTrack"},
                           {"category", "Drums"},
                           {"sampleUUIDs", Value(Value::Array{"a", "b"})}};
    const Value tracks(Value::Array{Value(track), Value(Null()), Value("x"), archivedPad("x")});
    const auto pack = recordFrom<PLXLooperPack>(
        foreignArchive({{"$class", "PLXLooperPack"}, {"tracks", tracks}}));
    ASSERT_TRUE(pack);
    ASSERT_EQ(pack->tracks()->size(), 1U) << "what is no track is left out";
    EXPECT_EQ(layoutOf(pack->tracks()->front()->pads()), "ab");
}

TEST(GivenALooperPack, WhenItNoLongerDependsOnAFileThenItsTracksStay) {
    const auto pack = filled()->copy();
    pack->removeDependancyOnMediaItemUUID("item-1");
    EXPECT_EQ(pack->mediaItemUUIDs(), OrderedSet<String>{"item-2"});
    EXPECT_EQ(pack->changedProperties(), KeySet{"mediaItemUUIDs"});
    EXPECT_EQ(layoutOf(pack->tracks()->front()->pads()), "item-1item-2");
}

TEST(GivenALooperPack, WhenItsArchiveIsDamagedThenItReadsAsAPackOrNil) {
    LogCapture quiet;  // the UUID is among what is damaged
    readDamagedArchives(*filled());
}

}  // namespace
}  // namespace qsml
