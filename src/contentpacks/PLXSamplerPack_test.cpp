#include "contentpacks/PLXSamplerPack.h"

#include <gtest/gtest.h>

#include "contentpacks/detail/samplePacks.h"
#include "contentpacks/detail/samplePads.h"
#include "testing/LogCapture.h"

namespace qsml {
namespace {

std::shared_ptr<PLXSamplerPack> filled() {
    auto pack = filledPack<PLXSamplerPack>();
    pack->setPads(std::vector{PLXSequencerPads({filledPad("item-1"), filledPad(nullptr)}),
                              PLXSequencerPads({filledPad("item-2"), filledPad("item-1")})});
    return pack;
}

std::shared_ptr<PLXSamplerPack> readPack(const Dictionary& keys) {
    Dictionary root = keys;
    root.set("$class", "PLXSamplerPack");
    (void)PLXSequencerPad::classObject();
    return recordFrom<PLXSamplerPack>(foreignArchive(root));
}

std::string layoutRead(const Dictionary& keys) {
    const auto pack = readPack(keys);
    return pack ? layoutOf(pack->pads()) : "no pack";
}

TEST(GivenASamplerPack, WhenHeldAgainstItsTableThenKeysDefaultsAndChecksAreThose) {
    expectTable<PLXSamplerPack>(packRows({{"pads", Takes::array}}), *filled());
}

TEST(GivenASamplerPack, WhenArchivedThenEveryPadIsReadBackInItsPlace) {
    const auto pack = filled();
    const auto read = recordFrom<PLXSamplerPack>(archiveOf(*pack));
    ASSERT_TRUE(read);
    EXPECT_TRUE(haveEqualFields(*read, *pack));
    EXPECT_EQ(layoutOf(read->pads()), "item-1-|item-2item-1|");
    EXPECT_FALSE(read->hasChangedProperties());
}

TEST(GivenASamplerPack, WhenADeckIsNilThenItIsAnEmptyDeckFromThen) {
    const auto pack = PLXSamplerPack::init();
    pack->setPads(std::vector<PLXSequencerPads>{std::nullopt, PLXSequencerPads({filledPad("a")})});
    const auto read = recordFrom<PLXSamplerPack>(archiveOf(*pack));
    EXPECT_EQ(layoutOf(read->pads()), "|a|");
    EXPECT_EQ(read->valueForKey("pads"), pack->valueForKey("pads"));
}

TEST(GivenASamplerPack, WhenItsCopyChangesThenItsPadsStay) {
    const auto pack = filled();
    const auto copy = pack->copy();
    EXPECT_NE((*copy->pads())[0]->front(), (*pack->pads())[0]->front());
    copy->removeDependancyOnMediaItemUUID("item-1");
    EXPECT_TRUE(haveEqualFields(*pack, *filled()));
    pack->makeImmutable();
    EXPECT_THROW(pack->setPads(std::nullopt), PLXDatabaseObjectException);
}

TEST(GivenASamplerPack, WhenReadAndSetByKeyThenItsDecksAreArraysOfPads) {
    const auto pack = filled();
    const auto other = PLXSamplerPack::init()->copy();
    EXPECT_TRUE(other->setValueForKey("pads", pack->valueForKey("pads")));
    EXPECT_EQ(other->pads(), pack->pads());
    EXPECT_EQ(other->changedProperties(), KeySet{"pads"});
    EXPECT_FALSE(other->setValueForKey("pads", Value(Value::Array{"x"})));
    EXPECT_EQ(other->pads(), pack->pads()) << "refused, so nothing is changed";
}

TEST(GivenTheUsersSamplerPack, WhenMadeThenItHasTwoDecksOfEightEmptyPads) {
    const auto pack = PLXSamplerPack::userContentPack();
    EXPECT_EQ(layoutOf(pack->pads()), "--------|--------|");
    for (const auto& deck : *pack->pads())
        for (const auto& pad : *deck) EXPECT_TRUE(pad->isEqual(*PLXSequencerPad::init()));
    EXPECT_FALSE(PLXSamplerPack::init()->pads());
}

TEST(GivenAnArchiveOfAnotherProgram, WhenWhatIsNoPadStandsInADeckThenItsPlaceIsEmpty) {
    const Value deck(archivedPadsWithStrangersBetween());
    const std::string layout(layoutWithStrangersBetween);
    EXPECT_EQ(layoutRead({{"pads", Value(Value::Array{deck, deck})}}), layout + "|" + layout + "|");
}

TEST(GivenAnArchiveOfAnotherProgram, WhenADeckIsNoArrayThenItIsEmptyAndTheOthersStay) {
    const Value deck(Value::Array{archivedPad("a")});
    EXPECT_EQ(layoutRead(
                  {{"pads", Value(Value::Array{Value("x"), archivedPad("b"), deck,
                                               Value(ValueSet{archivedPad("c")}), Null(), deck})}}),
              "||a|||a|");
    EXPECT_EQ(layoutRead({{"pads", Value(Value::Array())}}), "");
}

TEST(GivenAnArchiveOfAnotherProgram, WhenThereIsNoArrayThenThereAreNoPads) {
    EXPECT_EQ(layoutRead({}), "nil");
    EXPECT_EQ(layoutRead({{"pads", Dictionary{{"$nil", true}}}}), "nil");
    EXPECT_EQ(layoutRead({{"pads", Value(ValueSet{archivedPad("c")})}}), "nil");
    EXPECT_EQ(layoutRead({{"decks", "x"}}), "nil");
}

TEST(GivenAnArchiveFromBeforePads, WhenReadThenItsDecksAreOfPadsAndOnlyPadsAreWrittenBack) {
    const Value uuids(archivedUUIDsWithStrangersBetween());
    const auto pack = readPack(
        {{"uuid", "u"}, {"decks", Value(Value::Array{uuids, Value("x"), Value::Array(), uuids})}});
    ASSERT_TRUE(pack);
    const std::string deck(uuidLayoutWithStrangersBetween);
    EXPECT_EQ(layoutOf(pack->pads()), deck + "|||" + deck + "|");
    EXPECT_TRUE((*pack->pads())[0]->front()->isEqual(*PLXSequencerPad::initWithMediaItemUUID("a")));
    EXPECT_FALSE(pack->hasChangedProperties());
    const auto keys = archivedKeys(*pack);
    EXPECT_EQ(keys.back(), "pads");
    EXPECT_EQ(std::count(keys.begin(), keys.end(), "decks"), 0);
    EXPECT_EQ(recordFrom<PLXSamplerPack>(archiveOf(*pack))->pads(), pack->pads());
}

TEST(GivenAnArchiveFromBeforePads, WhenItAlsoHasPadsThenThosePrevail) {
    const Value decks(Value::Array{Value(Value::Array{"old"})});
    const Value pads(Value::Array{Value(Value::Array{archivedPad("new")})});
    EXPECT_EQ(layoutRead({{"pads", pads}, {"decks", decks}}), "new|");
    EXPECT_EQ(layoutRead({{"pads", Value::Array()}, {"decks", decks}}), "");
    EXPECT_EQ(layoutRead({{"pads", Dictionary{{"$nil", true}}}, {"decks", decks}}), "old|");
    EXPECT_EQ(layoutRead({{"pads", "x"}, {"decks", decks}}), "old|")
        << "what is no array is no pads";
}

TEST(GivenASamplerPack, WhenItNoLongerDependsOnAFileThenItsPadsAreEmptyAndKeepTheirOtherFields) {
    const auto pack = filled()->copy();
    pack->removeDependancyOnMediaItemUUID("item-1");
    EXPECT_EQ(layoutOf(pack->pads()), "--|item-2-|");
    EXPECT_TRUE((*pack->pads())[1]->back()->isEqual(*filledPad(nullptr)));
    EXPECT_TRUE((*pack->pads())[1]->front()->isEqual(*filledPad("item-2")));
    EXPECT_EQ(pack->mediaItemUUIDs(), OrderedSet<String>{"item-2"});
    EXPECT_EQ(pack->changedProperties(), (KeySet{"mediaItemUUIDs", "pads"}));
}

TEST(GivenASamplerPack, WhenOnlyPadsDependOnAFileThenOnlyTheyAreSet) {
    const auto pack = filled();
    pack->setMediaItemUUIDs(std::nullopt);
    const auto copy = pack->copy();
    copy->removeDependancyOnMediaItemUUID("item-2");
    EXPECT_EQ(layoutOf(copy->pads()), "item-1-|-item-1|");
    EXPECT_EQ(copy->changedProperties(), KeySet{"pads"});
}

TEST(GivenASamplerPack, WhenItNeverDependedOnAFileThenNothingIsSet) {
    for (const auto& pack : {filled()->copy(), PLXSamplerPack::init()->copy()}) {
        pack->removeDependancyOnMediaItemUUID("item-3");
        pack->removeDependancyOnMediaItemUUID(nullptr);
        EXPECT_FALSE(pack->hasChangedProperties());
    }
}

TEST(GivenASamplerPack, WhenItsArchiveIsDamagedThenItReadsAsAPackOrNil) {
    LogCapture quiet;  // the UUID is among what is damaged
    readDamagedArchives(*filled());
}

}  // namespace
}  // namespace qsml
