// The extensions of a library as a whole: which there are, and how they come back when the library
// is opened again.
#include <gtest/gtest.h>

#include "contentpacks/PLXContentPackMediaItem.h"
#include "contentpacks/PLXLooperPack.h"
#include "database/PLXViewDataSource.h"
#include "database/extensions/testing/ViewedLibrary.h"
#include "foundation/text.h"
#include "organisation/PLXHistorySession.h"
#include "organisation/PLXMediaItemPlaylistItem.h"
#include "organisation/PLXQueueItem.h"
#include "store/detail/testing/PlainSqlite.h"
#include "store/views/YapDatabaseAutoView.h"
#include "store/views/YapDatabaseSearchResultsView.h"
#include "testing/LogCapture.h"

namespace qsml {
namespace {

using Names = std::vector<std::string>;
using Writer = YapDatabaseReadWriteTransaction;

struct Registered {
    const char* name;
    const char* versionTag;
    std::set<std::string, std::less<>> collections;
};

const std::vector<Registered> views = {
    {"mediaView",
     "2",
     {"mediaItems", "mediaArtists", "mediaAlbums", "mediaGenres", "mediaLabels",
      "mediaItemPlaylists"}},
    {"mediaItemsView", "1", {"mediaItems"}},
    {"mediaItemOriginalSourceView", "1", {"mediaItems"}},
    {"mediaItemPlaylistsView", "1", {"mediaItemPlaylists"}},
    {"mediaItemPlaylistView", "1", {"mediaItemPlaylistItems"}},
    {"historySessionView", "1", {"historySessions"}},
    {"queueView", "1", {"queueItems"}},
    {"mediaItemKeySignatureIndexView", "1", {"mediaItemAnalyzedData"}},
    {"contentPacksView", "3", {"contentPacks"}},
    {"installedContentPacksView", "3", {"contentPacks"}},
    {"contentPackMediaItemsView", "1", {"contentPackMediaItems"}},
    {"userContentPacksView", "3", {"userContentPacks"}},
    {"userContentPackMediaItemsView", "1", {"userContentPackMediaItems"}},
    {"allAvailableContentPacksView", "3", {"contentPacks", "userContentPacks"}},
    {"allInstalledContentPacksView", "3", {"contentPacks", "userContentPacks"}}};

class GivenAnEmptyLibrary : public ViewedLibrary {};

TEST_F(GivenAnEmptyLibrary, WhenSetUpThenTheseExtensionsAreRegisteredInThisOrder) {
    EXPECT_EQ(manager_.database()->registeredExtensionNames(),
              (Names{"relationship",
                     "mediaItemUserDataSearchIndex",
                     "mediaItemAnalyzedDataIndex",
                     "mediaView",
                     "mediaItemsView",
                     "mediaItemOriginalSourceView",
                     "mediaItemPlaylistsView",
                     "mediaItemPlaylistView",
                     "mediaItemPlaylistIndex",
                     "historySessionView",
                     "queueView",
                     "searchIndex",
                     "searchResultsView",
                     "mediaItemKeySignatureIndexView",
                     "contentPacksView",
                     "installedContentPacksView",
                     "contentPackMediaItemsView",
                     "userContentPacksView",
                     "userContentPackMediaItemsView",
                     "allAvailableContentPacksView",
                     "allInstalledContentPacksView",
                     "contentPackIndex",
                     "userContentPackIndex"}));
}

TEST_F(GivenAnEmptyLibrary, WhenSetUpThenEachViewIsRegisteredAsItIsStored) {
    for (const Registered& expected : views) {
        SCOPED_TRACE(expected.name);
        const auto extension = manager_.database()->registeredExtension(expected.name);
        ASSERT_TRUE(std::dynamic_pointer_cast<YapDatabaseAutoView>(extension));
        EXPECT_EQ(extension->versionTag(), expected.versionTag);
        EXPECT_TRUE(extension->isPersistent());
        ASSERT_TRUE(extension->allowedCollections());
        EXPECT_EQ(*extension->allowedCollections(), expected.collections);
    }
}

TEST(GivenNoLibrary, WhenAnExtensionIsSetUpThenThatIsLoggedAndNothingHappens) {
    const LogCapture log;
    PLXDatabaseManager manager;
    manager.setupMediaItemsViewExtension();
    EXPECT_EQ(log.linesWith("\"mediaItemsView\" is absent: The library is not set up.").size(), 1u);
    EXPECT_EQ(manager.database(), nullptr);
}

/// A library that is closed and opened again, with a row in every view.
class GivenAStoredLibrary : public ::testing::Test {
protected:
    GivenAStoredLibrary() { setCurrentLocale("en_US"); }
    ~GivenAStoredLibrary() override { setCurrentLocale(""); }
    void SetUp() override { withLibrary(fill); }

