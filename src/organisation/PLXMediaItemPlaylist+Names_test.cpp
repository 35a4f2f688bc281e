#include <gtest/gtest.h>

#include "organisation/PLXMediaItemPlaylist.h"
#include "organisation/detail/testing/FaultyLibrary.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "testing/OpenLibrary.h"

namespace qsml {
namespace {

using Playlist = PLXMediaItemPlaylist;
const std::string indexName = "mediaItemPlaylistIndex";

void store(YapDatabaseReadWriteTransaction& transaction, const std::vector<String>& names) {
    for (const String& name : names) {
        const auto playlist = Playlist::init();
        playlist->setName(name);
        EXPECT_TRUE(transaction.setObject(playlist, playlist->uuid(), "mediaItemPlaylists"));
    }
}

enum class Asks { theIndex, everyPlaylist };

class GivenALibraryOfNames : public OpenLibrary, public ::testing::WithParamInterface<Asks> {
protected:
    void SetUp() override {
        OpenLibrary::SetUp();
        if (GetParam() == Asks::everyPlaylist) {
            ASSERT_TRUE(manager_.database()->unregisterExtension(indexName));
        }
    }
    void add(const std::vector<String>& names) {
        ASSERT_TRUE(manager_.bgDatabaseConnection()->readWrite(
            [&](auto& transaction) { store(transaction, names); }));
    }
    String next(std::string_view prefix) {
        return Playlist::nextAvailablePlaylistNameWithPrefix(prefix, manager_);
    }
};

TEST_P(GivenALibraryOfNames, WhenNoNameIsTakenThenTheFirstComes) {
    EXPECT_EQ(next("Set"), "Set 1");
    EXPECT_EQ(next("Playlist"), "Playlist 1");
    EXPECT_EQ(next(""), " 1");
    EXPECT_EQ(next("100% \u00fc"), "100% \u00fc 1");
}

TEST_P(GivenALibraryOfNames, WhenSomeAreTakenThenTheFirstGapComes) {
    add({"Set 1", "Set 3"});
    EXPECT_EQ(next("Set"), "Set 2");
    EXPECT_EQ(next("Set"), "Set 2") << "nothing is reserved";
    add({"Set 2"});
    EXPECT_EQ(next("Set"), "Set 4");
    EXPECT_EQ(next("Playlist"), "Playlist 1");
}

TEST_P(GivenALibraryOfNames, WhenNamesAreNearlyTheSameThenTheyDoNotCount) {
    add({"Set", "set 1", "Set  1", "Set 01", "Set 1 ", "Set 10", nullptr, ""});
    EXPECT_EQ(next("Set"), "Set 1");
}

TEST_P(GivenALibraryOfNames, WhenANameIsTakenTwiceThenItCountsAsTaken) {
    add({"Set 1", "Set 1"});
    EXPECT_EQ(next("Set"), "Set 2");
}

TEST_P(GivenALibraryOfNames, WhenVeryManyAreTakenThenTheNextComes) {
    std::vector<String> names;
    for (int i = 1; i <= 1'000; ++i) names.emplace_back("Set " + std::to_string(i));
    add(names);
    EXPECT_EQ(next("Set"), "Set 1001");
}

TEST_P(GivenALibraryOfNames, WhenAskedInTheTransactionThatStoresThenItsOwnWritesCount) {
    EXPECT_TRUE(manager_.bgDatabaseConnection()->readWrite([&](auto& transaction) {
        for (const char* expected : {"Set 1", "Set 2", "Set 3"}) {
            const String name = Playlist::nextAvailablePlaylistNameWithPrefix("Set", transaction);
            EXPECT_EQ(name, expected);
            store(transaction, {name});
        }
    }));
}

INSTANTIATE_TEST_SUITE_P(Names, GivenALibraryOfNames,
                         ::testing::Values(Asks::theIndex, Asks::everyPlaylist),
                         [](const auto& given) {
                             return given.param == Asks::theIndex ? "WithTheIndex"
                                                                  : "WithoutTheIndex";
                         });

TEST(GivenALibraryOfNamesWhoseFileFails, WhenANameIsAskedThenItIsFreeOrNil) {
    for (const bool isIndexed : {false, true}) {
        const auto prepare = [&](PLXDatabaseManager& manager) {
            manager.bgDatabaseConnection()->readWrite([](auto& transaction) {
                store(transaction, {"Set 1", "Set 2"});
            });
        };
        FaultyLibrary library;
        library.arrange = [&](PLXDatabaseManager& manager) {
            if (!isIndexed) {
                EXPECT_TRUE(manager.database()->unregisterExtension(indexName));
            }
        };
        const auto ask = [](PLXDatabaseManager& manager) {
            const String name = Playlist::nextAvailablePlaylistNameWithPrefix("Set", manager);
            EXPECT_TRUE(!name || name == "Set 3") << name;
        };
        EXPECT_GT(library.forEachFailingRead(prepare, ask, [](PLXDatabaseManager&) {}), 0U)
            << isIndexed;
    }
}

TEST(GivenAManagerWithoutALibrary, WhenANameIsAskedThenItIsNil) {
    PLXDatabaseManager manager;
    EXPECT_EQ(Playlist::nextAvailablePlaylistNameWithPrefix("Set", manager), nullptr);
}

TEST(GivenTheSharedManager, WhenANameIsAskedThenItIsThatOfTheSharedLibrary) {
    auto& manager = sharedLibrary();
    manager.bgDatabaseConnection()->readWrite(
        [](auto& transaction) { store(transaction, {"Shared 1"}); });
    EXPECT_EQ(Playlist::nextAvailablePlaylistNameWithPrefix("Shared"), "Shared 2");
}

}  // namespace
}  // namespace qsml
