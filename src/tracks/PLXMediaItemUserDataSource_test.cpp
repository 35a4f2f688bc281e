#include "tracks/PLXMediaItemUserDataSource.h"

#include <gtest/gtest.h>

#include <thread>

#include "organisation/detail/testing/FaultyLibrary.h"
#include "tracks/PLXMediaItem.h"
#include "tracks/PLXMediaItemLocation.h"
#include "tracks/detail/testing/UserDataLibrary.h"

namespace qsml {
namespace {

using Record = PLXMediaItemUserData;

class GivenAUserDataSource : public UserDataLibrary {};

TEST_F(GivenAUserDataSource, WhenNothingIsStoredThenNothingIsFound) {
    EXPECT_EQ(source_.mediaItemUserDataForTitleID(titleID_), nullptr);
    EXPECT_EQ(findOrMake(titleID_, false), nullptr);
    EXPECT_EQ(rows(), 0U);
}

TEST_F(GivenAUserDataSource, WhenAskedToCreateThenTheRecordAndTheTitleIDAreStoredOnce) {
    const auto made = findOrMake(titleID_, true);
    ASSERT_TRUE(made);
    EXPECT_TRUE(made->isImmutable());
    EXPECT_EQ(made->uuid(), titleID_->internalID());
    ASSERT_EQ(made->titleIDs()->size(), 1U);
    EXPECT_TRUE(storedFor(titleID_));
    EXPECT_TRUE(
        stored<PLXMediaItemTitleID>(titleID_->uuid(), PLXDatabaseCollectionMediaItemTitleIDs));
    const auto before = commits();
    EXPECT_EQ(findOrMake(titleID_, true)->uuid(), made->uuid());
    runDeferredWrites();
    EXPECT_EQ(commits(), before);
    EXPECT_EQ(rows(), 2U);
}

TEST_F(GivenAUserDataSource, WhenARecordIsThereThenItIsFoundAndNoTitleIDIsStored) {
    storeUserData(titleID_, Deck::empty, 4);
    EXPECT_EQ(findOrMake(titleID_, true)->rating(), 4);
    EXPECT_EQ(rows(), 1U);
}

TEST_F(GivenAUserDataSource, WhenTheTitleIDHasNoInternalIDThenNothingHappens) {
    const auto location = PLXMediaItemLocation::initWithUUID("u");
    for (const TitleID& titleID : {titleIDWithoutInternalID(), TitleID()}) {
        EXPECT_EQ(source_.mediaItemUserDataForTitleID(titleID), nullptr);
        EXPECT_EQ(source_.mediaItemUserDataForTitleID(titleID, true, location, {}), nullptr);
        readWrite([&](Writer& transaction) {
            EXPECT_EQ(source_.mediaItemUserDataForTitleID(titleID, true, location, {}, transaction),
                      nullptr);
        });
    }
    EXPECT_EQ(rows(), 0U);
}

TEST_F(GivenAUserDataSource, WhenALocationIsGivenThenItIsStoredWhetherOrNotARecordIsFound) {
    const auto located = [&] {
        return stored<PLXMediaItemLocation>("u", PLXDatabaseCollectionLocalMediaItemLocations);
    };
    const auto location = PLXMediaItemLocation::initWithUUID("u");
    EXPECT_EQ(source_.mediaItemUserDataForTitleID(titleID_, false, location, {}), nullptr);
    ASSERT_TRUE(located());
    EXPECT_EQ(rows(), 1U) << "nothing else";
    const std::string file = directory_.file("song.mp3");
    writeFile(file, "music");
    EXPECT_TRUE(
        source_.mediaItemUserDataForTitleID(titleID_, true, location, URL::fileURLWithPath(file)));
    EXPECT_TRUE(located()->urlBookmarkData()) << "the URL goes with it";
}

TEST_F(GivenAUserDataSource, WhenTheRecordCannotBeReadThenAGivenLocationIsStoredAllTheSame) {
    storeUndecodable(titleID_->internalID(), collection);
    const auto located = [&](const char* key) {
        return stored<PLXMediaItemLocation>(key, PLXDatabaseCollectionLocalMediaItemLocations);
    };
    EXPECT_EQ(source_.mediaItemUserDataForTitleID(titleID_, true,
                                                  PLXMediaItemLocation::initWithUUID("a"), {}),
              nullptr);
    EXPECT_TRUE(located("a"));
    readWrite([&](Writer& transaction) {
        EXPECT_EQ(source_.mediaItemUserDataForTitleID(
                      titleID_, true, PLXMediaItemLocation::initWithUUID("b"), {}, transaction),
                  nullptr);
    });
    EXPECT_TRUE(located("b"));
    EXPECT_EQ(rows(), 3U);
}

TEST_F(GivenAUserDataSource, WhenARecordIsCreatedThenTheCallersTitleIDStaysMutable) {
    const auto mine = PLXMediaItemTitleID::initWithTitle("Mine", "Band", 200, {});
    EXPECT_TRUE(findOrMake(mine, true));
    EXPECT_FALSE(mine->isImmutable());
    EXPECT_EQ(rows(), 2U);
}

TEST_F(GivenAUserDataSource, WhenTheTitleIDHasAnInternalIDOnlyThenTheRecordIsMadeWithoutIt) {
    const auto titleID = PLXMediaItemTitleID::initWithUUID(nullptr);
    titleID->setInternalID("track");
    EXPECT_TRUE(findOrMake(titleID, true));
    EXPECT_TRUE(storedFor(titleID));
    EXPECT_EQ(rows(), 1U);
}

TEST_F(GivenAUserDataSource, WhenATransactionIsGivenThenEverythingHappensInIt) {
    readWrite([&](Writer& transaction) {
        const auto made =
            source_.mediaItemUserDataForTitleID(titleID_, true, nullptr, {}, transaction);
        EXPECT_EQ(source_.lookupMediaItemUserDataForTitleID(titleID_, transaction), made);
        EXPECT_EQ(source_.mediaItemUserDataForTitleID(titleID_, transaction), made);
        const auto changed = made->copy();
        changed->setRating(3);
        EXPECT_TRUE(source_.setMediaItemUserData(changed, transaction));
        transaction.rollback();
    });
    EXPECT_EQ(rows(), 0U);
}

TEST_F(GivenAUserDataSource, WhenUserDataIsStoredThenItsMediaItemIsTouchedAndNotWritten) {
    store(PLXMediaItem::initWithTitleID(titleID_), PLXDatabaseCollectionMediaItems);
    const auto item = stored<PLXMediaItem>(titleID_->internalID(), PLXDatabaseCollectionMediaItems);
    const auto announced = announcedMediaItems(
        [&] { EXPECT_TRUE(source_.setMediaItemUserData(Record::initWithTitleID(titleID_))); });
    EXPECT_EQ(announced, std::vector<std::string>{titleID_->internalID().str()});
    EXPECT_EQ(stored<PLXMediaItem>(titleID_->internalID(), PLXDatabaseCollectionMediaItems), item);
    EXPECT_TRUE(storedFor(titleID_));
}

TEST_F(GivenAUserDataSource, WhenThereIsNothingToStoreThenThatIsFalse) {
    EXPECT_FALSE(source_.setMediaItemUserData(nullptr));
    EXPECT_FALSE(source_.setMediaItemUserData(Record::initWithUUID(nullptr)));
    EXPECT_EQ(rows(), 0U);
}

TEST_F(GivenAUserDataSource, WhenManyThreadsAskToCreateThenOneRecordIsMade) {
    const auto before = commits();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] { EXPECT_TRUE(findOrMake(titleID_, true)); });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(commits(), before + 1);
}

