#include "tracks/PLXLoopRegion.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <bit>
#include <cmath>

#include "foundation/JSON.h"
#include "testing/recordTable.h"

namespace qsml {
namespace {

std::shared_ptr<PLXLoopRegion> hook() {
    return PLXLoopRegion::initWithNumber(1, 16, 32.5F, "hook");
}

std::shared_ptr<PLXLoopRegion> loopOfJSON(std::string_view text) {
    return PLXLoopRegion::initWithJSONObject(valueOfJSONText(text).dictionary());
}

TEST(GivenALoopRegion, WhenHeldAgainstItsTableThenKeysDefaultsAndChecksAreThose) {
    expectTable<PLXLoopRegion>({{"number", Takes::whole, 0},
                                {"startTime", Takes::real, 0.0F},
                                {"endTime", Takes::real, 0.0F},
                                {"comment", Takes::text}},
                               *hook());
}

TEST(GivenALoopRegion, WhenArchivedThenAnEqualOneIsReadBack) {
    const auto read = recordFrom<PLXLoopRegion>(archiveOf(*hook()));
    ASSERT_TRUE(read);
    EXPECT_TRUE(read->isEqualToLoopRegion(hook().get()));
    EXPECT_EQ(archiveOf(*read), archiveOf(*hook()));
}

TEST(GivenALoopRegion, WhenAnotherProgramHasWrittenItThenItIsRead) {
    const auto read = recordFrom<PLXLoopRegion>(foreignArchive({{"$class", "PLXLoopRegion"},
                                                                {"endTime", 32.5},
                                                                {"startTime", 16},
                                                                {"number", 1},
                                                                {"comment", "hook"}}));
    ASSERT_TRUE(read);
    EXPECT_TRUE(read->isEqual(*hook()));
}

TEST(GivenALoopRegion, WhenItsCopyIsChangedThenItStaysAsItWas) {
    const auto loop = hook();
    const auto copy = loop->copy();
    copy->setNumber(2);
    copy->setStartTime(1);
    copy->setEndTime(2);
    copy->setComment(nullptr);
    EXPECT_TRUE(copy->isEqual(*PLXLoopRegion::initWithNumber(2, 1, 2, nullptr)));
    EXPECT_TRUE(loop->isEqual(*hook()));
}

TEST(GivenTwoLoopRegions, WhenAnyPropertyDiffersThenTheyAreNotEqual) {
    const auto equals = [](std::int64_t number, float start, float end, const String& comment) {
        const auto other = PLXLoopRegion::initWithNumber(number, start, end, comment);
        EXPECT_EQ(hook()->isEqual(*other), other->isEqual(*hook()));
        return hook()->isEqualToLoopRegion(other.get());
    };
    EXPECT_TRUE(equals(1, 16, 32.5F, "hook"));
    EXPECT_FALSE(equals(2, 16, 32.5F, "hook"));
    EXPECT_FALSE(equals(1, std::nextafter(16.0F, 17.0F), 32.5F, "hook"));
    EXPECT_FALSE(equals(1, 16, std::nextafter(32.5F, 33.0F), "hook"));
    EXPECT_FALSE(equals(1, 16, 32.5F, "Hook"));
    EXPECT_FALSE(equals(1, 16, 32.5F, nullptr));
    EXPECT_FALSE(hook()->isEqualToLoopRegion(nullptr));
}

TEST(GivenALoopRegion, WhenWrittenAsJSONThenTheCommentIsThereOnlyWhenSet) {
    EXPECT_EQ(
        hook()->JSONObjectRepresentation(),
        (Dictionary{{"startTime", 16.0F}, {"endTime", 32.5F}, {"number", 1}, {"comment", "hook"}}));
    EXPECT_EQ(PLXLoopRegion::initWithNumber(1, 2, 3, nullptr)->JSONObjectRepresentation(),
              (Dictionary{{"startTime", 2.0F}, {"endTime", 3.0F}, {"number", 1}}));
}

TEST(GivenAJSONObjectOfALoop, WhenARequiredEntryIsNoNumberThenThereIsNoLoop) {
    for (const char* text :
         {"{}", R"({"startTime":1,"number":2})", R"({"endTime":1,"number":2})",
          R"({"startTime":1,"endTime":2})", R"({"startTime":null,"endTime":2,"number":1})",
          R"({"startTime":1,"endTime":null,"number":1})",
          R"({"startTime":1,"endTime":2,"number":null})",
          R"({"startTime":[1],"endTime":2,"number":1})",
          R"({"startTime":1,"endTime":{},"number":1})",
          R"({"startTime":1,"endTime":2,"number":[]})", R"({"time":1,"number":2})"})
        EXPECT_EQ(loopOfJSON(text), nullptr) << text;
}

TEST(GivenAJSONObjectOfALoop, WhenItIsCompleteThenTextsCountAsNumbersAndTheCommentIsCleaned) {
    const auto loop =
        loopOfJSON(R"({"startTime":"16","endTime":32.5,"number":"1","comment":" hook "})");
    ASSERT_TRUE(loop);
    EXPECT_TRUE(loop->isEqual(*hook()));
    EXPECT_FALSE(loopOfJSON(R"({"startTime":1,"endTime":2,"number":1,"comment":" "})")->comment());
    EXPECT_FALSE(loopOfJSON(R"({"startTime":1,"endTime":2,"number":1,"comment":[]})")->comment());
}

RC_GTEST_PROP(LoopRegionJSON, GivesEveryFiniteTimeBackBitForBit,
              (std::uint32_t startBits, std::uint32_t endBits)) {
    const auto start = std::bit_cast<float>(startBits), end = std::bit_cast<float>(endBits);
    RC_PRE(std::isfinite(start) && std::isfinite(end));
    const auto loop = PLXLoopRegion::initWithNumber(1, start, end, nullptr);
    const auto read = loopOfJSON(jsonText(loop->JSONObjectRepresentation()));
    RC_ASSERT(std::bit_cast<std::uint32_t>(read->startTime()) == startBits);
    RC_ASSERT(std::bit_cast<std::uint32_t>(read->endTime()) == endBits);
}

TEST(GivenALoopRegion, WhenItsArchiveIsDamagedThenItReadsAsOneOrNil) {
    readDamagedArchives(*hook());
}

}  // namespace
}  // namespace qsml
