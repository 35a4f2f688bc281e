#include <gtest/gtest.h>

#include <limits>

#include "database/extensions/testing/IndexedLibrary.h"

namespace qsml {
namespace {

class GivenAnIndexOfAnalyzedData : public IndexedLibrary {
protected:
    void analyze(float bpm, std::int64_t key) {
        const auto data = PLXMediaItemAnalyzedData::initWithUUID("track");
        data->setBpm(bpm);
        data->setKeySignatureIndex(key);
        store(data, "mediaItemAnalyzedData");
    }
    void setByHand(float bpm) {
        const auto data = PLXMediaItemUserData::initWithUUID("track");
        data->setManualBPM(bpm);
        store(data, "mediaItemUserData");
    }
    Columns indexed() {
        return columns("mediaItemAnalyzedDataIndex", "track", "mediaItemAnalyzedData");
    }
};

TEST_F(GivenAnIndexOfAnalyzedData, WhenTempoAndKeyAreKnownThenTheyAreColumns) {
    analyze(127.3F, 5);
    EXPECT_EQ(indexed(), (Columns{{"bpm", double{127.3F}}, {"keySignatureIndex", 5}}));
    setByHand(90.1F);
    EXPECT_EQ(
        indexed(),
        (Columns{{"bpm", double{127.3F}}, {"keySignatureIndex", 5}, {"manualBPM", double{90.1F}}}));
}

TEST_F(GivenAnIndexOfAnalyzedData, WhenTheyAreUnknownThenTheColumnsStayEmpty) {
    setByHand(0);
    analyze(0, -1);
    EXPECT_EQ(indexed(), Columns{});
    EXPECT_EQ(rowsIn("mediaItemAnalyzedDataIndex"), 0U);
    analyze(0, 0);
    EXPECT_EQ(indexed(), (Columns{{"keySignatureIndex", 0}})) << "0 is a key";
    setByHand(-1);
    analyze(-120, -2);
    EXPECT_EQ(indexed(), Columns{});
    setByHand(std::numeric_limits<float>::quiet_NaN());
    analyze(std::numeric_limits<float>::quiet_NaN(), -1);
    EXPECT_EQ(indexed(), Columns{});
    setByHand(std::numeric_limits<float>::denorm_min());
    EXPECT_EQ(indexed(),
              (Columns{{"manualBPM", double{std::numeric_limits<float>::denorm_min()}}}));
}

TEST_F(GivenAnIndexOfAnalyzedData, WhenTheUserDataOfTheTrackChangesThenItsTempoFollows) {
    analyze(120, -1);
    setByHand(90);
    EXPECT_EQ(indexed()["manualBPM"], 90.0);
    setByHand(91);
    EXPECT_EQ(indexed()["manualBPM"], 91.0);
    setByHand(0);
    EXPECT_EQ(indexed(), (Columns{{"bpm", 120.0}}));
    setByHand(92);
    remove("track", "mediaItemUserData");
    EXPECT_EQ(indexed(), (Columns{{"bpm", 120.0}}));
}

TEST_F(GivenAnIndexOfAnalyzedData, WhenBothAreWrittenInOneTransactionThenTheOrderDoesNotMatter) {
    for (const bool userDataFirst : {false, true}) {
        const auto analyzed = PLXMediaItemAnalyzedData::initWithUUID("track");
        const auto byHand = PLXMediaItemUserData::initWithUUID("track");
        byHand->setManualBPM(userDataFirst ? 90.0F : 80.0F);
        write([&](Writer& transaction) {
            if (userDataFirst) transaction.setObject(byHand, "track", "mediaItemUserData");
            transaction.setObject(analyzed, "track", "mediaItemAnalyzedData");
            transaction.setObject(byHand, "track", "mediaItemUserData");
        });
        EXPECT_EQ(indexed()["manualBPM"], userDataFirst ? 90.0 : 80.0);
    }
}

TEST_F(GivenAnIndexOfAnalyzedData, WhenRowsAreOfOtherKindsOrCollectionsThenTheyAreIgnored) {
    setByHand(90);
    store(PLXMediaArtist::initWithName("Band"), "mediaItemAnalyzedData");
    const auto data = PLXMediaItemAnalyzedData::initWithUUID("track");
    data->setBpm(120);
    store(data, "elsewhere");
    EXPECT_EQ(rowsIn("mediaItemAnalyzedDataIndex"), 0U);
    remove("track", "mediaItemUserData");
    store(PLXMediaItemTitleID::initWithUUID("track"), "mediaItemUserData");
    analyze(120, -1);
    EXPECT_EQ(indexed(), (Columns{{"bpm", 120.0}})) << "no user data under its key";
}

}  // namespace
}  // namespace qsml
