#include "tracks/PLXMediaItemSource.h"

#include <gtest/gtest.h>

#include "organisation/detail/testing/FaultyLibrary.h"
#include "tracks/PLXMediaItem.h"
#include "tracks/PLXMediaItemLocation.h"
#include "tracks/detail/testing/TrackLibrary.h"

namespace qsml {
namespace {

using Location = PLXMediaItemLocation;
constexpr auto items = PLXDatabaseCollectionMediaItems;
constexpr auto locals = PLXDatabaseCollectionLocalMediaItemLocations;
constexpr auto globals = PLXDatabaseCollectionGlobalMediaItemLocations;

class GivenAMediaItemSource : public TrackSource<PLXMediaItemSource> {
protected:
    std::shared_ptr<Location> location(std::int64_t type) {
        return Location::initWithTitleID(titleID_, {}, type);
    }
};

TEST_F(GivenAMediaItemSource, WhenAMediaItemIsStoredThenItIsFoundByItsTitleID) {
    const auto item = PLXMediaItem::initWithTitleID(titleID_);
    item->setTitle("Song");
    EXPECT_EQ(source_.mediaItemForTitleID(titleID_), nullptr);
    EXPECT_TRUE(source_.setMediaItem(item, nullptr));
    const auto found = source_.mediaItemForTitleID(titleID_);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->title(), "Song");
    EXPECT_TRUE(found->isImmutable());
    EXPECT_EQ(source_.mediaItemForTitleID(titleIDOf("Other")), nullptr);
    EXPECT_EQ(rows(), 1U);
}

TEST_F(GivenAMediaItemSource, WhenAMediaItemIsStoredWithALocationThenEachIsInItsCollection) {
    const auto item = PLXMediaItem::initWithTitleID(titleID_);
    const auto before = commits();
    EXPECT_TRUE(source_.setMediaItem(item, location(0)));
    EXPECT_EQ(commits(), before + 1) << "one transaction";
    EXPECT_TRUE(stored<Location>(titleID_->internalID(), locals));
    EXPECT_FALSE(stored<Location>(titleID_->internalID(), globals));
    EXPECT_TRUE(source_.setMediaItem(item, location(1)));
    EXPECT_TRUE(stored<Location>(titleID_->internalID(), globals));
    EXPECT_TRUE(stored<PLXMediaItem>(titleID_->internalID(), items));
}

TEST_F(GivenAMediaItemSource, WhenTheLocationIsOfAnotherTypeThenItIsDroppedAndTheItemStored) {
    for (const std::int64_t type : {2, -1}) {
        EXPECT_TRUE(source_.setMediaItem(PLXMediaItem::initWithTitleID(titleID_), location(type)));
        EXPECT_TRUE(source_.mediaItemForTitleID(titleID_));
        EXPECT_EQ(rows(), 1U);
    }
}

TEST_F(GivenAMediaItemSource, WhenThereIsNoMediaItemOrItHasNoKeyThenNothingIsStored) {
    EXPECT_FALSE(source_.setMediaItem(nullptr, location(0)));
    EXPECT_FALSE(source_.setMediaItem(PLXMediaItem::initWithUUID(nullptr), location(0)));
    EXPECT_EQ(rows(), 0U);
}

TEST_F(GivenAMediaItemSource, WhenTheLocationHasNoKeyThenItIsDroppedAndTheItemStored) {
    EXPECT_TRUE(source_.setMediaItem(PLXMediaItem::initWithTitleID(titleID_),
                                     Location::initWithUUID(nullptr)));
    EXPECT_TRUE(source_.mediaItemForTitleID(titleID_));
    EXPECT_EQ(rows(), 1U);
}

TEST_F(GivenAMediaItemSource, WhenThereAreTwoLocationsThenTheLocalOneGoesFirst) {
    EXPECT_EQ(source_.mediaItemLocationForTitleID(titleID_), nullptr);
    EXPECT_EQ(source_.mediaItemLocationsForTitleID(titleID_), std::nullopt);
    store(location(1), globals);
    EXPECT_EQ(source_.mediaItemLocationForTitleID(titleID_)->type(), 1);
    EXPECT_EQ(source_.mediaItemLocationsForTitleID(titleID_)->size(), 1U);
    store(location(0), locals);
    EXPECT_EQ(source_.mediaItemLocationForTitleID(titleID_)->type(), 0);
    const auto both = source_.mediaItemLocationsForTitleID(titleID_);
    ASSERT_EQ(both->size(), 2U);
    EXPECT_EQ(both->at(0)->type(), 0);
    EXPECT_EQ(both->at(1)->type(), 1);
}

TEST_F(GivenAMediaItemSource, WhenAskedByTypeThenEveryTypeButZeroIsGlobal) {
    store(location(0), locals);
    EXPECT_TRUE(source_.mediaItemLocationForTitleID(titleID_, 0));
    EXPECT_EQ(source_.mediaItemLocationForTitleID(titleID_, 1), nullptr);
    store(location(1), globals);
    for (const std::int64_t type : {1, 2, -1})
        EXPECT_EQ(source_.mediaItemLocationForTitleID(titleID_, type)->type(), 1) << type;
}

TEST_F(GivenAMediaItemSource, WhenAnotherKindOfRecordIsThereThenItIsNoMediaItem) {
    store(PLXMediaItemTitleID::initWithUUID(titleID_->internalID()), items);
    EXPECT_EQ(source_.mediaItemForTitleID(titleID_), nullptr);
}

void expectNothing(const PLXMediaItemSource& source,
                   const std::shared_ptr<const PLXMediaItemTitleID>& titleID) {
    EXPECT_EQ(source.mediaItemForTitleID(titleID), nullptr);
    EXPECT_EQ(source.mediaItemLocationForTitleID(titleID), nullptr);
    EXPECT_EQ(source.mediaItemLocationForTitleID(titleID, 1), nullptr);
    EXPECT_EQ(source.mediaItemLocationsForTitleID(titleID), std::nullopt);
}

TEST_F(GivenAMediaItemSource, WhenTheTitleIDHasNoInternalIDThenNothingIsFound) {
    expectNothing(source_, titleIDWithoutInternalID());
    expectNothing(source_, nullptr);
}

TEST(GivenAManagerThatIsNotSetUp, WhenItsMediaItemsAreAskedThenNothingIsFoundOrStored) {
    PLXDatabaseManager manager;
    PLXMediaItemSource source(manager);
    EXPECT_FALSE(source.setMediaItem(PLXMediaItem::initWithTitleID(titleIDOf("Song")), nullptr));
    expectNothing(source, titleIDOf("Song"));
}

TEST(GivenTheSharedManager, WhenTheSharedMediaItemSourceIsAskedThenItIsOneAndStoresThere) {
    auto& manager = sharedLibrary();
    auto& source = PLXMediaItemSource::sharedInstance();
    EXPECT_EQ(&source, &PLXMediaItemSource::sharedInstance());
    EXPECT_TRUE(source.setMediaItem(PLXMediaItem::initWithTitleID(titleIDOf("Shared")), nullptr));
    EXPECT_TRUE(PLXMediaItemSource(manager).mediaItemForTitleID(titleIDOf("Shared")));
}

TEST(GivenALibraryWhoseFileFails, WhenAMediaItemIsStoredThenItIsThereWithItsLocationOrNotAtAll) {
    FaultyLibrary library;
    bool isStored = false;
    const auto operation = [&](PLXDatabaseManager& manager) {
        isStored = PLXMediaItemSource(manager).setMediaItem(
            PLXMediaItem::initWithTitleID(titleIDOf("Song")),
            Location::initWithTitleID(titleIDOf("Song"), {}, 0));
    };
    const auto verify = [&](PLXDatabaseManager& manager) {
        const PLXMediaItemSource source(manager);
        const bool isThere = source.mediaItemForTitleID(titleIDOf("Song")) != nullptr;
        EXPECT_EQ(source.mediaItemLocationForTitleID(titleIDOf("Song")) != nullptr, isThere);
        EXPECT_TRUE(isThere || !isStored);
    };
    EXPECT_GT(library.forEachFailingWrite({}, operation, verify), 0U);
}

}  // namespace
}  // namespace qsml