    void withLibrary(const std::function<void(PLXDatabaseManager&)>& block) {
        DispatchQueue queue("tests.notifications");
        {
            PLXDatabaseManager manager;
            YapDatabaseOptions options;
            options.synchronous = YapDatabaseSynchronous::normal;
            options.notificationQueue = &queue;
            manager.setDatabaseOptions(options);
            Error error;
            ASSERT_TRUE(manager.setupDatabaseWithFileURL(
                URL::fileURLWithPath(directory_.path() + "/library.qsml"), &error))
                << error.description;
            block(manager);
        }
        for (int turn = 0; turn < 3; ++turn) queue.sync([] {});
    }
    static void write(PLXDatabaseManager& manager, const std::function<void(Writer&)>& block) {
        EXPECT_TRUE(manager.bgDatabaseConnection()->readWrite(block));
    }
    template <class Record>
    static std::shared_ptr<Record> put(Writer& t, std::string_view key, const char* collection,
                                       const std::function<void(Record&)>& edit = {}) {
        const auto record = Record::initWithUUID(key);
        if (edit) edit(*record);
        EXPECT_TRUE(t.setObject(record, key, collection));
        return record;
    }
    static void fill(PLXDatabaseManager& manager) {
        write(manager, [](Writer& t) {
            put<PLXMediaItem>(t, "o", "mediaItems", [](auto& r) { r.setTitle("öre"); });
            put<PLXMediaItem>(t, "p", "mediaItems", [](auto& r) { r.setTitle("Pan"); });
            put<PLXMediaItem>(t, "z", "mediaItems", [](auto& r) { r.setTitle("zoo"); });
            put<PLXMediaItemPlaylist>(t, "list", "mediaItemPlaylists");
            put<PLXMediaItemPlaylistItem>(t, "entry", "mediaItemPlaylistItems",
                                          [](auto& r) { r.setPlaylistUUID("list"); });
            put<PLXHistorySession>(t, "session", "historySessions");
            put<PLXQueueItem>(t, "queued", "queueItems", [](auto& r) { r.setQueueUUID("q"); });
            put<PLXMediaItemAnalyzedData>(t, "data", "mediaItemAnalyzedData");
            put<PLXContentPackMediaItem>(t, "file", "contentPackMediaItems",
                                         [](auto& r) { r.setContentPackUUID("pack"); });
            put<PLXContentPackMediaItem>(t, "file", "userContentPackMediaItems");
            for (const char* collection : {"contentPacks", "userContentPacks"})
                put<PLXLooperPack>(t, "pack", collection, [](auto& r) { r.setState(3); });
        });
    }
    static ViewGroups shown(PLXDatabaseManager& manager, std::string_view name) {
        ViewGroups groups;
        manager.bgDatabaseConnection()->read(
            [&](YapDatabaseReadTransaction& t) { groups = groupsShown(t, name); });
        return groups;
    }
    static Names tracks(PLXDatabaseManager& manager) {
        return shown(manager, "mediaView")["mediaItem"];
    }
    static bool isSound(PLXDatabaseManager& manager) {
        return manager.database()->check([](const YapDatabase::Fault& fault) {
            ADD_FAILURE() << fault.extension << ": " << fault.key << " " << fault.description;
        });
    }

