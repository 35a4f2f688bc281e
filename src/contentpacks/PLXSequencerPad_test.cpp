#include "contentpacks/PLXSequencerPad.h"

#include <gtest/gtest.h>

#include "contentpacks/detail/samplePads.h"

namespace qsml {
namespace {

TEST(GivenASequencerPad, WhenHeldAgainstItsTableThenKeysDefaultsAndChecksAreThose) {
    expectTable<PLXSequencerPad>({{"mediaItemUUID", Takes::text},
                                  {"triggerMode", Takes::whole, 0},
                                  {"quantization", Takes::real, 0.0F},
                                  {"gain", Takes::real, 0.0F},
                                  {"pan", Takes::real, 0.0F}},
                                 *filledPad("item"));
}

TEST(GivenAMediaItemUUID, WhenAPadIsMadeOfItThenItsNumbersAreZero) {
    const auto pad = PLXSequencerPad::initWithMediaItemUUID("item");
    const auto expected = PLXSequencerPad::init();
    EXPECT_FALSE(expected->mediaItemUUID());
    expected->setMediaItemUUID("item");
    EXPECT_TRUE(pad->isEqualToSequencerPad(expected.get()));
    EXPECT_FALSE(PLXSequencerPad::initWithMediaItemUUID(nullptr)->mediaItemUUID());
}

TEST(GivenTwoSequencerPads, WhenAnyFieldDiffersThenTheyAreNotEqual) {
    const auto differsBy = [](auto change) {
        const auto other = filledPad("item");
        change(*other);
        return !filledPad("item")->isEqualToSequencerPad(other.get());
    };
    using Pad = PLXSequencerPad;
    EXPECT_FALSE(differsBy([](Pad&) {}));
    EXPECT_TRUE(differsBy([](Pad& pad) { pad.setMediaItemUUID(nullptr); }));
    EXPECT_TRUE(differsBy([](Pad& pad) { pad.setTriggerMode(0); }));
    EXPECT_TRUE(differsBy([](Pad& pad) { pad.setQuantization(0); }));
    EXPECT_TRUE(differsBy([](Pad& pad) { pad.setGain(0); }));
    EXPECT_TRUE(differsBy([](Pad& pad) { pad.setPan(0); }));
    EXPECT_FALSE(filledPad("item")->isEqualToSequencerPad(nullptr));
}

TEST(GivenASequencerPad, WhenArchivedThenAnEqualOneIsReadBack) {
    const auto pad = filledPad("item");
    const auto read = recordFrom<PLXSequencerPad>(archiveOf(*pad));
    ASSERT_TRUE(read);
    EXPECT_TRUE(read->isEqualToSequencerPad(pad.get()));
    EXPECT_EQ(read->hash(), pad->hash());
}

TEST(GivenASequencerPad, WhenItsCopyIsChangedThenItStaysAsItWas) {
    const auto pad = filledPad("item");
    pad->copy()->setGain(9);
    EXPECT_TRUE(pad->isEqualToSequencerPad(filledPad("item").get()));
}

TEST(GivenASequencerPad, WhenItsArchiveIsDamagedThenItReadsAsOneOrNil) {
    readDamagedArchives(*filledPad("item"));
}

}  // namespace
}  // namespace qsml
