#include <gtest/gtest.h>

#include <thread>

#include "organisation/PLXMediaItemPlaylist.h"
#include "organisation/PLXMediaItemPlaylistItem.h"
#include "organisation/detail/testing/FaultyLibrary.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "testing/OpenLibrary.h"
#include "testing/UndecodableObject.h"

namespace qsml {
namespace {

using Playlist = PLXMediaItemPlaylist;
using Keys = OrderedSet<String>;

void storeRootWithChild(YapDatabaseReadWriteTransaction& transaction) {
    const auto root = Playlist::initWithUUID("mediaItemPlaylist-root");
    root->setType(1);
    root->setChildUUIDs(Keys{"x"});
    EXPECT_TRUE(transaction.setObject(root, "mediaItemPlaylist-root", "mediaItemPlaylists"));
}

class GivenALibraryWithoutPlaylists : public OpenLibrary {
protected:
    std::shared_ptr<const Playlist> storedRoot() {
        std::shared_ptr<const Playlist> root;
        manager_.bgDatabaseConnection()->read([&](YapDatabaseReadTransaction& transaction) {
            root = transaction.object<Playlist>("mediaItemPlaylist-root", "mediaItemPlaylists");
        });
        return root;
    }

    void expectNoRootAndNothingWritten() {
        const auto snapshot = manager_.database()->snapshot();
        EXPECT_EQ(Playlist::rootPlaylist(manager_), nullptr);
        EXPECT_EQ(manager_.database()->snapshot(), snapshot);
    }
};

TEST_F(GivenALibraryWithoutPlaylists, WhenTheRootIsAskedThenItIsMadeStoredAndFoundAgain) {
    EXPECT_EQ(storedRoot(), nullptr) << "never made before it is asked for";
    const auto root = Playlist::rootPlaylist(manager_);
    ASSERT_TRUE(root);
    EXPECT_EQ(root->uuid(), PLXRootMediaItemPlaylistUUID);
    EXPECT_EQ(root->uuid(), "mediaItemPlaylist-root");
    EXPECT_EQ(root->type(), 1);
    EXPECT_EQ(root->name(), nullptr);
    EXPECT_EQ(root->parentUUID(), nullptr);
    EXPECT_EQ(root->childUUIDs(), std::nullopt);
    EXPECT_EQ(root->itemUUIDs(), std::nullopt);
    EXPECT_EQ(root->filterSet(), nullptr);
    EXPECT_TRUE(root->isImmutable());
    EXPECT_FALSE(root->hasChangedProperties());
    ASSERT_TRUE(storedRoot());
    EXPECT_EQ(storedRoot()->type(), 1);

    const auto snapshot = manager_.database()->snapshot();
    const auto again = Playlist::rootPlaylist(manager_);
    ASSERT_TRUE(again);
    EXPECT_TRUE(again->isEqual(*root));
    EXPECT_EQ(manager_.database()->snapshot(), snapshot) << "nothing is written";
}

TEST_F(GivenALibraryWithoutPlaylists, WhenARootIsStoredThenThatOneComes) {
    EXPECT_TRUE(manager_.bgDatabaseConnection()->readWrite(storeRootWithChild));
    const auto root = Playlist::rootPlaylist(manager_);
    ASSERT_TRUE(root);
    EXPECT_EQ(root->childUUIDs(), Keys{"x"});
}

TEST_F(GivenALibraryWithoutPlaylists, WhenAnotherStoresARootMeanwhileThenItsChildrenAreKept) {
    commitUnseen(manager_, storeRootWithChild);
    ASSERT_FALSE(storedRoot()) << "unseen";
    const auto root = Playlist::rootPlaylist(manager_);
    ASSERT_TRUE(root);
    EXPECT_EQ(root->childUUIDs(), Keys{"x"});
    EXPECT_EQ(storedRoot()->childUUIDs(), Keys{"x"});
}

TEST_F(GivenALibraryWithoutPlaylists, WhenARecordOfAnotherClassHasTheRootsKeyThenItStays) {
    manager_.bgDatabaseConnection()->readWrite([](YapDatabaseReadWriteTransaction& transaction) {
        transaction.setObject(PLXMediaItemPlaylistItem::initWithUUID("mediaItemPlaylist-root"),
                              "mediaItemPlaylist-root", "mediaItemPlaylists");
    });
    expectNoRootAndNothingWritten();
}

TEST_F(GivenALibraryWithoutPlaylists, WhenTheStoredRootCannotBeReadThenItIsNotReplaced) {
    LogCapture log;
    manager_.database()->newConnection()->readWrite([](auto& transaction) {
        transaction.setObject(std::make_shared<UndecodableObject>(), "mediaItemPlaylist-root",
                              "mediaItemPlaylists");
    });
    expectNoRootAndNothingWritten();
}

TEST_F(GivenALibraryWithoutPlaylists, WhenManyThreadsAskThenOneRootIsMade) {
    const auto before = manager_.database()->snapshot();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([this] { EXPECT_TRUE(Playlist::rootPlaylist(manager_)); });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(manager_.database()->snapshot(), before + 1);
}

TEST(GivenAPlaylistLibraryWhoseFileFails, WhenTheRootIsAskedThenItIsStoredOrNull) {
    std::shared_ptr<const Playlist> root;
    const auto ask = [&](PLXDatabaseManager& manager) { root = Playlist::rootPlaylist(manager); };
    const auto verify = [&](PLXDatabaseManager& reopened) {
        std::uint64_t stored = 0;
        ASSERT_TRUE(reopened.bgDatabaseConnection()->read([&](auto& transaction) {
            stored = transaction.numberOfKeysInCollection("mediaItemPlaylists");
        }));
        EXPECT_EQ(stored, root ? 1U : 0U);
        EXPECT_TRUE(Playlist::rootPlaylist(reopened)) << "once the file works again";
    };
    EXPECT_GT(FaultyLibrary().forEachFailingWrite({}, ask, verify), 2U);
}

TEST(GivenAPlaylistLibraryWhoseFileFails, WhenAStoredRootIsAskedThenItIsNeverReplaced) {
    for (const bool isUnseen : {false, true}) {
        FaultyLibrary library;
        library.arrange = [&](PLXDatabaseManager& manager) {
            if (isUnseen) commitUnseen(manager, storeRootWithChild);
        };
        const auto prepare = [&](PLXDatabaseManager& manager) {
            if (!isUnseen) manager.bgDatabaseConnection()->readWrite(storeRootWithChild);
        };
        const auto ask = [](PLXDatabaseManager& manager) {
            const auto root = Playlist::rootPlaylist(manager);
            EXPECT_TRUE(!root || root->childUUIDs() == Keys{"x"});
        };
        const auto verify = [](PLXDatabaseManager& reopened) {
            const auto stored = Playlist::rootPlaylist(reopened);
            ASSERT_TRUE(stored);
            EXPECT_EQ(stored->childUUIDs(), Keys{"x"});
        };
        EXPECT_GT(library.forEachFailingRead(prepare, ask, verify), 1U);
    }
}

TEST(GivenAManagerWithoutALibrary, WhenTheTreeIsAskedThenThereIsNone) {
    PLXDatabaseManager manager;
    EXPECT_EQ(Playlist::rootPlaylist(manager), nullptr);
    const auto playlist = Playlist::init();
    playlist->setParentUUID("parent");
    playlist->setChildUUIDs(Keys{"child"});
    EXPECT_TRUE(playlist->isDecendantOf("parent", manager)) << "that needs no library";
    EXPECT_FALSE(playlist->isDecendantOf("other", manager));
    EXPECT_TRUE(playlist->allDecendants(manager).empty());
}

TEST(GivenTheSharedManager, WhenTheTreeIsAskedThenItIsThatOfTheSharedLibrary) {
    auto& manager = sharedLibrary();
    const auto root = Playlist::rootPlaylist();
    ASSERT_TRUE(root);
    EXPECT_TRUE(root->isEqual(*Playlist::rootPlaylist(manager)));
    const auto parent = Playlist::initWithUUID("parent");
    parent->setParentUUID(root->uuid());
    manager.bgDatabaseConnection()->readWrite(
        [&](auto& transaction) { transaction.setObject(parent, "parent", "mediaItemPlaylists"); });
    const auto child = Playlist::init();
    child->setParentUUID("parent");
    EXPECT_TRUE(child->isDecendantOf(root->uuid()));
    const auto above = Playlist::init();
    above->setChildUUIDs(Keys{"parent"});
    EXPECT_EQ(above->allDecendants().size(), 1U);
}

}  // namespace
}  // namespace qsml
