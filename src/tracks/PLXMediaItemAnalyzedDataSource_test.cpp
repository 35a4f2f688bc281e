#include "tracks/PLXMediaItemAnalyzedDataSource.h"

#include <gtest/gtest.h>

#include <thread>

#include "organisation/detail/testing/FaultyLibrary.h"
#include "tracks/PLXMediaItem.h"
#include "tracks/PLXMediaItemAnalyzedData.h"
#include "tracks/PLXMediaItemUserData.h"
#include "tracks/detail/testing/TrackLibrary.h"

namespace qsml {
namespace {

using Data = PLXMediaItemAnalyzedData;
constexpr auto collection = PLXDatabaseCollectionMediaItemAnalyzedData;

class GivenAnAnalyzedDataSource : public TrackSource<PLXMediaItemAnalyzedDataSource> {};

TEST_F(GivenAnAnalyzedDataSource, WhenNothingIsStoredThenItIsFoundOnlyWhenAskedToCreate) {
    EXPECT_EQ(source_.mediaItemAnalyzedDataForTitleID(titleID_), nullptr);
    EXPECT_EQ(source_.mediaItemAnalyzedDataForTitleID(titleID_, false), nullptr);
    EXPECT_EQ(rows(), 0U);
    const auto made = source_.mediaItemAnalyzedDataForTitleID(titleID_, true);
    ASSERT_TRUE(made);
    EXPECT_TRUE(made->isImmutable());
    EXPECT_EQ(made->uuid(), titleID_->internalID());
    EXPECT_EQ(made->keySignatureIndex(), -1);
    EXPECT_TRUE(stored<Data>(made->uuid(), collection));
    EXPECT_TRUE(
        stored<PLXMediaItemTitleID>(titleID_->uuid(), PLXDatabaseCollectionMediaItemTitleIDs));
    EXPECT_EQ(rows(), 2U);
}

TEST_F(GivenAnAnalyzedDataSource, WhenOneIsStoredThenItIsFoundAndNoneIsCreated) {
    const auto data = Data::initWithTitleID(titleID_);
    data->setBpm(120);
    EXPECT_TRUE(source_.setMediaItemAnalyzedData(data));
    const auto before = commits();
    EXPECT_EQ(source_.mediaItemAnalyzedDataForTitleID(titleID_)->bpm(), 120);
    EXPECT_EQ(source_.mediaItemAnalyzedDataForTitleID(titleID_, true)->bpm(), 120);
    EXPECT_EQ(rows(), 1U) << "no title ID either";
    EXPECT_EQ(commits(), before);
}

TEST_F(GivenAnAnalyzedDataSource, WhenWhatIsStoredDoesNotDecodeThenItIsNotReplaced) {
    storeUndecodable(titleID_->internalID(), collection);
    EXPECT_EQ(source_.mediaItemAnalyzedDataForTitleID(titleID_, true), nullptr);
    EXPECT_EQ(rows(), 1U);
    EXPECT_EQ(stored<Data>(titleID_->internalID(), collection), nullptr);
}

TEST_F(GivenAnAnalyzedDataSource, WhenAnotherStoresOneUnseenThenItIsFoundAndNothingIsWritten) {
    commitUnseen(manager_, [&](Writer& transaction) {
        transaction.setObject(Data::initWithTitleID(titleID_), titleID_->internalID(), collection);
    });
    ASSERT_FALSE(stored<Data>(titleID_->internalID(), collection)) << "unseen";
    const auto before = commits();
    EXPECT_TRUE(source_.mediaItemAnalyzedDataForTitleID(titleID_));
    EXPECT_EQ(commits(), before);
}

TEST_F(GivenAnAnalyzedDataSource, WhenOneIsCreatedThenTheCallersTitleIDStaysMutable) {
    const auto mine = PLXMediaItemTitleID::initWithTitle("Mine", "Band", 200, {});
    EXPECT_TRUE(source_.mediaItemAnalyzedDataForTitleID(mine, true));
    EXPECT_FALSE(mine->isImmutable());
    EXPECT_EQ(rows(), 2U);
}

TEST_F(GivenAnAnalyzedDataSource, WhenDataIsStoredThenItsMediaItemIsTouchedAndNotWritten) {
    store(PLXMediaItem::initWithTitleID(titleID_), PLXDatabaseCollectionMediaItems);
    const auto item = stored<PLXMediaItem>(titleID_->internalID(), PLXDatabaseCollectionMediaItems);
    const auto announced = announcedMediaItems(
        [&] { EXPECT_TRUE(source_.setMediaItemAnalyzedData(Data::initWithTitleID(titleID_))); });
    EXPECT_EQ(announced, std::vector<std::string>{titleID_->internalID().str()});
    EXPECT_EQ(stored<PLXMediaItem>(titleID_->internalID(), PLXDatabaseCollectionMediaItems), item);
}

TEST_F(GivenAnAnalyzedDataSource, WhenThereIsNothingToStoreThenThatIsFalse) {
    EXPECT_FALSE(source_.setMediaItemAnalyzedData(nullptr));
    EXPECT_FALSE(source_.setMediaItemAnalyzedData(Data::initWithUUID(nullptr)));
    EXPECT_EQ(rows(), 0U);
}

TEST_F(GivenAnAnalyzedDataSource, WhenTheTitleIDHasNoInternalIDThenNothingIsFoundOrCreated) {
    for (const auto& titleID : {titleIDWithoutInternalID(), decltype(titleID_)()}) {
        EXPECT_EQ(source_.mediaItemAnalyzedDataForTitleID(titleID), nullptr);
        EXPECT_EQ(source_.mediaItemAnalyzedDataForTitleID(titleID, true), nullptr);
        read([&](Reader& transaction) {
            EXPECT_EQ(source_.bpmForMediaItemWithTitleID(titleID, transaction), std::nullopt);
            EXPECT_EQ(source_.keySignatureIndexForMediaItemWithTitleID(titleID, transaction),
                      std::nullopt);
        });
    }
    EXPECT_EQ(rows(), 0U);
}

TEST_F(GivenAnAnalyzedDataSource, WhenManyThreadsAskToCreateThenOneRecordIsMade) {
    const auto before = commits();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(
            [&] { EXPECT_TRUE(source_.mediaItemAnalyzedDataForTitleID(titleID_, true)); });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(commits(), before + 1);
}

class GivenAnalyzedTracks : public GivenAnAnalyzedDataSource {
protected:
    void analyze(float bpm, std::int64_t key) {
        const auto data = Data::initWithTitleID(titleID_);
        data->setBpm(bpm);
        data->setKeySignatureIndex(key);
        EXPECT_TRUE(source_.setMediaItemAnalyzedData(data));
    }
    void setByHand(float bpm, std::int64_t key) {
        const auto data = PLXMediaItemUserData::initWithTitleID(titleID_);
        data->setManualBPM(bpm);
        data->setManualKeySignatureIndex(key);
        store(data, PLXDatabaseCollectionMediaItemUserData);
    }
    std::optional<double> bpm() {
        std::optional<double> found;
        read([&](Reader& t) { found = source_.bpmForMediaItemWithTitleID(titleID_, t); });
        return found;
    }
    std::optional<std::int64_t> key() {
        std::optional<std::int64_t> found;
        read([&](Reader& t) {
            found = source_.keySignatureIndexForMediaItemWithTitleID(titleID_, t);
        });
        return found;
    }
};

TEST_F(GivenAnalyzedTracks, WhenNothingIsAnalyzedThenThereIsNoTempoAndNoKey) {
    EXPECT_EQ(bpm(), std::nullopt);
    setByHand(100, 3);
    EXPECT_EQ(bpm(), std::nullopt) << "the index has no row of the track";
    EXPECT_EQ(key(), std::nullopt);
}

TEST_F(GivenAnalyzedTracks, WhenTheUserHasNoTempoThenTheAnalyzedOneComes) {
    analyze(127.3F, 5);
    EXPECT_EQ(bpm(), double{127.3F});
    EXPECT_EQ(key(), 5);
}

TEST_F(GivenAnalyzedTracks, WhenTheUserHasATempoThenItGoesFirstHoweverItCame) {
    setByHand(90.5F, 0);
    analyze(127, 0);
    EXPECT_EQ(bpm(), 90.5);
    EXPECT_EQ(key(), 0) << "0 is a key";
    setByHand(91, 0);
    EXPECT_EQ(bpm(), 91) << "the analysed record was not written";
    setByHand(0, 0);
    EXPECT_EQ(bpm(), 127);
}

TEST_F(GivenAnalyzedTracks, WhenTheKeyIsAskedThenTheUsersKeyDoesNotCount) {
    setByHand(0, 7);
    analyze(0, -1);
    EXPECT_EQ(key(), std::nullopt);
    EXPECT_EQ(bpm(), std::nullopt);
    analyze(0, 4);
    EXPECT_EQ(key(), 4);
}

TEST_F(GivenAnalyzedTracks, WhenAskedInAWriteThenItsOwnWritesCount) {
    readWrite([&](Writer& transaction) {
        const auto data = Data::initWithTitleID(titleID_);
        data->setBpm(101);
        transaction.setObject(data, data->uuid(), collection);
        EXPECT_EQ(source_.bpmForMediaItemWithTitleID(titleID_, transaction), 101);
    });
}

TEST_F(GivenAnalyzedTracks, WhenTheIndexIsAbsentThenThereIsNoTempoAndNoKey) {
    analyze(127, 5);
    ASSERT_TRUE(manager_.database()->unregisterExtension("mediaItemAnalyzedDataIndex"));
    EXPECT_EQ(bpm(), std::nullopt);
    EXPECT_EQ(key(), std::nullopt);
}

TEST(GivenAManagerThatIsNotSetUp, WhenItsAnalyzedDataIsAskedThenNothingIsFoundOrStored) {
    PLXDatabaseManager manager;
    PLXMediaItemAnalyzedDataSource source(manager);
    EXPECT_EQ(source.mediaItemAnalyzedDataForTitleID(titleIDOf("Song"), true), nullptr);
    EXPECT_EQ(source.mediaItemAnalyzedDataForTitleID(titleIDOf("Song")), nullptr);
    EXPECT_FALSE(source.setMediaItemAnalyzedData(Data::initWithUUID("u")));
}

TEST(GivenTheSharedManager, WhenTheSharedAnalyzedDataSourceIsAskedThenItIsOneAndStoresThere) {
    auto& manager = sharedLibrary();
    auto& source = PLXMediaItemAnalyzedDataSource::sharedInstance();
    EXPECT_EQ(&source, &PLXMediaItemAnalyzedDataSource::sharedInstance());
    EXPECT_TRUE(source.mediaItemAnalyzedDataForTitleID(titleIDOf("Shared"), true));
    EXPECT_TRUE(PLXMediaItemAnalyzedDataSource(manager).mediaItemAnalyzedDataForTitleID(
        titleIDOf("Shared")));
}

TEST(GivenALibraryWhoseFileFails, WhenAnalyzedDataIsCreatedThenItIsThereWithItsTitleIDOrNotAtAll) {
    FaultyLibrary library;
    const auto titleID = titleIDOf("Song");
    bool isMade = false;
    const auto operation = [&](PLXDatabaseManager& manager) {
        isMade = PLXMediaItemAnalyzedDataSource(manager).mediaItemAnalyzedDataForTitleID(
                     titleID, true) != nullptr;
    };
    const auto verify = [&](PLXDatabaseManager& manager) {
        manager.bgDatabaseConnection()->read([&](auto& transaction) {
            const bool isThere = transaction.hasObjectForKey(titleID->internalID(), collection);
            EXPECT_EQ(transaction.hasObjectForKey(titleID->uuid(),
                                                  PLXDatabaseCollectionMediaItemTitleIDs),
                      isThere);
            EXPECT_TRUE(isThere || !isMade);
        });
    };
    EXPECT_GT(library.forEachFailingWrite({}, operation, verify), 0U);
}

TEST(GivenALibraryWhoseFileFails, WhenAnalyzedDataCannotBeReadThenItIsNotReplaced) {
    FaultyLibrary library;
    const auto titleID = titleIDOf("Song");
    const auto prepare = [&](PLXDatabaseManager& manager) {
        const auto data = Data::initWithTitleID(titleID);
        data->setBpm(120);
        EXPECT_TRUE(PLXMediaItemAnalyzedDataSource(manager).setMediaItemAnalyzedData(data));
        // Enough others that the row has a page that opening does not read.
        manager.bgDatabaseConnection()->readWrite([](auto& transaction) {
            for (int i = 0; i < 100; ++i)
                transaction.setObject(Data::init(), std::to_string(i), collection);
        });
    };
    const auto operation = [&](PLXDatabaseManager& manager) {
        const auto found =
            PLXMediaItemAnalyzedDataSource(manager).mediaItemAnalyzedDataForTitleID(titleID, true);
        EXPECT_TRUE(!found || found->bpm() == 120);
    };
    const auto verify = [&](PLXDatabaseManager& manager) {
        const auto found =
            PLXMediaItemAnalyzedDataSource(manager).mediaItemAnalyzedDataForTitleID(titleID);
        ASSERT_TRUE(found);
        EXPECT_EQ(found->bpm(), 120);
    };
    EXPECT_GT(library.forEachFailingRead(prepare, operation, verify), 0U);
}

}  // namespace
}  // namespace qsml
