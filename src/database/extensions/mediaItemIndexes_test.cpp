// The two indexes that setup does not register.
#include <gtest/gtest.h>

#include "database/extensions/testing/IndexedLibrary.h"

namespace qsml {
namespace {

using TitleID = std::shared_ptr<const PLXMediaItemTitleID>;

TitleID titleIDOf(const String& title, const String& isrc = {}) {
    return PLXMediaItemTitleID::initWithTitle(title, "Band", 200, isrc);
}

class GivenTheIndexesThatNothingAsks : public IndexedLibrary {
protected:
    void SetUp() override {
        IndexedLibrary::SetUp();
        store(tag_, "mediaItemTags");
        store(otherTag_, "mediaItemTags");
        manager_.setupMediaItemSecondaryIndexExtension();
        manager_.setupMediaItemUserDataSecondaryIndexExtension();
    }
    std::shared_ptr<PLXMediaItemUserData> userData(const std::vector<String>& tagUUIDs) {
        const auto data = PLXMediaItemUserData::initWithUUID("track");
        data->setTagUUIDs(OrderedSet<String>(tagUUIDs));
        return data;
    }
    Value tagsOfTrack() {
        return columns("mediaItemUserDataIndex", "track", "mediaItemUserData")["tags"];
    }
    const std::shared_ptr<PLXMediaItemTag> tag_ = PLXMediaItemTag::initWithValue("warm up"),
                                           otherTag_ = PLXMediaItemTag::initWithValue("loud");
};

TEST_F(GivenTheIndexesThatNothingAsks, WhenAMediaItemIsStoredThenTheDigestOfItsTitleIDIsIndexed) {
    const auto item = PLXMediaItem::initWithTitleID(titleIDOf("Song"));
    store(item, "mediaItems");
    EXPECT_EQ(columns("mediaItemIndex", item->uuid(), "mediaItems"),
              (Columns{{"titleID", Value(titleIDOf("Song")->hashRepresentation())}}));
    store(item, "elsewhere");
    EXPECT_EQ(rowsIn("mediaItemIndex"), 2U) << "of all collections";
    store(PLXMediaItem::initWithUUID("without a title ID"), "mediaItems");
    store(PLXMediaArtist::initWithName("Band"), "mediaItems");
    EXPECT_EQ(rowsIn("mediaItemIndex"), 2U);
}

TEST_F(GivenTheIndexesThatNothingAsks, WhenUserDataIsStoredThenItsListsAreJoinedInBraces) {
    const auto data = userData({tag_->uuid(), "missing", otherTag_->uuid()});
    const auto one = titleIDOf("One", "DE-1"), two = titleIDOf("Two"),
               three = titleIDOf("Three", "DE-3");
    data->setTitleIDs(std::vector<TitleID>{one, two, three});
    store(data, "mediaItemUserData");
    const auto braced = [](const TitleID& titleID) {
        return "{{" + titleID->internalID().str() + "}}";
    };
    EXPECT_EQ(columns("mediaItemUserDataIndex", "track", "mediaItemUserData"),
              (Columns{{"tags", "{{warm up}} {{loud}}"},
                       {"titleIDs", braced(one) + " " + braced(two) + " " + braced(three)},
                       {"isrcs", "{{DE-1}} {{DE-3}}"}}));
}

TEST_F(GivenTheIndexesThatNothingAsks, WhenListsAreEmptyOrOfNothingThenTheyHaveNoColumn) {
    const auto data = userData({"missing"});
    data->setTitleIDs(std::vector<TitleID>{PLXMediaItemTitleID::initWithUUID(nullptr)});
    store(data, "mediaItemUserData");
    store(PLXMediaItemUserData::initWithUUID("bare"), "mediaItemUserData");
    store(PLXMediaArtist::initWithName("Band"), "mediaItemUserData");
    store(userData({tag_->uuid()}), "elsewhere");
    EXPECT_EQ(rowsIn("mediaItemUserDataIndex"), 0U);
}

TEST_F(GivenTheIndexesThatNothingAsks, WhenATagChangesThenTheUserDataThatCarriesItFollows) {
    store(userData({tag_->uuid(), otherTag_->uuid()}), "mediaItemUserData");
    const auto changed = tag_->copy();
    changed->setValue("opening");
    store(changed, "mediaItemTags");
    EXPECT_EQ(tagsOfTrack(), "{{opening}} {{loud}}");
    remove(otherTag_->uuid(), "mediaItemTags");
    EXPECT_EQ(tagsOfTrack(), "{{opening}}");
    store(PLXMediaItemTag::initWithUUID(tag_->uuid()), "mediaItemTags");
    EXPECT_EQ(tagsOfTrack(), Value()) << "a tag without a text";
    store(otherTag_, "mediaItemTags");
    EXPECT_EQ(tagsOfTrack(), "{{loud}}") << "back again";
}

}  // namespace
}  // namespace qsml
