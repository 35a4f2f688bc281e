// Extensions that could not be registered: they are named, and a rebuild brings them back. What the
// rows do not tell is not dropped on the way.
#include <gtest/gtest.h>

#include <algorithm>

#include "store/detail/testing/LengthsExtension.h"
#include "store/detail/testing/PlainSqlite.h"
#include "store/relationships/testing/OpenGraph.h"
#include "store/views/YapDatabaseAutoView.h"
#include "store/views/YapDatabaseFilteredView.h"
#include "testing/LogCapture.h"

namespace qsml {
namespace {

class GivenStoredEdges : public OpenGraph {
protected:
    void SetUp() override {
        OpenGraph::SetUp();
        set("a", {to("b"), to("nowhere")});
        set("b");
        ASSERT_TRUE(write([](Writer& t) {
            ASSERT_TRUE(graphOf(t)->addEdge(to("b", 0, "manual"), {"nodes", "a"}));
        }));
        ASSERT_EQ(edges(), all_);
    }
    /// Makes the page of the closed file on which the table begins unreadable as a tree.
    void spoil(const std::string& table) {
        close();
        PlainSqlite file(path_);
        file.query("PRAGMA wal_checkpoint(TRUNCATE)");
        const auto page =
            std::stoul(file.query("SELECT rootpage FROM sqlite_master WHERE name='" + table + "'"));
        std::string bytes = contentOf(path_);
        bytes.replace((page - 1) * 8192, 8192, std::string(8192, '\x7f'));
        writeFile(path_, bytes);
        openFile();
    }
    void sql(const std::string& statement) {
        close();
        EXPECT_EQ(PlainSqlite(path_).query(statement), "");
        openFile();
    }
    /// The names of extensions that are found fault with.
    std::vector<std::string> faulty() {
        std::vector<std::string> names;
        EXPECT_FALSE(database_->check([&](const YapDatabase::Fault& fault) {
            if (!fault.extension.empty()) names.push_back(fault.extension);
            EXPECT_NE(fault.description, "");
        }));
        return names;
    }
    void expectRefused(const std::shared_ptr<YapDatabaseExtension>& extension) {
        Error error;
        EXPECT_FALSE(database_->registerExtension(extension, "relationship", &error));
        EXPECT_NE(error.description.find("is not in the rows, and is kept"), std::string::npos)
            << error.description;
    }

    static constexpr const char* all_ = "!a-manual>b a-e>b a-e>nowhere";
};

TEST_F(GivenStoredEdges, WhenDamageKeepsThemFromBeingRegisteredThenARebuildBringsThemBack) {
    for (const char* table : {"relationship_names", "relationship_absent"}) {
        SCOPED_TRACE(table);
        spoil(table);
        EXPECT_FALSE(add());
        EXPECT_EQ(faulty(), std::vector<std::string>{"relationship"});
        const LogCapture log;
        Error error;
        EXPECT_TRUE(database_->rebuildExtensions(&error)) << error.description;
        EXPECT_EQ(log.linesWith("made anew from the rows, and what only it held is lost").size(),
                  1u);
        EXPECT_EQ(database_->registeredExtensionNames(), std::vector<std::string>{"relationship"});
        EXPECT_EQ(edges(), "a-e>b a-e>nowhere");
        EXPECT_TRUE(database_->compact());
        EXPECT_EQ(faults(), "");
        open();
        EXPECT_EQ(edges(), "a-e>b a-e>nowhere");
    }
}

TEST_F(GivenStoredEdges, WhenRowsAreSetAsideThenAMissingExtensionWaitsForTheRebuild) {
    spoil("relationship_names");
    EXPECT_FALSE(add());
    EXPECT_EQ(PlainSqlite(path_).query("UPDATE row SET checksum=1 WHERE key='b'"), "");
    const LogCapture quiet;
    std::uint64_t count = 0;
    EXPECT_TRUE(database_->setAsideDamagedRows([](const auto&) { return true; }, &count));
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(PlainSqlite(path_).query("SELECT count(*) FROM row WHERE key='b'"), "0\n");
    EXPECT_EQ(faulty(), std::vector<std::string>{"relationship"});
    EXPECT_TRUE(database_->rebuildExtensions());
    EXPECT_EQ(edges(), "a-e>b a-e>nowhere");
}

TEST_F(GivenStoredEdges, WhenOthersWantTheNameThenTheyAreKept) {
    openFile();
    expectRefused(std::make_shared<LengthsExtension>());
    YapDatabaseViewSorting sorting;
    sorting.sortKey = [](auto&, std::string_view, const YapDatabaseRow& row) {
        return std::string(row.key);
    };
    const auto view = std::make_shared<YapDatabaseAutoView>(
        [](auto&, const YapDatabaseRow&) { return String("all"); }, std::move(sorting));
    ASSERT_TRUE(database_->registerExtension(view, "view"));
    expectRefused(std::make_shared<YapDatabaseFilteredView>(
        "view", [](auto&, auto, auto, auto) { return true; }));
    EXPECT_TRUE(add());
    EXPECT_EQ(edges(), all_);
    EXPECT_EQ(faults(), "") << "what was refused before is still missed";
}

TEST_F(GivenStoredEdges, WhenAnotherFormatIsStoredThenNeitherRegisteringNorRebuildingDropsIt) {
    const std::string format = "SET data='%' WHERE extension='relationship' AND key='#format'";
    const auto setFormat = [&](const std::string& number) {
        std::string text = "UPDATE yap " + format;
        sql(text.replace(text.find('%'), 1, number));
    };
    sql("DELETE FROM yap WHERE key='#original'");  // as files of older versions are
    setFormat("99");
    expectRefused(std::make_shared<YapDatabaseRelationship>());
    Error error;
    EXPECT_FALSE(database_->rebuildExtensions(&error));
    EXPECT_NE(error.description.find("\"relationship\""), std::string::npos);
    EXPECT_NE(error.description.find("its format was \"99\" and is \"1\""), std::string::npos)
        << error.description;
    setFormat("1");
    EXPECT_TRUE(add());
    EXPECT_EQ(edges(), all_);
}

class GivenExtensionsThatFail : public OpenStore {
protected:
    bool add(const std::shared_ptr<LengthsExtension>& extension, const std::string& name,
             std::vector<std::string> needed = {}) {
        extension->needed = std::move(needed);
        return store_.database().registerExtension(extension, name);
    }
    std::vector<std::string> names() { return store_.database().registeredExtensionNames(); }

