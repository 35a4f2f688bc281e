#include "store/relationships/YapDatabaseRelationship.h"

#include "store/detail/testing/PlainSqlite.h"
#include "store/relationships/testing/OpenGraph.h"
#include "testing/FaultyFiles.h"

namespace qsml {
namespace {

class GivenARegisteredGraph : public OpenGraph {
protected:
    void SetUp() override {
        OpenGraph::SetUp();
        set("d"), set("s", {to("d", 8), to("absent", 4)}), set("t", {to("d", 0, "f")});
    }
    void reopen(const std::string& tag, YapDatabaseRelationshipOptions options = {}) {
        openFile();
        Error error;
        ASSERT_TRUE(add(tag, std::move(options), &error)) << error.description;
    }
    std::string sql(const std::string& text) { return PlainSqlite(path_).query(text); }
    /// As another process that knows the extension, but makes mistakes.
    void expectFault(const std::string& change, const std::string& fault) {
        close();
        const std::string image = contentOf(path_), log = contentOf(path_ + "-wal");
        EXPECT_EQ(sql(change), "");
        reopen("1");
        EXPECT_EQ(faults(), fault);
        close();
        ::unlink((path_ + "-shm").c_str());
        writeFile(path_, image), writeFile(path_ + "-wal", log);
    }

