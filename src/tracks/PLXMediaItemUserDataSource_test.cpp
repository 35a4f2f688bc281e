#include "tracks/PLXMediaItemUserDataSource.h"

#include <gtest/gtest.h>

#include <thread>

#include "organisation/detail/testing/FaultyLibrary.h"
#include "testing/UndecodableObject.h"
#include "tracks/PLXMediaItem.h"
#include "tracks/PLXMediaItemLocation.h"
#include "tracks/PLXMediaItemUserData.h"
#include "tracks/detail/testing/TrackLibrary.h"

namespace qsml {
namespace {

using Record = PLXMediaItemUserData;
using TitleID = std::shared_ptr<const PLXMediaItemTitleID>;
constexpr auto collection = PLXDatabaseCollectionMediaItemUserData;

enum class Deck { empty, withTempo };

class GivenAUserDataSource : public TrackLibrary {
protected:
    /// Stores user data of the title ID; the rating tells them apart.
    void storeUserData(const TitleID& titleID, Deck deck, std::int64_t rating = 0) {
        const auto data = Record::initWithTitleID(titleID);
        data->setManualBPM(deck == Deck::withTempo ? 120.0F : 0.0F);
        data->setRating(rating);
        store(data, collection);
    }
    /// The rating of what is found; -1 when nothing is.
    std::int64_t foundRating(const TitleID& titleID) {
        const auto found = source_.mediaItemUserDataForTitleID(titleID);
        return found ? found->rating() : -1;
    }
    std::shared_ptr<const Record> storedFor(const TitleID& titleID) {
        return stored<Record>(titleID->internalID(), collection);
    }
    std::size_t numberOfTitleIDs(const TitleID& titleID) {
        return storedFor(titleID)->titleIDs()->size();
    }
    std::shared_ptr<const Record> findOrMake(const TitleID& titleID, bool createIfNeeded) {
        return source_.mediaItemUserDataForTitleID(titleID, createIfNeeded, nullptr, std::nullopt);
    }