    /// Leaves in the file, under the view's name, a view of the same making that shows nothing.
    static void replaceByEmptyView(PLXDatabaseManager& manager, const std::string& name,
                                   const std::string& versionTag) {
        const auto real = std::dynamic_pointer_cast<YapDatabaseAutoView>(
            manager.database()->registeredExtension(name));
        ASSERT_TRUE(real);
        ASSERT_TRUE(manager.database()->unregisterExtension(name));
        ASSERT_TRUE(manager.database()->registerExtension(
            std::make_shared<YapDatabaseAutoView>(
                [](YapDatabaseReadTransaction&, const YapDatabaseRow&) { return String(); },
                real->sorting(), versionTag),
            name));
    }

    std::size_t rebuilt() const { return log_.linesWith("was rebuilt").size(); }

    TemporaryDirectory directory_;
    LogCapture log_;
};

TEST_F(GivenAStoredLibrary, WhenOpenedAgainThenEveryViewShowsWhatItDid) {
    std::map<std::string, ViewGroups> before;
    withLibrary([&](PLXDatabaseManager& manager) {
        for (const Registered& view : views) {
            before[view.name] = shown(manager, view.name);
            EXPECT_FALSE(before[view.name].empty()) << view.name;
        }
    });
    withLibrary([&](PLXDatabaseManager& manager) {
        for (const Registered& view : views)
            EXPECT_EQ(shown(manager, view.name), before[view.name]) << view.name;
        EXPECT_EQ(rebuilt(), 0u);
        EXPECT_TRUE(isSound(manager));
    });
}

TEST_F(GivenAStoredLibrary, WhenAViewOfAnotherVersionTagIsInTheFileThenItIsMadeAnew) {
    std::map<std::string, ViewGroups> before;
    withLibrary([&](PLXDatabaseManager& manager) {
        for (const Registered& view : views) {
            before[view.name] = shown(manager, view.name);
            replaceByEmptyView(manager, view.name, std::string(view.versionTag) + "0");
        }
    });
    withLibrary([&](PLXDatabaseManager& manager) {
        for (const Registered& view : views)
            EXPECT_EQ(shown(manager, view.name), before[view.name]) << view.name;
        EXPECT_EQ(rebuilt(), views.size());
        EXPECT_TRUE(isSound(manager));
    });
}

TEST_F(GivenAStoredLibrary, WhenAViewOfTheSameVersionTagIsInTheFileThenItIsTakenAsItIs) {
    withLibrary([&](PLXDatabaseManager& manager) {
        for (const Registered& view : views)
            replaceByEmptyView(manager, view.name, view.versionTag);
    });
    withLibrary([&](PLXDatabaseManager& manager) {
        for (const Registered& view : views)
            EXPECT_EQ(shown(manager, view.name), ViewGroups()) << view.name;
        EXPECT_EQ(rebuilt(), 0u);
    });
}

TEST_F(GivenAStoredLibrary, WhenTheLocaleIsAnotherThenTheListsAreSortedAnew) {
    withLibrary([](auto& manager) { EXPECT_EQ(tracks(manager), (Names{"o", "p", "z"})); });
    EXPECT_EQ(rebuilt(), 0u);
    setCurrentLocale("sv_SE");
    withLibrary([&](PLXDatabaseManager& manager) {
        EXPECT_EQ(rebuilt(), 8u) << "the views that are sorted by names";
        EXPECT_EQ(tracks(manager), (Names{"p", "z", "o"}));
        write(manager, [](Writer& t) {
            put<PLXMediaItem>(t, "ö", "mediaItems", [](auto& r) { r.setTitle("Öra"); });
        });
        EXPECT_EQ(tracks(manager), (Names{"p", "z", "ö", "o"}));
        EXPECT_TRUE(isSound(manager));
    });
    setCurrentLocale("en_US");
    withLibrary([](PLXDatabaseManager& manager) {
        EXPECT_EQ(tracks(manager), (Names{"ö", "o", "p", "z"}));
        EXPECT_TRUE(isSound(manager));
    });
}

TEST_F(GivenAStoredLibrary, WhenTheLocaleChangesWhileItIsOpenThenItsListsKeepTheirOrder) {
    withLibrary([](PLXDatabaseManager& manager) {
        setCurrentLocale("sv_SE");
        write(manager, [](Writer& t) {
            put<PLXMediaItem>(t, "ö", "mediaItems", [](auto& r) { r.setTitle("Öra"); });
        });
        EXPECT_EQ(tracks(manager), (Names{"ö", "o", "p", "z"}));
        EXPECT_TRUE(isSound(manager));
    });
    setCurrentLocale("en_US");
    withLibrary([](PLXDatabaseManager& manager) {
        EXPECT_EQ(tracks(manager), (Names{"ö", "o", "p", "z"}));
        EXPECT_TRUE(isSound(manager));
    });
    EXPECT_EQ(rebuilt(), 0u);
}

TEST_F(GivenAStoredLibrary, WhenAnExtensionCannotBeRegisteredThenItIsAbsentAndTheLibraryWorks) {
    withLibrary([](PLXDatabaseManager& manager) {
        for (const char* name : {"searchResultsView", "mediaView"})
            ASSERT_TRUE(manager.database()->unregisterExtension(name));
    });
    const std::string file = directory_.path() + "/library.qsml";
    ASSERT_EQ(PlainSqlite(file).query("CREATE TABLE mediaView_groups(mine)"), "");
    withLibrary([&](PLXDatabaseManager& manager) {
        for (const std::string name : {"mediaView", "searchResultsView"}) {
            EXPECT_EQ(log_.linesWith("\"" + name + "\" is absent: ").size(), 1u) << name;
            EXPECT_EQ(manager.database()->registeredExtension(name), nullptr) << name;
            manager.bgDatabaseConnection()->read([&](YapDatabaseReadTransaction& t) {
                EXPECT_EQ(t.ext<YapDatabaseViewTransaction>(name), nullptr) << name;
            });
            const auto list = PLXViewDataSource::initWithView(name, {"mediaItem"}, manager);
            EXPECT_EQ(list->numberOfRowsInSection(0), 0u) << name;
        }
        write(manager, [](Writer& t) {
            put<PLXMediaItem>(t, "new", "mediaItems", [](auto& r) { r.setTitle("a"); });
        });
        EXPECT_EQ(shown(manager, "mediaItemsView")["mediaItem"], (Names{"p", "new", "z", "o"}));
        manager.database()->check([](const YapDatabase::Fault& fault) {
            EXPECT_TRUE(fault.extension == "mediaView" || fault.extension == "searchResultsView")
                << fault.extension << ": " << fault.key << " " << fault.description;
        });
    });
    EXPECT_EQ(log_.linesWith("is absent").size(), 2u);
}

TEST_F(GivenAStoredLibrary, WhenOpenedAgainThenTheSearchHasNoResultsUntilTheNext) {
    const auto search = [](PLXDatabaseManager& manager) {
        write(manager, [](Writer& t) {
            t.ext<YapDatabaseSearchResultsViewTransaction>("searchResultsView")
                ->performSearchFor("pan");
        });
        return shown(manager, "searchResultsView");
    };
    const ViewGroups found{{"mediaItem", {"p"}}};
    withLibrary([&](PLXDatabaseManager& manager) { EXPECT_EQ(search(manager), found); });
    withLibrary([&](PLXDatabaseManager& manager) {
        EXPECT_EQ(shown(manager, "searchResultsView"), ViewGroups());
        EXPECT_EQ(search(manager), found);
    });
}

}  // namespace
}  // namespace qsml