    std::shared_ptr<LengthsExtension> first_ = std::make_shared<LengthsExtension>(),
                                      second_ = std::make_shared<LengthsExtension>();
};

TEST_F(GivenExtensionsThatFail, WhenRebuiltThenTheyStandWhereTheyWereMeantTo) {
    ASSERT_TRUE(add(std::make_shared<LengthsExtension>(), "before"));
    first_->failsToFill = true;
    EXPECT_FALSE(add(first_, "first"));
    EXPECT_FALSE(add(second_, "second", {"first"}));
    EXPECT_FALSE(add(std::make_shared<LengthsExtension>(), "mistaken", {"nowhere"}));
    EXPECT_FALSE(add(second_, "before")) << "the name is taken";
    ASSERT_TRUE(add(std::make_shared<LengthsExtension>(), "after"));
    ASSERT_TRUE(store_.set("key", "text"));
    EXPECT_NE(store_.faults().find("The filling fails"), std::string::npos) << store_.faults();
    EXPECT_NE(store_.faults().find("\"first\" must be registered before"), std::string::npos);
    EXPECT_EQ(store_.faults().find("nowhere"), std::string::npos) << store_.faults();

    Error error;
    EXPECT_FALSE(store_.database().rebuildExtensions(&error));
    EXPECT_EQ(error.description,
              "The extension \"first\" cannot be registered: The filling fails.");
    EXPECT_EQ(names(), (std::vector<std::string>{"before", "after"}));

    first_->failsToFill = false;
    EXPECT_TRUE(store_.database().rebuildExtensions(&error)) << error.description;
    EXPECT_EQ(names(), (std::vector<std::string>{"before", "first", "second", "after"}));
    ASSERT_TRUE(store_.set("other", "text"));
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenExtensionsThatFail, WhenOneStaysMissingThenTheOthersAreMendedAllTheSame) {
    ASSERT_TRUE(add(std::make_shared<LengthsExtension>(), "sound"));
    first_->failsToFill = true;
    EXPECT_FALSE(add(first_, "missing"));
    ASSERT_TRUE(store_.set("key", "text"));
    EXPECT_EQ(PlainSqlite(store_.path()).query("DELETE FROM sound_lengths"), "");
    Error error;
    EXPECT_FALSE(store_.database().rebuildExtensions(&error));
    EXPECT_NE(error.description.find("\"missing\""), std::string::npos) << error.description;
    EXPECT_EQ(store_.faults().find("[sound]"), std::string::npos) << store_.faults();
    EXPECT_TRUE(store_.database().unregisterExtension("missing")) << "it is given up";
    EXPECT_EQ(store_.faults(), "");
    EXPECT_TRUE(store_.database().rebuildExtensions());
}

TEST_F(GivenExtensionsThatFail, WhenTheParentComesLaterThenTheChildStandsBehindIt) {
    first_->failsToFill = true;
    EXPECT_FALSE(add(first_, "parent"));
    EXPECT_FALSE(add(second_, "child", {"parent"}));
    first_->failsToFill = false;
    EXPECT_TRUE(add(first_, "parent"));
    EXPECT_TRUE(store_.database().rebuildExtensions());
    EXPECT_EQ(names(), (std::vector<std::string>{"parent", "child"}));
}

TEST_F(GivenExtensionsThatFail, WhenItsParentIsUnregisteredThenNobodyMissesTheChild) {
    ASSERT_TRUE(add(first_, "parent"));
    second_->failsToFill = true;
    EXPECT_FALSE(add(second_, "child", {"parent"}));
    EXPECT_TRUE(store_.database().unregisterExtension("parent"));
    EXPECT_EQ(store_.faults(), "");
    EXPECT_TRUE(store_.database().rebuildExtensions());
}

TEST_F(GivenExtensionsThatFail, WhenThereIsNoInstanceThenThatIsTheError) {
    Error error;
    EXPECT_FALSE(store_.database().registerExtension(nullptr, "nothing", &error));
    EXPECT_TRUE(error);
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenExtensionsThatFail, WhenOneIsRegisteredAfterAllThenItIsNoLongerMissed) {
    first_->failsToFill = true;
    EXPECT_FALSE(add(first_, "first"));
    EXPECT_NE(store_.faults(), "");
    EXPECT_TRUE(add(second_, "first"));
    EXPECT_EQ(store_.faults(), "");
    EXPECT_TRUE(store_.database().rebuildExtensions());
    EXPECT_EQ(names(), std::vector<std::string>{"first"});
}

}  // namespace
}  // namespace qsml