    const TitleID titleID_ = titleIDOf("Song");
    PLXMediaItemUserDataSource source_{manager_};
};

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

// The ISRC.

TEST_F(GivenAUserDataSource, WhenWhatIsStoredDoesNotDecodeThenItIsNotReplaced) {
    const auto titleID = titleIDOf("Song");
    readWrite([&](Writer& transaction) {
        transaction.setObject(std::make_shared<UndecodableObject>(), titleID->internalID(),
                              collection);
    });
    EXPECT_EQ(source_.mediaItemUserDataForTitleID(titleID, true, nullptr, {}), nullptr);
    EXPECT_EQ(rows(), 1U);
    EXPECT_EQ(stored<Record>(titleID->internalID(), collection), nullptr);
}

class GivenUserDataOfOneISRC : public GivenAUserDataSource {
protected:
    const TitleID own_ = titleIDOf("Own", "DE-A01"), first_ = titleIDOf("First", "DE-A01"),
                  second_ = titleIDOf("Second", "DE-A01"), third_ = titleIDOf("Third", "DE-A01");
};

TEST_F(GivenUserDataOfOneISRC, WhenThereIsNoOwnRecordThenTheFirstMatchComes) {
    storeUserData(first_, Deck::empty, 1);
    storeUserData(second_, Deck::empty, 2);
    EXPECT_EQ(foundRating(own_), 1);
    EXPECT_EQ(findOrMake(own_, true)->rating(), 1) << "and none is created";
    EXPECT_EQ(storedFor(own_), nullptr);
}

TEST_F(GivenUserDataOfOneISRC, WhenMatchesHaveDeckMetadataThenTheLastOfTheseComes) {
    storeUserData(first_, Deck::withTempo, 1);
    storeUserData(second_, Deck::withTempo, 2);
    storeUserData(third_, Deck::empty, 3);
    EXPECT_EQ(foundRating(own_), 2);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheOwnRecordHasDeckMetadataThenNoOtherCounts) {
    storeUserData(own_, Deck::withTempo, 9);
    storeUserData(first_, Deck::withTempo, 1);
    EXPECT_EQ(foundRating(own_), 9);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheOwnRecordHasNoneThenOnlyAMatchWithDeckMetadataReplacesIt) {
    storeUserData(own_, Deck::empty, 9);
    storeUserData(first_, Deck::empty, 1);
    EXPECT_EQ(foundRating(own_), 9);
    storeUserData(second_, Deck::withTempo, 2);
    EXPECT_EQ(foundRating(own_), 2);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheTitleIDHasNoISRCThenNothingIsSearched) {
    storeUserData(first_, Deck::withTempo, 1);
    storeUserData(titleIDOf("Own"), Deck::empty, 9);
    EXPECT_EQ(foundRating(titleIDOf("Own")), 9);
    EXPECT_EQ(foundRating(titleIDOf("Unknown")), -1);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheISRCIsEmptyThenItConnectsNothing) {
    storeUserData(titleIDOf("First", ""), Deck::withTempo, 1);
    EXPECT_EQ(foundRating(titleIDOf("Own", "")), -1);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheISRCsAreNearlyTheSameThenTheyDoNotMatch) {
    for (const char* isrc : {"de-a01", "DE-A012", "XDE-A01", "DE A01", "DE", "A01", "D\u00c9-A01"})
        storeUserData(titleIDOf(isrc, isrc), Deck::withTempo, 1);
    EXPECT_EQ(foundRating(own_), -1);
    storeUserData(first_, Deck::empty, 2);
    EXPECT_EQ(foundRating(own_), 2);
}

TEST_F(GivenUserDataOfOneISRC, WhenARecordHasSeveralISRCsThenEachLeadsToIt) {
    const auto data = Record::initWithTitleID(titleIDOf("First", "ONE"));
    data->setTitleIDs(std::vector<TitleID>{titleIDOf("First", "ONE"), titleIDOf("First"),
                                           titleIDOf("Second", "TWO")});
    data->setRating(5);
    store(data, collection);
    EXPECT_EQ(foundRating(titleIDOf("Own", "ONE")), 5);
    EXPECT_EQ(foundRating(titleIDOf("Own", "TWO")), 5);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheISRCIsHostileThenItMatchesItselfAndNothingElse) {
    using namespace std::string_view_literals;
    const std::string_view hostile[] = {
        "\""sv,        "\" OR \"isrcs"sv, "a b"sv,      "}} {{"sv,
        "{{X}}"sv,     "X\0Y"sv,          "*"sv,        "isrcs: X"sv,
        "NEAR(X Y)"sv, "'; DROP --"sv,    "\xc2\xad"sv, "\xf0\x9f\x8e\xa7"sv,
        " "sv,         "\n\t"sv,          "^X"sv,       "\\"sv,
        "%"sv,         "\u6771\u4eac"sv};
    storeUserData(first_, Deck::withTempo, 1);
    storeUserData(titleIDOf("x", "X"), Deck::withTempo, 2);
    LogCapture log;
    for (const std::string_view isrc : hostile) {
        EXPECT_EQ(foundRating(titleIDOf("Own", isrc)), -1) << isrc;
        storeUserData(titleIDOf("Hostile", isrc), Deck::withTempo, 7);
        EXPECT_EQ(foundRating(titleIDOf("Own", isrc)), 7) << isrc;
    }
    EXPECT_TRUE(log.lines().empty()) << log.lines()[0];
    EXPECT_EQ(foundRating(own_), 1);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheISRCIsNoTextThenNothingIsFoundOrHalfStored) {
    storeUserData(first_, Deck::withTempo, 1);
    const LogCapture log;  // the store names what it refuses
    const TitleID odd = titleIDOf("Own", std::string_view("\xff\"\xfe"));
    EXPECT_EQ(foundRating(odd), -1);
    EXPECT_EQ(findOrMake(odd, true), nullptr);
    EXPECT_EQ(rows(), 1U);
    EXPECT_EQ(log.linesWith("cannot be stored").size(), 1U);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheIndexIsAbsentThenOnlyTheOwnRecordIsFound) {
    storeUserData(first_, Deck::withTempo, 1);
    ASSERT_TRUE(manager_.database()->unregisterExtension("mediaItemUserDataSearchIndex"));
    EXPECT_EQ(foundRating(own_), -1);
    storeUserData(own_, Deck::empty, 9);
    EXPECT_EQ(foundRating(own_), 9);
}

// The title ID that is added later.

TEST_F(GivenUserDataOfOneISRC, WhenARecordIsFoundThenTheTitleIDIsAddedOnceTheQueueHasTurned) {
    storeUserData(first_, Deck::withTempo, 1);
    const auto before = commits();
    const auto found = source_.mediaItemUserDataForTitleID(own_);
    EXPECT_EQ(found->titleIDs()->size(), 1U) << "the caller gets it at once";
    executor_->waitUntilIdle();
    EXPECT_EQ(commits(), before) << "the queue has not turned";
    runDeferredWrites();
    EXPECT_EQ(commits(), before + 1);
    ASSERT_EQ(numberOfTitleIDs(first_), 2U);
    EXPECT_TRUE(storedFor(first_)->titleIDs()->at(1)->isEqual(*own_));
    EXPECT_EQ(storedFor(first_)->titleIDs()->at(1)->isrc(), "DE-A01");
    EXPECT_EQ(storedFor(own_), nullptr) << "it stays one record";
}

TEST_F(GivenUserDataOfOneISRC, WhenFoundManyTimesThenTheTitleIDIsAddedOnce) {
    storeUserData(first_, Deck::withTempo, 1);
    const auto before = commits();
    for (int i = 0; i < 3; ++i) (void)source_.mediaItemUserDataForTitleID(own_);
    runDeferredWrites();
    (void)source_.mediaItemUserDataForTitleID(own_);
    runDeferredWrites();
    EXPECT_EQ(numberOfTitleIDs(first_), 2U);
    EXPECT_EQ(commits(), before + 1);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheRecordIsChangedMeanwhileThenTheChangeStays) {
    storeUserData(first_, Deck::withTempo, 1);
    (void)source_.mediaItemUserDataForTitleID(own_);
    storeUserData(first_, Deck::withTempo, 5);
    runDeferredWrites();
    EXPECT_EQ(storedFor(first_)->rating(), 5);
    EXPECT_EQ(numberOfTitleIDs(first_), 2U);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheRecordIsRemovedMeanwhileThenItStaysAway) {
    storeUserData(first_, Deck::withTempo, 1);
    (void)source_.mediaItemUserDataForTitleID(own_);
    readWrite([&](Writer& transaction) {
        transaction.removeObjectForKey(first_->internalID(), collection);
    });
    runDeferredWrites();
    EXPECT_EQ(rows(), 0U);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheCallerChangesItsTitleIDMeanwhileThenTheAskedOneIsAdded) {
    storeUserData(first_, Deck::withTempo, 1);
    const auto titleID = PLXMediaItemTitleID::initWithTitle("Own", "Band", 200, "DE-A01");
    (void)source_.mediaItemUserDataForTitleID(titleID);
    titleID->setTitle("changed");
    runDeferredWrites();
    EXPECT_EQ(storedFor(first_)->titleIDs()->at(1)->title(), "Own");
}

TEST_F(GivenUserDataOfOneISRC, WhenTheLookupIsInAReadOfAnyConnectionThenTheTitleIDIsAddedToo) {
    storeUserData(first_, Deck::withTempo, 1);
    drain();
    manager_.uiDatabaseConnection()->read([&](Reader& transaction) {
        EXPECT_TRUE(source_.lookupMediaItemUserDataForTitleID(own_, transaction));
    });
    runDeferredWrites();
    EXPECT_EQ(numberOfTitleIDs(first_), 2U);
}

TEST_F(GivenAUserDataSource, WhenARecordHasNoTitleIDsThenTheOneThatFindsItIsItsFirst) {
    store(Record::initWithUUID(titleID_->internalID()), collection);
    EXPECT_TRUE(source_.mediaItemUserDataForTitleID(titleID_));
    runDeferredWrites();
    ASSERT_EQ(numberOfTitleIDs(titleID_), 1U);
    EXPECT_TRUE(storedFor(titleID_)->titleIDs()->front()->isEqual(*titleID_));
}

TEST_F(GivenAUserDataSource, WhenAnEqualTitleIDIsWrittenOtherwiseThenASetHoldsBoth) {
    storeUserData(titleID_, Deck::empty);
    EXPECT_TRUE(source_.mediaItemUserDataForTitleID(titleIDOf("SONG")));
    runDeferredWrites();
    EXPECT_EQ(numberOfTitleIDs(titleID_), 2U);
    EXPECT_TRUE(source_.mediaItemUserDataForTitleID(titleIDOf("SONG")));
    runDeferredWrites();
    EXPECT_EQ(numberOfTitleIDs(titleID_), 2U);
}

TEST(GivenALibraryThatIsClosed, WhenTheQueueTurnsLaterThenNothingHappens) {
    TemporaryDirectory directory;
    const URL file = URL::fileURLWithPath(directory.file("library.qsml"));
    DispatchQueue queue("tests.notifications");
    queue.suspend();
    const auto executor = std::make_shared<TestExecutor>();
    YapDatabaseOptions options;
    options.notificationQueue = &queue;
    options.executor = executor;
    const auto data = Record::initWithTitleID(titleIDOf("First", "DE-A01"));
    {
        PLXDatabaseManager manager;
        manager.setDatabaseOptions(options);
        ASSERT_TRUE(manager.setupDatabaseWithFileURL(file));
        PLXMediaItemUserDataSource source(manager);
        ASSERT_TRUE(source.setMediaItemUserData(data));
        ASSERT_TRUE(source.mediaItemUserDataForTitleID(titleIDOf("Own", "DE-A01")));
        executor->waitUntilIdle();  // now only the queue is waited for
    }
    queue.resume();
    queue.sync([] {});
    PLXDatabaseManager manager;
    manager.setDatabaseOptions(options);
    ASSERT_TRUE(manager.setupDatabaseWithFileURL(file)) << "nothing holds the file any more";
    const auto found =
        PLXMediaItemUserDataSource(manager).mediaItemUserDataForTitleID(titleIDOf("First"));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->titleIDs()->size(), 1U);
    executor->waitUntilIdle();
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