    static constexpr const char* all_ = "s-e>absent s-e>d t-f>d";
};

TEST_F(GivenARegisteredGraph, WhenRegisteredOverRowsThenTheirEdgesAreFound) {
    close();
    openFile();
    ASSERT_TRUE(
        database_->registerExtension(std::make_shared<YapDatabaseRelationship>(), "second"));
    connection_->read([](Reader& t) {
        EXPECT_EQ(t.ext<Graph>("second")->edgeCount({}), 3u);
        EXPECT_EQ(t.ext<Graph>("unknown"), nullptr);
    });
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenARegisteredGraph, WhenReopenedThenNothingIsReadAnew) {
    close();
    EXPECT_EQ(sql("UPDATE relationship_edges SET rules=1 WHERE rules=8"), "");
    reopen("1");
    EXPECT_EQ(edges(), all_);
    EXPECT_EQ(faults(),
              "nodes/s: the edge \"e\" to \"d\" of the collection \"nodes\" has other "
              "rules\n");
    reopen("2");
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenARegisteredGraph, WhenRebuiltThenManualEdgesAreKept) {
    write([](Writer& t) {
        graphOf(t)->addEdge(to("d", 4, "m"), {"nodes", "t"});
        graphOf(t)->addEdge(to("late", 8, "m"), {"nodes", "t"});
    });
    reopen("2");
    EXPECT_EQ(edges(), std::string("!t-m>d !t-m>late ") + all_);
    EXPECT_EQ(faults(), "");
    remove({"d"});
    EXPECT_EQ(keys(), "s");
}

TEST_F(GivenARegisteredGraph, WhenItMissesWritesThenItIsRightAgainWhenItReturns) {
    write([](Writer& t) {
        graphOf(t)->addEdge(to("d", 0, "m"), {"nodes", "t"});
        graphOf(t)->addEdge(to("t", 0, "m"), {"nodes", "s"});
        graphOf(t)->addEdge(to("d", 0, "m"), {"nodes", "s"});
    });
    openFile();
    write([](Writer& t) {  // an orphan from here on
        t.removeObjectForKey("s", "nodes");
        t.removeObjectForKey("d", "nodes");
        set(t, "d"), set(t, "absent", {to("d", 0)});
        t.removeObjectForKey("t", "nodes");
        set(t, "t", {to("absent", 0)});
    });
    ASSERT_TRUE(add());
    EXPECT_EQ(edges(), "!t-m>d absent-e>d t-e>absent");
    EXPECT_EQ(keys(), "absent d t") << "no rules run for writes that were missed";
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenARegisteredGraph, WhenRowsDoNotDecodeThenTheyKeepTheirEdges) {
    write([](Writer& t) {
        auto damaged = std::make_shared<GraphNode>(
            std::vector<Edge>{to("d", 0, "u"), to("absent", 0, "u"), to("gone", 0, "u")});
        damaged->label = "undecodable";
        set(t, "gone");
        t.setObject(damaged, "damaged", "nodes");
    });
    const std::string expected = "damaged-u>absent damaged-u>d damaged-u>gone";
    reopen("2");
    EXPECT_EQ(edges({.name = "u"}), expected);
    EXPECT_EQ(faults().find("edge"), std::string::npos) << "only that they do not decode";
    openFile();
    write([](Writer& t) { set(t, "absent"), t.removeObjectForKey("gone", "nodes"); });
    ASSERT_TRUE(add("3"));
    EXPECT_EQ(edges({.name = "u"}), "damaged-u>absent damaged-u>d") << "that key is not known";
}

TEST_F(GivenARegisteredGraph, WhenUnregisteredThenItsTablesAreGone) {
    ASSERT_TRUE(database_->unregisterExtension("relationship"));
    connection_->read([](Reader& t) { EXPECT_EQ(graphOf(t), nullptr); });
    remove({"s"});
    EXPECT_EQ(keys(), "d t");
    close();
    EXPECT_EQ(sql("SELECT name FROM sqlite_master WHERE name LIKE 'relationship%'"), "");
    reopen("1");
    EXPECT_EQ(edges(), "t-f>d");
}

TEST_F(GivenARegisteredGraph, WhenATableIsMissingThenARebuildMakesItAgain) {
    for (const char* table : {"edges", "names", "absent", "manual"}) {
        close();
        EXPECT_EQ(sql(std::string("DROP TABLE relationship_") + table), "");
        reopen(table);
        EXPECT_EQ(edges(), all_);
        EXPECT_EQ(faults(), "");
    }
}

TEST_F(GivenARegisteredGraph, WhenCollectionsAreGivenThenOnlyTheirObjectsAreAsked) {
    YapDatabaseRelationshipOptions options;
    options.allowedCollections = {"nodes"};
    const auto writeOther = [](Writer& t) {
        t.setObject(std::make_shared<GraphNode>(std::vector<Edge>{to("d", 8)}), "o", "others");
        set(t, "p", {{"e", "o", "others", 2}});
    };
    write(writeOther);
    reopen("1", options);
    EXPECT_EQ(edges(), "p-e>o s-e>absent s-e>d t-f>d");
    write(writeOther);
    EXPECT_EQ(edges(), "p-e>o s-e>absent s-e>d t-f>d");
    EXPECT_EQ(faults(), "");
    write([](Writer& t) { t.removeObjectForKey("o", "others"); });
    EXPECT_EQ(told(), "p|e>o|destination|1") << "any row may be a destination";
    reopen("1");
    EXPECT_EQ(faults(), "");
    EXPECT_NE(YapDatabaseRelationship("", {{{"a b"}}}).configuration(),
              YapDatabaseRelationship("", {{{"a", "b"}}}).configuration());
}

TEST_F(GivenARegisteredGraph, WhenStoredEdgesAreWrongThenCheckNamesEach) {
    const std::string d = "\"e\" to \"d\" of the collection \"nodes\"";
    expectFault("DELETE FROM relationship_edges WHERE rules=8",
                "nodes/s: the edge " + d + " is missing\n");
    expectFault(
        "INSERT INTO relationship_edges SELECT source, source, kind, 0 FROM"
        " relationship_edges WHERE rules=8",
        "nodes/s: the edge \"e\" to \"s\" of the collection \"nodes\" is not declared\n");
    const std::string row = sql("SELECT source - 100000 FROM relationship_edges WHERE rules=8");
    expectFault(
        "INSERT INTO relationship_edges SELECT source - 100000, destination, kind, 0 FROM"
        " relationship_edges WHERE rules=8",
        "/: the edge " + d + " comes from row " + row.substr(0, row.find('\n')) +
            ", which is gone\n");
}

TEST_F(GivenARegisteredGraph, WhenAnEdgeLeadsToAWrongNumberThenNoRowGoesForIt) {
    close();
    EXPECT_EQ(sql("UPDATE relationship_edges SET destination=destination+1000 WHERE rules=8"), "");
    reopen("1");
    remove({"s"});
    EXPECT_EQ(keys(), "d t");
}

TEST_F(GivenARegisteredGraph, WhenOpenedThenTheCostDoesNotDependOnTheEdges) {
    FaultyFiles files;
    close();
    options_.vfsName = files.vfsName();
    std::uint64_t reads[2] = {};
    for (std::uint64_t& count : reads) {
        reopen("1");
        EXPECT_EQ(edges({.source = {{"nodes", "s"}}}), "s-e>absent s-e>d");
        EXPECT_TRUE(database_->checkpoint());
        close();
        files.resetCounts();
        reopen("1");
        count = files.count(FileCall::read);
        std::vector<Edge> list;
        for (int i = 0; i < 20'000; ++i) list.push_back(to(std::to_string(i), 0, "many"));
        set("many", list);
    }
    EXPECT_GT(reads[0], 0u);
    EXPECT_LE(reads[1], reads[0] + 8) << "an inner page here and there";
    close();
}

TEST_F(GivenARegisteredGraph, WhenAManualEdgeIsWrongThenCheckNamesIt) {
    write([](Writer& t) { graphOf(t)->addEdge(to("d", 4, "m"), {"nodes", "t"}); });
    expectFault("UPDATE relationship_manual SET sourceKey='s'",
                "nodes/s: the manual edge \"m\" to \"d\" of the collection \"nodes\" has another "
                "source\n");
    expectFault("UPDATE relationship_manual SET destinationKey='t'",
                "nodes/t: the manual edge \"m\" to \"t\" of the collection \"nodes\" has another "
                "destination\n");
    expectFault("DELETE FROM relationship_edges WHERE kind & 1",
                "nodes/t: a manual edge is missing\n");
    expectFault("DELETE FROM relationship_manual",
                "nodes/t: the manual edge \"m\" to \"d\" of the collection \"nodes\" is not stored "
                "as a whole\n");
    expectFault("INSERT INTO relationship_absent(collection, key) VALUES('nodes', 'x')",
                "nodes/x: an absent row is kept without an edge\n");
}

}  // namespace
}  // namespace qsml
