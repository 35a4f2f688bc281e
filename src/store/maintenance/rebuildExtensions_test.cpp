// Building all extensions anew, on request, whatever has become of them.
#include <gtest/gtest.h>

#include "foundation/NotificationCenter.h"
#include "store/detail/testing/LengthsExtension.h"
#include "store/maintenance/testing/DerivedStore.h"
#include "store/relationships/testing/OpenGraph.h"
#include "testing/ChildProcess.h"
#include "testing/LogCapture.h"

namespace qsml {
namespace {

class GivenDerivedData : public DerivedStore {
protected:
    /// Opens with all extensions, finds the damage, and mends it.
    void expectMended(const std::string& sql) {
        damage(sql);
        const LogCapture quiet;
        registerDamaged();
        EXPECT_NE(store_.faults(), "") << "there was no damage";
        rebuild();
        registerDamaged();
        expectWhole();
        ASSERT_TRUE(store_.open());
        registerAll();
        expectWhole();
    }
    /// As the manager does: a list on a list that cannot be read is absent at first.
    void registerDamaged() {
        auto& database = store_.database();
        database.registerExtension(std::make_shared<RowListExtension>(), "list");
        database.registerExtension(makeView(), "view");
        database.registerExtension(makeFiltered(), "filtered");
        database.registerExtension(makeSearch(), "search");
    }
    void rebuild() {
        Error error;
        EXPECT_TRUE(store_.database().rebuildExtensions(&error)) << error.description;
    }
    /// The root page of a table or index.
    long root(const std::string& name) {
        return std::stol(
            PlainSqlite(store_.path())
                .query("SELECT rootpage FROM sqlite_master WHERE name='" + name + "'"));
    }
    /// Makes the page of the closed file unreadable as a tree.
    void spoilPage(long page) {
        std::string file = contentOf(store_.path());
        const auto at = static_cast<std::size_t>(page - 1) * 8192;
        ASSERT_LT(at, file.size());
        file.replace(at, 8192, std::string(8192, '\x7f'));
        writeFile(store_.path(), file);
    }
};

TEST_F(GivenDerivedData, WhenNothingIsWrongThenItStaysAsItIs) {
    rebuild();
    expectWhole();
}

TEST_F(GivenDerivedData, WhenNodesOfAViewAreDamagedThenItIsBuiltAnew) {
    expectMended("UPDATE view_nodes SET data=zeroblob(40)");
    expectMended("DELETE FROM view_nodes WHERE id=(SELECT max(id) FROM view_nodes)");
}

TEST_F(GivenDerivedData, WhenPlacesAndGroupsOfAViewAreDamagedThenItIsBuiltAnew) {
    expectMended("UPDATE view_places SET viewgroup=99 WHERE rowid%7=0");
    expectMended("UPDATE view_groups SET count=count-1");
}

TEST_F(GivenDerivedData, WhenASearchIsDamagedThenItIsBuiltAnew) {
    expectMended("DELETE FROM search_texts WHERE rowid%3=0");
    expectMended("UPDATE search_search_data SET block=zeroblob(30)");
}

TEST_F(GivenDerivedData, WhenRowsAreMissingInAListThenItIsBuiltAnew) {
    expectMended("DELETE FROM list_rows WHERE id%2=0");
}

TEST_F(GivenDerivedData, WhenAModuleCannotReadItsTablesThenRegisteringBuildsItAnew) {
    damage("DELETE FROM search_search_config");
    const LogCapture log;
    registerAll();
    rebuild();
    expectWhole();
}

TEST_F(GivenDerivedData, WhenPagesOfATableAreDamagedThenItIsBuiltAnewAndCompactingFreesThem) {
    for (const char* table : {"view_nodes", "view_places", "search_texts", "search_search_data"}) {
        SCOPED_TRACE(table);
        const long page = root(table);
        store_.close();
        spoilPage(page);
        const LogCapture log;
        ASSERT_TRUE(store_.open());
        registerDamaged();
        rebuild();
        registerDamaged();
        EXPECT_EQ(items(store_.connection(), "view"), rowCount);
        EXPECT_EQ(matches(store_.connection(), "lorem"), rowCount);
        Error error;
        EXPECT_TRUE(store_.database().compact(&error)) << error.description;
        expectWhole();
    }
}

TEST_F(GivenDerivedData, WhenRebuiltThenPinnedConnectionsLearnThatAnythingMayHaveChanged) {
    const auto reader = store_.database().newConnection();
    reader->beginLongLivedReadTransaction();
    const auto snapshot = store_.database().snapshot();
    store_.drain();  // of the registrations' announcements
    std::vector<bool> announced;
    const auto observer = NotificationCenter::defaultCenter().addObserver(
        std::string(YapDatabaseModifiedNotification), &store_.database(),
        [&](const Notification& notification) {
            const auto commit = std::any_cast<std::shared_ptr<const YapDatabaseCommit>>(
                notification.userInfo.find(YapDatabaseCommitKey)->second);
            announced.push_back(commit->isForeign && commit->connection == nullptr);
        });
    rebuild();
    EXPECT_EQ(store_.database().snapshot(), snapshot + 1);
    EXPECT_EQ(reader->snapshot(), snapshot) << "the pin moved by itself";
    EXPECT_EQ(items(*reader, "view"), rowCount);
    const auto commits = reader->beginLongLivedReadTransaction();
    ASSERT_EQ(commits.size(), 1u);
    EXPECT_TRUE(commits[0]->isForeign);
    EXPECT_TRUE(YapDatabaseConnection::hasChangeForKey("any", "collection", commits));
    EXPECT_EQ(items(*reader, "filtered"), rowCount / 2);
    store_.drain();
    EXPECT_EQ(announced, std::vector<bool>{true});
}

TEST_F(GivenDerivedData, WhenRebuiltThenAFilterThatWasSetStays) {
    ASSERT_TRUE(store_.connection().readWrite([](auto& transaction) {
        auto* view = transaction.template ext<YapDatabaseFilteredViewTransaction>("filtered");
        ASSERT_TRUE(view);
        view->setFiltering([](auto&&...) { return true; }, "all");
    }));
    rebuild();
    EXPECT_EQ(items(store_.connection(), "filtered"), rowCount);
}

TEST_F(GivenDerivedData, WhenRebuiltThenProgressAndLogTellOfEachOne) {
    std::vector<std::string> heard;
    store_.options.rebuildProgress = [&](std::string_view extension, std::uint64_t done,
                                         std::uint64_t total) {
        if (done == total) heard.emplace_back(extension);
    };
    ASSERT_TRUE(store_.open());
    registerAll();
    const LogCapture log;
    rebuild();
    EXPECT_EQ(heard, (std::vector<std::string>{"list", "view", "search"}));
    const auto lines = log.linesWith(" was rebuilt from 1500 rows in ");
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].find("The extension \"list\""), 0u);
    EXPECT_NE(lines[0].find(" ms: that was asked for."), std::string::npos);
}

