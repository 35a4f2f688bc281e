#include "contentpacks/PLXSequencerPads.h"

#include <gtest/gtest.h>

#include "contentpacks/detail/samplePads.h"

namespace qsml {
namespace {

using Pads = PLXSequencerPads;

TEST(GivenPadsWithAGap, WhenTakenThenAnEmptyPadStandsThereAndTheOthersKeepTheirPlaces) {
    const std::vector<std::shared_ptr<PLXSequencerPad>> pads = {nullptr, filledPad("a"), nullptr,
                                                                filledPad("b")};
    EXPECT_EQ(layoutOf(Pads(pads).get()), "-a-b");
    EXPECT_EQ(layoutOf(Pads(Pads(pads)).get()), "-a-b") << "copied";
    EXPECT_TRUE((*Pads(pads))[1]->isEqual(*pads[1]));
    EXPECT_TRUE((*Pads(pads))[0]->isEqual(*PLXSequencerPad::init()));
}

TEST(GivenPads, WhenTheGivenOnesChangeThenTheirsStay) {
    const auto given = filledPad("a");
    const Pads pads({given});
    given->setMediaItemUUID("changed");
    EXPECT_EQ(layoutOf(pads.get()), "a");
}

TEST(GivenPads, WhenComparedThenEveryFieldAndPositionCounts) {
    EXPECT_EQ(Pads({filledPad("a"), filledPad("b")}), Pads({filledPad("a"), filledPad("b")}));
    EXPECT_NE(Pads({filledPad("a"), filledPad("b")}), Pads({filledPad("b"), filledPad("a")}));
    EXPECT_NE(Pads({filledPad("a")}), Pads({PLXSequencerPad::initWithMediaItemUUID("a")}));
    EXPECT_NE(Pads(), Pads::emptyPads(0));
    EXPECT_EQ(Pads(), Pads(std::nullopt));
}

TEST(GivenAnArrayJustRead, WhenItHoldsOtherThingsThanPadsThenThesePlacesAreEmpty) {
    const Value pad(std::shared_ptr<const Object>(filledPad("a")));
    EXPECT_EQ(layoutOf(Pads::ofPads(Value::Array{1, pad, Null(), "x", Value()}).get()), "-a---");
    EXPECT_EQ(layoutOf(Pads::ofPads(Value::Array()).get()), "");
    EXPECT_EQ(layoutOf(Pads::ofMediaItemUUIDs(Value::Array{"a", 1, pad, "b"}).get()), "a--b");
    for (const Value& other : {Value(), pad, Value("a"), Value(ValueSet{pad})}) {
        EXPECT_FALSE(Pads::ofPads(other));
        EXPECT_FALSE(Pads::ofMediaItemUUIDs(other));
    }
}

TEST(GivenAnArrayOfDecksJustRead, WhenADeckIsNoArrayThenItIsEmpty) {
    const Value decks(Value::Array{"x", Value(Value::Array{"a"}), Null(), Value(Value::Array())});
    EXPECT_EQ(layoutOf(decksOfArray(decks, Pads::ofMediaItemUUIDs)), "|a|||");
    EXPECT_EQ(layoutOf(decksOfArray("x", Pads::ofMediaItemUUIDs)), "nil");
}

TEST(GivenPads, WhenAFileIsTakenOffThenItsPadsAreEmptyAndKeepTheirOtherFields) {
    const Pads pads({filledPad("a"), filledPad("b"), filledPad("a"), filledPad(nullptr)});
    EXPECT_TRUE(pads.refersTo("a"));
    EXPECT_FALSE(pads.refersTo("c"));
    EXPECT_FALSE(pads.refersTo(nullptr)) << "an empty pad refers to nothing";
    EXPECT_FALSE(Pads().refersTo("a"));
    const Pads without = pads.withoutMediaItemUUID("a");
    EXPECT_EQ(layoutOf(without.get()), "-b--");
    EXPECT_TRUE((*without)[0]->isEqual(*filledPad(nullptr)));
    EXPECT_EQ(layoutOf(pads.get()), "aba-");
    EXPECT_EQ(pads.withoutMediaItemUUID("c"), pads);
    EXPECT_EQ(Pads().withoutMediaItemUUID("a"), Pads());
}

TEST(GivenAValueForPads, WhenItHoldsAnythingButPadsThenItIsRefused) {
    const Value pad(std::shared_ptr<const Object>(filledPad("a")));
    const auto takes = [](const Value& value) {
        Pads into = Pads::emptyPads(1);
        return Boxing<Pads>::unbox(value, into);
    };
    EXPECT_TRUE(takes(Value()));
    EXPECT_TRUE(takes(Value::Array{pad, pad}));
    EXPECT_FALSE(takes(Value::Array{pad, Null()}));
    EXPECT_FALSE(takes(pad));
    EXPECT_FALSE(takes(ValueSet{pad}));
}

TEST(GivenAValueForDecks, WhenItHoldsAnythingButArraysOfPadsThenItIsRefused) {
    const Value pad(std::shared_ptr<const Object>(filledPad("a")));
    const auto takes = [](const Value& value) {
        PLXSequencerPadDecks into;
        return Boxing<PLXSequencerPadDecks>::unbox(value, into);
    };
    EXPECT_TRUE(takes(Value()));
    EXPECT_TRUE(takes(Value::Array{Value(Value::Array{pad}), Value(Value::Array())}));
    EXPECT_FALSE(takes(Value::Array{Value(Value::Array{pad}), Value()}));
    EXPECT_FALSE(takes(Value::Array{Value(Value::Array{"a"})}));
    EXPECT_FALSE(takes(Value::Array{pad}));
    EXPECT_FALSE(takes(pad));
}

}  // namespace
}  // namespace qsml
