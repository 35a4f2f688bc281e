#include "tracks/PLXCuePoint.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "foundation/JSON.h"
#include "testing/recordTable.h"

namespace qsml {
namespace {

std::shared_ptr<PLXCuePoint> drop() { return PLXCuePoint::initWithNumber(2, 12.5F, "drop"); }

std::shared_ptr<PLXCuePoint> cueOfJSON(std::string_view text) {
    return PLXCuePoint::initWithJSONObject(valueOfJSONText(text).dictionary());
}

TEST(GivenACuePoint, WhenHeldAgainstItsTableThenKeysDefaultsAndChecksAreThose) {
    expectTable<PLXCuePoint>(
        {{"number", Takes::whole, 0}, {"time", Takes::real, 0.0F}, {"comment", Takes::text}},
        *drop());
}

TEST(GivenACuePoint, WhenArchivedThenAnEqualOneIsReadBack) {
    const auto cue = PLXCuePoint::initWithNumber(-3, 10.1F, nullptr);
    const auto read = recordFrom<PLXCuePoint>(archiveOf(*cue));
    ASSERT_TRUE(read);
    EXPECT_TRUE(read->isEqualToCuePoint(cue.get()));
    EXPECT_EQ(archiveOf(*read), archiveOf(*cue));
    EXPECT_NE(archiveDescription(archiveOf(*cue)).find(R"(["PLXCuePoint","NSObject"])"),
              std::string::npos);
    EXPECT_NE(archiveDescription(archiveOf(*cue)).find("\"number\":-3"), std::string::npos)
        << "inline";
}

TEST(GivenACuePoint, WhenAnotherProgramHasWrittenItThenItIsRead) {
    const auto read = recordFrom<PLXCuePoint>(foreignArchive(
        {{"$class", "PLXCuePoint"}, {"time", 12.5}, {"number", 2}, {"comment", "drop"}}));
    ASSERT_TRUE(read);
    EXPECT_TRUE(read->isEqual(*drop()));
}

TEST(GivenACuePoint, WhenItsCopyIsChangedThenItStaysAsItWas) {
    const auto cue = drop();
    const auto copy = cue->copy();
    EXPECT_TRUE(copy->isEqual(*cue));
    copy->setNumber(3);
    copy->setTime(1);
    copy->setComment("other");
    EXPECT_EQ(copy->number(), 3);
    EXPECT_EQ(copy->time(), 1.0F);
    EXPECT_EQ(copy->comment(), "other");
    EXPECT_TRUE(cue->isEqual(*drop()));
}

TEST(GivenTwoCuePoints, WhenAnyPropertyDiffersThenTheyAreNotEqual) {
    const auto equals = [](std::int64_t number, float time, const String& comment) {
        const auto other = PLXCuePoint::initWithNumber(number, time, comment);
        const bool equal = drop()->isEqualToCuePoint(other.get());
        EXPECT_EQ(other->isEqualToCuePoint(drop().get()), equal);
        EXPECT_EQ(drop()->isEqual(*other), equal);
        return equal;
    };
    EXPECT_TRUE(equals(2, 12.5F, "drop"));
    EXPECT_FALSE(equals(3, 12.5F, "drop"));
    EXPECT_FALSE(equals(2, std::nextafter(12.5F, 13.0F), "drop"));
    EXPECT_FALSE(equals(2, 12.5F, "Drop"));
    EXPECT_FALSE(equals(2, 12.5F, nullptr));
    EXPECT_FALSE(drop()->isEqualToCuePoint(nullptr));
    const auto at = [](float time) { return PLXCuePoint::initWithNumber(1, time, nullptr); };
    EXPECT_TRUE(at(10.0F)->isEqual(*at(10.0F))) << "both comments nil";
    EXPECT_FALSE(at(10.0F)->isEqual(*at(10.000001F)));
    EXPECT_EQ(at(10.0F)->hash(), at(10.0F)->hash());
}

TEST(GivenACuePoint, WhenWrittenAsJSONThenTheCommentIsThereOnlyWhenSet) {
    EXPECT_EQ(drop()->JSONObjectRepresentation(),
              (Dictionary{{"time", 12.5F}, {"number", 2}, {"comment", "drop"}}));
    const auto json = PLXCuePoint::initWithNumber(2, 0.1F, nullptr)->JSONObjectRepresentation();
    EXPECT_EQ(json, (Dictionary{{"time", 0.1F}, {"number", 2}}));
    EXPECT_EQ(json["time"].kind(), Value::Kind::real32);
    EXPECT_EQ(json["number"].kind(), Value::Kind::integer);
    EXPECT_TRUE(
        PLXCuePoint::initWithNumber(1, 1, "")->JSONObjectRepresentation().contains("comment"))
        << "empty is set";
}

TEST(GivenAJSONObjectOfACue, WhenARequiredEntryIsNoNumberThenThereIsNoCue) {
    for (const char* text :
         {"{}", R"({"time":12.5})", R"({"number":2})", R"({"time":null,"number":2})",
          R"({"time":12.5,"number":null})", R"({"time":[],"number":2})",
          R"({"time":12.5,"number":[2]})", R"({"time":{},"number":2})",
          R"({"time":12.5,"number":{"number":2}})", R"({"Time":12.5,"number":2})",
          R"({"time":12.5,"number":2,"number":null})", R"([12.5,2])", "12.5", "null", ""})
        EXPECT_EQ(cueOfJSON(text), nullptr) << text;
    EXPECT_EQ(PLXCuePoint::initWithJSONObject({{"time", Date{1}}, {"number", 2}}), nullptr);
}

TEST(GivenAJSONObjectOfACue, WhenTheCommentIsBlankOrNoTextThenThereIsNone) {
    for (const char* comment :
         {R"("   ")", R"("")", R"("\n\t ")", "null", "5", "[]", "{}", "true"}) {
        const auto cue =
            cueOfJSON(R"({"time":12.5,"number":2,"comment":)" + std::string(comment) + "}");
        ASSERT_TRUE(cue) << comment;
        EXPECT_EQ(cue->number(), 2);
        EXPECT_EQ(cue->time(), 12.5F);
        EXPECT_FALSE(cue->comment()) << comment;
    }
    EXPECT_EQ(cueOfJSON(R"({"time":1,"number":2,"comment":" the drop\n"})")->comment(), "the drop");
}

TEST(GivenAJSONObjectOfACue, WhenNumbersAreOddThenTheNearestIsTaken) {
    constexpr float most = std::numeric_limits<float>::max();
    using Whole = std::numeric_limits<std::int64_t>;
    struct {
        const char* entry;
        float time;
        std::int64_t number;
    } const cases[] = {
        {"7", 7, 7},
        {"-7.9", -7.9F, -7},
        {"true", 1, 1},
        {"false", 0, 0},
        {R"("12.5")", 12.5F, 12},
        {R"(" +7x")", 7, 7},
        {R"("")", 0, 0},
        {R"("x")", 0, 0},
        {R"("nan")", 0, 0},
        {R"("inf")", 0, 0},
        {R"("0x10")", 0, 0},
        {"1e99", most, Whole::max()},
        {"-1e99", -most, Whole::min()},
        {"1e-99", 0, 0},
        {R"("1e999")", most, 1},
        {"9223372036854775808", 9223372036854775808.0F, Whole::max()},
        {R"("99999999999999999999")", 1e20F, Whole::max()},
        {R"("-99999999999999999999")", -1e20F, Whole::min()},
    };
    for (const auto& [entry, time, number] : cases) {
        const std::string text(entry);
        const auto cue = cueOfJSON("{\"time\":" + text + ",\"number\":" + text + "}");
        ASSERT_TRUE(cue) << entry;
        EXPECT_EQ(cue->time(), time) << entry;
        EXPECT_EQ(cue->number(), number) << entry;
    }
}

TEST(GivenACuePoint, WhenItsTimeIsNotFiniteThenItHasNoJSONText) {
    for (const float time : {std::nanf(""), INFINITY, -INFINITY})
        EXPECT_FALSE(
            jsonText(PLXCuePoint::initWithNumber(1, time, nullptr)->JSONObjectRepresentation()));
}

RC_GTEST_PROP(CuePointJSON, GivesEveryFiniteTimeBackBitForBit, (std::uint32_t bits)) {
    const float time = std::bit_cast<float>(bits);
    RC_PRE(std::isfinite(time));
    const auto cue = PLXCuePoint::initWithNumber(*rc::gen::arbitrary<std::int64_t>(), time, "x");
    const auto read = cueOfJSON(jsonText(cue->JSONObjectRepresentation()));
    RC_ASSERT(std::bit_cast<std::uint32_t>(read->time()) == bits);
    RC_ASSERT(read->isEqual(*cue));
}

TEST(GivenACuePoint, WhenItsArchiveIsDamagedThenItReadsAsOneOrNil) { readDamagedArchives(*drop()); }

}  // namespace
}  // namespace qsml