TEST_F(GivenDerivedData, WhenOneFailsThenAllStayAsTheyWere) {
    const auto last = std::make_shared<LengthsExtension>();
    add(last, "last");
    last->failsToFill = true;
    const auto snapshot = store_.database().snapshot();
    Error error;
    const LogCapture log;
    EXPECT_FALSE(store_.database().rebuildExtensions(&error));
    EXPECT_EQ(error.description, "The filling fails.");
    EXPECT_EQ(store_.database().snapshot(), snapshot);
    EXPECT_TRUE(log.linesWith("rebuilt").empty());
    expectWhole();
    last->failsToFill = false;
    rebuild();
    ASSERT_TRUE(store_.set("new", "word"));
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenDerivedData, WhenThereIsNothingToRebuildThenNothingIsWritten) {
    ASSERT_TRUE(store_.open());
    const auto snapshot = store_.database().snapshot();
    rebuild();
    EXPECT_EQ(store_.database().snapshot(), snapshot);
}

TEST_F(GivenDerivedData, WhenAnotherProcessReadsThenItGoesOn) {
    ChildProcess other("qsml_store_child");
    ASSERT_EQ(other.ask("open " + store_.path()), "ok");
    ASSERT_EQ(other.ask("begin"), "0 foreign, 0 own");
    rebuild();
    EXPECT_EQ(other.ask("begin"), "1 foreign, 0 own");
    EXPECT_EQ(other.ask("get " + keyOf(0)), "word number0 lorem ipsum");
}

class GivenEdgesMadeByHand : public OpenGraph {
protected:
    void SetUp() override {
        OpenGraph::SetUp();
        set("a", {to("b")});
        set("b");
        set("c");
        ASSERT_TRUE(write([](Writer& t) {
            ASSERT_TRUE(graphOf(t)->addEdge(to("c", 0, "manual"), {"nodes", "b"}));
        }));
        ASSERT_EQ(edges(), "!b-manual>c a-e>b");
    }
};

TEST_F(GivenEdgesMadeByHand, WhenRebuiltThenTheyAreKept) {
    EXPECT_TRUE(database_->rebuildExtensions());
    EXPECT_EQ(edges(), "!b-manual>c a-e>b");
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenEdgesMadeByHand, WhenTheirTableIsBeyondReadingThenOnlyARebuildOnRequestGivesThemUp) {
    close();
    const long page = std::stol(PlainSqlite(path_).query(
        "SELECT rootpage FROM sqlite_master WHERE name='relationship_manual'"));
    std::string file = contentOf(path_);
    file.replace(static_cast<std::size_t>(page - 1) * 8192, 8192, std::string(8192, '\x7f'));
    writeFile(path_, file);
    openFile();
    ASSERT_TRUE(add());
    const LogCapture log;
    Error error;
    EXPECT_TRUE(database_->rebuildExtensions(&error)) << error.description;
    EXPECT_EQ(log.linesWith("made anew from the rows, and what only it held is lost").size(), 1u);
    EXPECT_EQ(edges(), "a-e>b");
    EXPECT_TRUE(database_->compact());
    EXPECT_EQ(faults(), "");
}

}  // namespace
}  // namespace qsml
