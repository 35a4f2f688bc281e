#include "tracks/PLXMediaItemTitleIDSource.h"

#include <gtest/gtest.h>

#include <thread>

#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "testing/OpenLibrary.h"
#include "tracks/PLXMediaItemTitleID.h"

namespace qsml {
namespace {

class GivenATitleIDSource : public OpenLibrary {
protected:
    void SetUp() override {
        OpenLibrary::SetUp();
        source_ = std::make_unique<PLXMediaItemTitleIDSource>(manager_);
    }
    std::uint64_t storedTitleIDs() {
        std::uint64_t count = 0;
        source_->databaseConnection()->read([&](auto& transaction) {
            count = transaction.numberOfKeysInCollection(PLXDatabaseCollectionMediaItemTitleIDs);
        });
        return count;
    }
    std::unique_ptr<PLXMediaItemTitleIDSource> source_;
};

TEST_F(GivenATitleIDSource, WhenMadeThenItHasAConnectionOfItsOwnThatCachesFourHundred) {
    EXPECT_NE(source_->databaseConnection(), manager_.bgDatabaseConnection());
    EXPECT_NE(source_->databaseConnection(), manager_.uiDatabaseConnection());
    EXPECT_EQ(source_->databaseConnection()->objectCacheLimit(), 400u);
}

TEST_F(GivenATitleIDSource, WhenTheMetadataIsNotStoredThenAFreshTitleIDComesAndNothingIsStored) {
    const auto fresh = source_->titleIDWithTitle("Song", "Band", 200.4f, std::nullopt);
    ASSERT_NE(fresh, nullptr);
    EXPECT_FALSE(fresh->isImmutable());
    EXPECT_EQ(fresh->title(), "Song");
    EXPECT_EQ(storedTitleIDs(), 0u);
}

TEST_F(GivenATitleIDSource, WhenTheMetadataIsStoredThenCaseBlanksAndPartsOfASecondDoNotMatter) {
    ASSERT_TRUE(
        source_->setTitleID(source_->titleIDWithTitle("Song", "Band", 200.4f, "DEAA11200001")));
    const auto found = source_->titleIDWithTitle("  song ", "BAND", 199.6f, "another");
    EXPECT_TRUE(found->isImmutable()) << "it is the stored one";
    EXPECT_EQ(found->title(), "Song");
    EXPECT_EQ(found->isrc(), "DEAA11200001");
    EXPECT_EQ(storedTitleIDs(), 1u);
    EXPECT_FALSE(source_->titleIDWithTitle("Song", "Band", 200.5f, std::nullopt)->isImmutable());
}

TEST_F(GivenATitleIDSource, WhenAskedByKeyThenTheStoredOneOrNothingComes) {
    const auto stored = source_->titleIDWithTitle("Song", "Band", 200, std::nullopt);
    ASSERT_TRUE(source_->setTitleID(stored));
    const auto found = source_->titleID(stored->uuid());
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->title(), "Song");
    EXPECT_EQ(source_->titleID("unknown"), nullptr);
    EXPECT_EQ(source_->titleID(std::nullopt), nullptr);
}

TEST_F(GivenATitleIDSource, WhenStoredAgainThenTheNewOneReplacesTheOld) {
    ASSERT_TRUE(source_->setTitleID(source_->titleIDWithTitle("Song", "Band", 200, std::nullopt)));
    const auto changed = source_->titleIDWithTitle("Song", "Band", 200, std::nullopt)->copy();
    changed->setIsrc("DEAA11200001");
    ASSERT_TRUE(source_->setTitleID(changed));
    EXPECT_EQ(source_->titleID(changed->uuid())->isrc(), "DEAA11200001");
    EXPECT_EQ(storedTitleIDs(), 1u);
}

TEST_F(GivenATitleIDSource, WhenNothingIsGivenThenNothingIsStored) {
    EXPECT_FALSE(source_->setTitleID(nullptr));
    EXPECT_EQ(storedTitleIDs(), 0u);
}

TEST_F(GivenATitleIDSource, WhenATransactionIsGivenThenItsOwnWritesAreSeen) {
    manager_.bgDatabaseConnection()->readWrite([&](YapDatabaseReadWriteTransaction& transaction) {
        const auto fresh =
            source_->titleIDWithTitle("Song", "Band", 200, std::nullopt, transaction);
        EXPECT_TRUE(source_->setTitleID(fresh, transaction));
        EXPECT_EQ(source_->titleID(fresh->uuid(), transaction), fresh);
        EXPECT_EQ(source_->titleIDWithTitle("SONG", "band", 200, std::nullopt, transaction), fresh);
        EXPECT_EQ(source_->titleID(std::nullopt, transaction), nullptr);
    });
    EXPECT_EQ(storedTitleIDs(), 1u);
}

TEST_F(GivenATitleIDSource, WhenATitleIDWithoutAUUIDIsGivenThenNothingIsStored) {
    EXPECT_FALSE(source_->setTitleID(PLXMediaItemTitleID::initWithUUID(nullptr)));
    EXPECT_EQ(storedTitleIDs(), 0u);
}

TEST_F(GivenATitleIDSource, WhenUsedByManyThreadsThenEachFindsWhatItStored) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([this, t] {
            for (int i = 0; i < 20; ++i) {
                const String title = std::to_string(t) + "-" + std::to_string(i);
                const auto fresh = source_->titleIDWithTitle(title, "Band", 1, nullptr);
                EXPECT_TRUE(source_->setTitleID(fresh));
                EXPECT_EQ(source_->titleID(fresh->uuid())->title(), title);
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(storedTitleIDs(), 80u);
}

TEST(GivenAManagerThatIsNotSetUp, WhenItsTitleIDsAreAskedThenNothingIsFoundOrStored) {
    PLXDatabaseManager manager;
    PLXMediaItemTitleIDSource source(manager);
    const auto fresh = source.titleIDWithTitle("Song", "Band", 200, nullptr);
    ASSERT_NE(fresh, nullptr);
    EXPECT_FALSE(source.setTitleID(fresh));
    EXPECT_EQ(source.titleID(fresh->uuid()), nullptr);
}

TEST(GivenTheSharedManager, WhenTheSharedSourceIsAskedThenItIsOneAndWorksOnTheSharedDatabase) {
    static TemporaryDirectory directory;  // the shared manager is never closed
    auto& manager = PLXDatabaseManager::sharedManager();
    if (!manager.database()) {
        ASSERT_TRUE(manager.setupDatabaseWithFileURL(
            URL::fileURLWithPath(directory.path() + "/library.qsml")));
    }
    auto& source = PLXMediaItemTitleIDSource::sharedInstance();
    EXPECT_EQ(&source, &PLXMediaItemTitleIDSource::sharedInstance());
    EXPECT_EQ(source.databaseConnection()->database(), manager.database());
    EXPECT_EQ(source.databaseConnection()->objectCacheLimit(), 400u);
}

}  // namespace
}  // namespace qsml
