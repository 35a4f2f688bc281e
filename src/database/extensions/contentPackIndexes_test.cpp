#include <gtest/gtest.h>

#include "contentpacks/PLXLooperPack.h"
#include "contentpacks/PLXSamplerPack.h"
#include "contentpacks/PLXTrackPack.h"
#include "contentpacks/PLXVisualizerPack.h"
#include "database/extensions/testing/IndexedLibrary.h"

namespace qsml {
namespace {

class GivenIndexesOfPacks : public IndexedLibrary {
protected:
    template <class Pack>
    Columns indexed(const String& name, std::optional<Date> addedDate) {
        const auto pack = Pack::initWithUUID("pack");
        pack->setName(name);
        pack->setAddedDate(addedDate);
        store(pack, "contentPacks");
        store(pack, "userContentPacks");
        const auto found = columns("contentPackIndex", "pack", "contentPacks");
        EXPECT_EQ(columns("userContentPackIndex", "pack", "userContentPacks"), found);
        return found;
    }
};

TEST_F(GivenIndexesOfPacks, WhenAPackIsStoredThenItsKindIsItsType) {
    const auto expected = [](const char* type) {
        return Columns{{"name", "Deep"}, {"type", type}, {"addedDate", 10.5}};
    };
    EXPECT_EQ(indexed<PLXLooperPack>("Deep", Date{10.5}), expected("looper"));
    EXPECT_EQ(indexed<PLXVisualizerPack>("Deep", Date{10.5}), expected("visualizer"));
    EXPECT_EQ(indexed<PLXSamplerPack>("Deep", Date{10.5}), expected("sampler"));
    EXPECT_EQ(indexed<PLXTrackPack>("Deep", Date{10.5}), expected("track"));
    EXPECT_EQ(indexed<PLXContentPack>("Deep", Date{10.5}),
              (Columns{{"name", "Deep"}, {"addedDate", 10.5}}))
        << "a kind without a name";
}

TEST_F(GivenIndexesOfPacks, WhenNameOrDateAreUnknownThenTheDateIsZero) {
    EXPECT_EQ(indexed<PLXTrackPack>(nullptr, std::nullopt),
              (Columns{{"type", "track"}, {"addedDate", 0.0}}));
    EXPECT_EQ(indexed<PLXTrackPack>("", Date{-1}),
              (Columns{{"name", ""}, {"type", "track"}, {"addedDate", -1.0}}));
}

TEST_F(GivenIndexesOfPacks, WhenRowsAreOfOtherKindsOrCollectionsThenTheyAreIgnored) {
    store(PLXMediaArtist::initWithName("Band"), "contentPacks");
    store(PLXMediaArtist::initWithName("Band"), "userContentPacks");
    const auto pack = PLXTrackPack::initWithUUID("pack");
    store(pack, "elsewhere");
    EXPECT_EQ(rowsIn("contentPackIndex"), 0U);
    EXPECT_EQ(rowsIn("userContentPackIndex"), 0U);
    store(pack, "userContentPacks");
    EXPECT_EQ(rowsIn("contentPackIndex"), 0U);
    EXPECT_EQ(rowsIn("userContentPackIndex"), 1U);
}

}  // namespace
}  // namespace qsml
