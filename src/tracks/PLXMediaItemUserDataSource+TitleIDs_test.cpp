#include <gtest/gtest.h>

#include "tracks/detail/testing/UserDataLibrary.h"

namespace qsml {
namespace {

using Record = PLXMediaItemUserData;

// A record that is found for a title ID that it does not know gets it later.
class GivenUserDataOfAnotherTitleID : public UserDataLibrary {};

TEST_F(GivenUserDataOfAnotherTitleID,
       WhenARecordIsFoundThenTheTitleIDIsAddedOnceTheQueueHasTurned) {
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

TEST_F(GivenUserDataOfAnotherTitleID, WhenFoundManyTimesThenTheTitleIDIsAddedOnce) {
    storeUserData(first_, Deck::withTempo, 1);
    const auto before = commits();
    for (int i = 0; i < 3; ++i) (void)source_.mediaItemUserDataForTitleID(own_);
    runDeferredWrites();
    (void)source_.mediaItemUserDataForTitleID(own_);
    runDeferredWrites();
    EXPECT_EQ(numberOfTitleIDs(first_), 2U);
    EXPECT_EQ(commits(), before + 1);
}

TEST_F(GivenUserDataOfAnotherTitleID, WhenTheRecordIsChangedMeanwhileThenTheChangeStays) {
    storeUserData(first_, Deck::withTempo, 1);
    (void)source_.mediaItemUserDataForTitleID(own_);
    storeUserData(first_, Deck::withTempo, 5);
    runDeferredWrites();
    EXPECT_EQ(storedFor(first_)->rating(), 5);
    EXPECT_EQ(numberOfTitleIDs(first_), 2U);
}

TEST_F(GivenUserDataOfAnotherTitleID, WhenTheRecordIsRemovedMeanwhileThenItStaysAway) {
    storeUserData(first_, Deck::withTempo, 1);
    (void)source_.mediaItemUserDataForTitleID(own_);
    readWrite([&](Writer& transaction) {
        transaction.removeObjectForKey(first_->internalID(), collection);
    });
    runDeferredWrites();
    EXPECT_EQ(rows(), 0U);
}

TEST_F(GivenUserDataOfAnotherTitleID,
       WhenTheCallerChangesItsTitleIDMeanwhileThenTheAskedOneIsAdded) {
    storeUserData(first_, Deck::withTempo, 1);
    const auto titleID = PLXMediaItemTitleID::initWithTitle("Own", "Band", 200, "DE-A01");
    (void)source_.mediaItemUserDataForTitleID(titleID);
    titleID->setTitle("changed");
    runDeferredWrites();
    EXPECT_EQ(storedFor(first_)->titleIDs()->at(1)->title(), "Own");
}

TEST_F(GivenUserDataOfAnotherTitleID,
       WhenTheLookupIsInAReadOfAnyConnectionThenTheTitleIDIsAddedToo) {
    storeUserData(first_, Deck::withTempo, 1);
    drain();
    manager_.uiDatabaseConnection()->read([&](Reader& transaction) {
        EXPECT_TRUE(source_.lookupMediaItemUserDataForTitleID(own_, transaction));
    });
    runDeferredWrites();
    EXPECT_EQ(numberOfTitleIDs(first_), 2U);
}

TEST_F(GivenUserDataOfAnotherTitleID, WhenARecordHasNoTitleIDsThenTheOneThatFindsItIsItsFirst) {
    store(Record::initWithUUID(titleID_->internalID()), collection);
    EXPECT_TRUE(source_.mediaItemUserDataForTitleID(titleID_));
    runDeferredWrites();
    ASSERT_EQ(numberOfTitleIDs(titleID_), 1U);
    EXPECT_TRUE(storedFor(titleID_)->titleIDs()->front()->isEqual(*titleID_));
}

TEST_F(GivenUserDataOfAnotherTitleID, WhenAnEqualTitleIDIsWrittenOtherwiseThenASetHoldsBoth) {
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

}  // namespace
}  // namespace qsml