TEST_F(GivenAUserDataSource, WhenWhatIsStoredDoesNotDecodeThenItIsNotReplaced) {
    storeUndecodable(titleID_->internalID(), collection);
    EXPECT_EQ(findOrMake(titleID_, true), nullptr);
    EXPECT_EQ(rows(), 1U);
    EXPECT_EQ(storedFor(titleID_), nullptr);
}

TEST(GivenAManagerThatIsNotSetUp, WhenItsUserDataIsAskedThenNothingIsFoundOrStored) {
    PLXDatabaseManager manager;
    PLXMediaItemUserDataSource source(manager);
    EXPECT_EQ(source.mediaItemUserDataForTitleID(titleIDOf("Song")), nullptr);
    EXPECT_EQ(source.mediaItemUserDataForTitleID(titleIDOf("Song"), true, nullptr, {}), nullptr);
    EXPECT_FALSE(source.setMediaItemUserData(Record::initWithUUID("u")));
}

TEST(GivenTheSharedManager, WhenTheSharedUserDataSourceIsAskedThenItIsOneAndStoresThere) {
    auto& manager = sharedLibrary();
    auto& source = PLXMediaItemUserDataSource::sharedInstance();
    EXPECT_EQ(&source, &PLXMediaItemUserDataSource::sharedInstance());
    EXPECT_TRUE(source.mediaItemUserDataForTitleID(titleIDOf("Shared"), true, nullptr, {}));
    EXPECT_TRUE(
        PLXMediaItemUserDataSource(manager).mediaItemUserDataForTitleID(titleIDOf("Shared")));
}

TEST(GivenALibraryWhoseFileFails, WhenUserDataIsCreatedThenAllOfItIsThereOrNothing) {
    FaultyLibrary library;
    const auto titleID = titleIDOf("Song");
    bool isMade = false;
    const auto operation = [&](PLXDatabaseManager& manager) {
        isMade = PLXMediaItemUserDataSource(manager).mediaItemUserDataForTitleID(
                     titleID, true, PLXMediaItemLocation::initWithUUID("u"), {}) != nullptr;
    };
    const auto verify = [&](PLXDatabaseManager& manager) {
        manager.bgDatabaseConnection()->read([&](auto& transaction) {
            const auto count = transaction.numberOfKeysInAllCollections();
            EXPECT_TRUE(count == 3 || (count == 0 && !isMade)) << count;
        });
    };
    EXPECT_GT(library.forEachFailingWrite({}, operation, verify), 0U);
}

}  // namespace
}  // namespace qsml
