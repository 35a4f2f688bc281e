#include "database/PLXDatabaseManager.h"

#include <gtest/gtest.h>

#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseException.h"
#include "store/YapDatabaseTransaction.h"
#include "testing/LogCapture.h"
#include "testing/OpenLibrary.h"
#include "testing/UndecodableObject.h"
#include "tracks/PLXMediaItem.h"

namespace qsml {
namespace {

using Calls = std::vector<std::string>;

TEST(DatabaseNames, AreTheStoredFormat) {
    EXPECT_EQ(PLXDatabaseCollectionMediaItems, "mediaItems");
    EXPECT_EQ(PLXDatabaseCollectionMediaItemTitleIDs, "mediaItemTitleIDs");
    EXPECT_EQ(PLXDatabaseCollectionMediaItemUserData, "mediaItemUserData");
    EXPECT_EQ(PLXDatabaseCollectionMediaItemAnalyzedData, "mediaItemAnalyzedData");
    EXPECT_EQ(PLXDatabaseCollectionLocalMediaItemLocations, "localMediaItemLocations");
    EXPECT_EQ(PLXDatabaseCollectionGlobalMediaItemLocations, "globalMediaItemLocations");
    EXPECT_EQ(PLXDatabaseCollectionMediaArtists, "mediaArtists");
    EXPECT_EQ(PLXDatabaseCollectionMediaAlbums, "mediaAlbums");
    EXPECT_EQ(PLXDatabaseCollectionMediaLabels, "mediaLabels");
    EXPECT_EQ(PLXDatabaseCollectionMediaGenres, "mediaGenres");
    EXPECT_EQ(PLXDatabaseCollectionMediaItemTags, "mediaItemTags");
    EXPECT_EQ(PLXDatabaseCollectionMediaItemTagGroups, "mediaItemTagGroups");
    EXPECT_EQ(PLXDatabaseCollectionMediaItemPlaylists, "mediaItemPlaylists");
    EXPECT_EQ(PLXDatabaseCollectionMediaItemPlaylistItems, "mediaItemPlaylistItems");
    EXPECT_EQ(PLXDatabaseCollectionMediaItemFilterSets, "mediaItemFilterSets");
    EXPECT_EQ(PLXDatabaseCollectionHistorySessions, "historySessions");
    EXPECT_EQ(PLXDatabaseCollectionHistorySessionItems, "historySessionItems");
    EXPECT_EQ(PLXDatabaseCollectionQueues, "queues");
    EXPECT_EQ(PLXDatabaseCollectionQueueItems, "queueItems");
    EXPECT_EQ(PLXDatabaseCollectionContentPacks, "contentPacks");
    EXPECT_EQ(PLXDatabaseCollectionContentPackMediaItems, "contentPackMediaItems");
    EXPECT_EQ(PLXDatabaseCollectionContentPackDownloads, "contentPackDownloads");
    EXPECT_EQ(PLXDatabaseCollectionUserContentPacks, "userContentPacks");
    EXPECT_EQ(PLXDatabaseCollectionUserContentPackMediaItems, "userContentPackMediaItems");
    EXPECT_EQ(PLXDatabaseCollectionProducts, "products");
    EXPECT_EQ(PLXDatabaseCollectionCloudKit, "cloudKit");
    EXPECT_EQ(PLXUIDatabaseConnectionWillUpdateNotification,
              "PLXUIDatabaseConnectionWillUpdateNotification");
    EXPECT_EQ(PLXUIDatabaseConnectionDidUpdateNotification,
              "PLXUIDatabaseConnectionDidUpdateNotification");
    EXPECT_EQ(PLXUIDatabaseConnectionNotificationsKey, "notifications");
}

// ---- stored objects

class GivenAnOpenLibrary : public OpenLibrary {
protected:
    std::shared_ptr<PLXMediaItem> item(std::string_view uuid, std::string_view title = "Title") {
        auto made = PLXMediaItem::initWithUUID(uuid);
        made->setTitle(title);
        return made;
    }
    void write(const std::function<void(YapDatabaseReadWriteTransaction&)>& block) {
        Error error;
        EXPECT_TRUE(bg().readWrite(block, &error)) << error.description;
    }
    void store(std::string_view uuid) {
        write([&](auto& transaction) {
            transaction.setObject(item(uuid), uuid, PLXDatabaseCollectionMediaItems);
        });
    }
    std::function<void(std::string_view, std::string_view)> recordInto(Calls& calls,
                                                                       std::string name) {
        return [&calls, name](std::string_view collection, std::string_view key) {
            calls.push_back(name + " " + std::string(collection) + "/" + std::string(key));
        };
    }
    YapDatabaseConnection& bg() { return *manager_.bgDatabaseConnection(); }
    YapDatabaseConnection& ui() { return *manager_.uiDatabaseConnection(); }
};

TEST_F(GivenAnOpenLibrary, WhenARecordIsWrittenThenItIsFrozenAndItsChangedKeysAreCleared) {
    const auto record = item("a");
    EXPECT_TRUE(record->hasChangedProperties());
    write([&](auto& transaction) {
        transaction.setObject(record, "a", PLXDatabaseCollectionMediaItems);
    });
    EXPECT_TRUE(record->isImmutable());
    EXPECT_FALSE(record->hasChangedProperties());
    EXPECT_THROW(record->setTitle("Other"), PLXDatabaseObjectException);
}

TEST_F(GivenAnOpenLibrary, WhenARecordIsReadThenItIsFrozen) {
    store("a");
    manager_.database()->flushMemory();
    bg().read([&](auto& transaction) {
        const auto read =
            transaction.template object<PLXMediaItem>("a", PLXDatabaseCollectionMediaItems);
        ASSERT_TRUE(read);
        EXPECT_EQ(read->title(), "Title");
        EXPECT_TRUE(read->isImmutable());
        EXPECT_FALSE(read->hasChangedProperties());
        EXPECT_FALSE(read->copy()->isImmutable());
    });
}

TEST_F(GivenAnOpenLibrary, WhenAValueThatIsNoRecordIsStoredThenItComesBack) {
    write([](auto& transaction) {
        transaction.setObject(Value(Dictionary{{"count", 3}}), "state",
                              PLXDatabaseCollectionCloudKit);
    });
    manager_.database()->flushMemory();
    bg().read([](auto& transaction) {
        const Value state = transaction.objectForKey("state", PLXDatabaseCollectionCloudKit);
        EXPECT_EQ(state.dictionary()["count"], Value(3));
    });
}

TEST_F(GivenAnOpenLibrary, WhenAskedTwiceThenTheCallbacksAreTheSame) {
    EXPECT_EQ(&PLXDatabaseManager::databaseSerializer(), &PLXDatabaseManager::databaseSerializer());
    EXPECT_EQ(&PLXDatabaseManager::databaseDeserializer(),
              &PLXDatabaseManager::databaseDeserializer());
    EXPECT_EQ(&PLXDatabaseManager::databasePreSanitizer(),
              &PLXDatabaseManager::databasePreSanitizer());
    EXPECT_EQ(&PLXDatabaseManager::databasePostSanitizer(),
              &PLXDatabaseManager::databasePostSanitizer());
}

TEST_F(GivenAnOpenLibrary, WhenARowIsOfAnUnknownClassThenItIsAbsentWithAWarningAndTheOthersStay) {
    store("a");
    write([](auto& transaction) {
        transaction.setObject(Value(std::make_shared<const UndecodableObject>()), "b",
                              "mediaItems");
    });
    manager_.database()->flushMemory();
    LogCapture log;
    bg().read([](auto& transaction) {
        EXPECT_TRUE(transaction.objectForKey("b", "mediaItems").isNil());
        EXPECT_FALSE(transaction.objectForKey("a", "mediaItems").isNil());
    });
    const auto lines =
        log.linesWith("Warning: unknown database object collection \"mediaItems\" (b): ");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("PLXStranger"), std::string::npos) << lines[0];
    store("b");
    bg().read([](auto& transaction) {
        EXPECT_FALSE(transaction.objectForKey("b", "mediaItems").isNil());
    });
}

TEST_F(GivenAnOpenLibrary, WhenBytesAreNoArchiveThenTheyReadAsNilWithTheWarning) {
    LogCapture log;
    const std::string damage = "no archive";
    const Value read = PLXDatabaseManager::databaseDeserializer()(
        "mediaItems", "k", {reinterpret_cast<const std::uint8_t*>(damage.data()), damage.size()});
    EXPECT_TRUE(read.isNil());
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(
        log.lines()[0].rfind("Warning: unknown database object collection \"mediaItems\" (k): ", 0),
        0u)
        << log.lines()[0];
}

// ---- commits

TEST_F(GivenAnOpenLibrary, WhenCommittedThenWillUpdateThenTheConnectionMovesThenDidUpdate) {
    Calls calls;
    auto& center = NotificationCenter::defaultCenter();
    const auto before = ui().snapshot();
    const auto will = center.addObserver(std::string(PLXUIDatabaseConnectionWillUpdateNotification),
                                         &manager_, [&](const auto&) {
                                             calls.push_back("will");
                                             EXPECT_EQ(ui().snapshot(), before);
                                         });
    const auto did = center.addObserver(
        std::string(PLXUIDatabaseConnectionDidUpdateNotification), &manager_,
        [&](const auto& posted) {
            calls.push_back("did");
            EXPECT_EQ(ui().snapshot(), before + 1);
            const auto* list = posted.template info<YapDatabaseNotifications>(
                PLXUIDatabaseConnectionNotificationsKey);
            ASSERT_NE(list, nullptr);
            ASSERT_EQ(list->size(), 1u);
            EXPECT_TRUE(YapDatabaseConnection::hasChangeForKey("a", "mediaItems", *list));
        });
    const auto token =
        manager_.addChangeObserverForCollection("mediaItems", {}, recordInto(calls, "observer"));
    ASSERT_TRUE(token);

    store("a");
    EXPECT_TRUE(calls.empty()) << "nothing may be announced before the queue turns";
    drain();
    EXPECT_EQ(calls, (Calls{"will", "did", "observer mediaItems/a"}));
}

TEST_F(GivenAnOpenLibrary, WhenTheUIConnectionIsWrittenThroughThenItThrows) {
    EXPECT_THROW(ui().readWrite([](auto&) {}), YapDatabaseException);
    EXPECT_THROW(ui().asyncReadWrite([](auto&) {}), YapDatabaseException);
    EXPECT_TRUE(ui().isInLongLivedReadTransaction());
}

TEST_F(GivenAnOpenLibrary, WhenACommitOfAnotherDatabaseIsAnnouncedThenNothingHappensHere) {
    PLXDatabaseManager other;
    other.setDatabaseOptions(options());
    ASSERT_TRUE(
        other.setupDatabaseWithFileURL(URL::fileURLWithPath(directory_.path() + "/other.qsml")));
    Calls calls;
    (void)manager_.addChangeObserverForCollection("mediaItems", {}, recordInto(calls, "here"));
    (void)other.bgDatabaseConnection()->readWrite(
        [&](auto& transaction) { transaction.setObject(item("a"), "a", "mediaItems"); });
    drain();
    EXPECT_TRUE(calls.empty());
}

}  // namespace
}  // namespace qsml
