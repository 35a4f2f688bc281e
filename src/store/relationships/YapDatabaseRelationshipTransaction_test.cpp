#include "store/relationships/YapDatabaseRelationshipTransaction.h"

#include "store/YapDatabaseException.h"
#include "store/relationships/testing/OpenGraph.h"

namespace qsml {
namespace {

using Found = Graph::FoundEdge;

class GivenAGraph : public OpenGraph {
protected:
    void SetUp() override {
        OpenGraph::SetUp();
        set("x"), set("y");
        set("s", {to("x", 0, "artist"), to("y", 0, "artist"), to("x", 0, "genre")});
        set("t", {to("x", 0, "artist"), to("absent", 0, "artist")});
        EXPECT_TRUE(write([](Writer& t) {
            graphOf(t)->addEdge(to("y", 0, "hand"), {"nodes", "t"});
        }));
    }
    static YapDatabaseCollectionKey node(const char* key) { return {"nodes", key}; }
};

TEST_F(GivenAGraph, WhenAskedByAnythingThenExactlyThatIsFound) {
    const String artist = "artist";
    EXPECT_EQ(edges(), "!t-hand>y s-artist>x s-artist>y s-genre>x t-artist>absent t-artist>x");
    EXPECT_EQ(edges({.name = artist}), "s-artist>x s-artist>y t-artist>absent t-artist>x");
    EXPECT_EQ(edges({.source = node("s")}), "s-artist>x s-artist>y s-genre>x");
    EXPECT_EQ(edges({.destination = node("x")}), "s-artist>x s-genre>x t-artist>x");
    EXPECT_EQ(edges({.name = artist, .source = node("s")}), "s-artist>x s-artist>y");
    EXPECT_EQ(edges({.name = artist, .destination = node("x")}), "s-artist>x t-artist>x");
    EXPECT_EQ(edges({.source = node("s"), .destination = node("x")}), "s-artist>x s-genre>x");
    EXPECT_EQ(edges({.name = "genre", .source = node("s"), .destination = node("x")}), "s-genre>x");
    EXPECT_EQ(edges({.destination = node("absent")}), "t-artist>absent");
    EXPECT_EQ(edges({.destination = node("y")}), "!t-hand>y s-artist>y");
}

TEST_F(GivenAGraph, WhenAskedForWhatThereIsNotThenNothingIsFound) {
    EXPECT_EQ(edges({.name = "unknown"}), "");
    EXPECT_EQ(edges({.name = ""}), "");
    EXPECT_EQ(edges({.source = node("unknown")}), "");
    EXPECT_EQ(edges({.source = node("absent")}), "");
    EXPECT_EQ(edges({.destination = node("unknown")}), "");
    EXPECT_EQ(edges({.destination = {{"elsewhere", "x"}}}), "");
    EXPECT_EQ(edges({.source = {{nullptr, nullptr}}}), "");
    EXPECT_EQ(edges({.destination = {{nullptr, nullptr}}}), "");
}

TEST_F(GivenAGraph, WhenAWriteHasPendingEdgesThenQueriesSeeThem) {
    write([](Writer& t) {
        set(t, "s", {to("y", 0, "new")});
        set(t, "u", {to("x", 0, "new")});
        t.removeObjectForKey("t", "nodes");
        EXPECT_EQ(edges(t), "s-new>y u-new>x");
        EXPECT_EQ(edges(t, {.name = "new", .destination = node("x")}), "u-new>x");
        EXPECT_EQ(edges(t, {.source = node("s")}), "s-new>y");
        EXPECT_EQ(edges(t, {.source = node("t")}), "");
        set(t, "t");
        EXPECT_EQ(edges(t, {.source = node("t")}), "!t-hand>y");
        t.removeObjectForKey("y", "nodes");
        EXPECT_EQ(edges(t), "s-new>y u-new>x");
        EXPECT_EQ(edges(t, {.destination = node("y")}), "s-new>y");
    });
    EXPECT_EQ(edges(), "s-new>y u-new>x");
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenAGraph, WhenARowAppearsThenEdgesThatWaitedLeadToIt) {
    write([](Writer& t) {
        set(t, "absent");
        EXPECT_EQ(edges(t, {.destination = node("absent")}), "t-artist>absent");
    });
    EXPECT_EQ(edges({.destination = node("absent")}), "t-artist>absent");
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenAGraph, WhenStoppedThenAnEnumerationEnds) {
    int calls = 0;
    connection_->read([&](Reader& t) {
        graphOf(t)->enumerateEdges({}, [&](const Found&, bool& stop) { stop = ++calls == 2; });
    });
    EXPECT_EQ(calls, 2);
}

TEST_F(GivenAGraph, WhenAnEnumerationWritesThenItGoesOnWithWhatItFound) {
    int calls = 0;
    write([&](Writer& t) {
        graphOf(t)->enumerateEdges({.source = node("s")}, [&](const Found& found, bool&) {
            ++calls;
            EXPECT_EQ(found.edge.destinationCollection, "nodes");
            EXPECT_EQ(found.source, node("s"));
            t.removeObjectForKey("s", "nodes");
        });
    });
    EXPECT_EQ(calls, 3);
}

TEST_F(GivenAGraph, WhenARowHasThousandsOfEdgesThenAllAreFound) {
    std::vector<Edge> list;
    for (int i = 0; i < 2500; ++i) list.push_back(to(std::to_string(i), 0, "many"));
    set("s", list);
    connection_->read([](Reader& t) {
        EXPECT_EQ(graphOf(t)->edgeCount({}), 2503u);
        EXPECT_EQ(graphOf(t)->edgeCount({.name = "many"}), 2500u);
        EXPECT_EQ(graphOf(t)->edgeCount({.source = node("s")}), 2500u);
    });
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenAGraph, WhenAnEdgeIsAddedByHandThenOnlyHandsRemoveIt) {
    write([](Writer& t) {
        EXPECT_TRUE(graphOf(t)->addEdge(to("x", 0, "artist"), node("s")));
        EXPECT_EQ(edges(t, {.source = node("s"), .destination = node("x")}),
                  "!s-artist>x s-artist>x s-genre>x");
    });
    set("s", {to("y", 0, "artist")});
    EXPECT_EQ(edges({.source = node("s")}), "!s-artist>x s-artist>y");
    write([](Writer& t) {
        EXPECT_FALSE(graphOf(t)->removeEdge(to("y", 0, "artist"), node("s"))) << "a protocol edge";
        EXPECT_TRUE(graphOf(t)->removeEdge(to("x", 0, "artist"), node("s")));
        EXPECT_FALSE(graphOf(t)->removeEdge(to("x", 0, "artist"), node("s"))) << "gone";
    });
    EXPECT_EQ(edges({.source = node("s")}), "s-artist>y");
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenAGraph, WhenOnlyManualEdgesChangeThenThatIsACommit) {
    const auto before = database_->snapshot();
    write([](Writer& t) { graphOf(t)->addEdge(to("x", 0, "new"), node("s")); });
    EXPECT_EQ(database_->snapshot(), before + 1);
    write([](Writer& t) {
        EXPECT_EQ(edges(t, {.name = "new"}), "!s-new>x");
        EXPECT_TRUE(graphOf(t)->flush());
    });
    EXPECT_EQ(database_->snapshot(), before + 1);
}

TEST_F(GivenAGraph, WhenAManualEdgeIsImpossibleThenItIsRefused) {
    write([](Writer& t) {
        EXPECT_FALSE(graphOf(t)->addEdge(to("x"), node("unknown")));
        EXPECT_FALSE(graphOf(t)->addEdge({"e", nullptr, "nodes", 0}, node("s")));
        EXPECT_FALSE(graphOf(t)->removeEdge(to("x", 0, "unknown"), node("s")));
        EXPECT_FALSE(graphOf(t)->removeEdge(to("x", 0, "hand"), node("unknown")));
    });
    connection_->read([](Reader& t) {
        EXPECT_THROW(graphOf(t)->addEdge(to("x"), node("s")), YapDatabaseException);
        EXPECT_THROW(graphOf(t)->removeEdge(to("y", 0, "hand"), node("t")), YapDatabaseException);
        EXPECT_TRUE(graphOf(t)->flush());
    });
}

/// For each way of removing a manual edge with all rules: who goes, who is told.
TEST_F(GivenAGraph, WhenAManualEdgeIsRemovedThenTheChosenRulesRun) {
    struct Case {
        EdgeReason processing;
        std::uint32_t rules;
        std::string keys, told;
    };
    const Case cases[] = {
        {EdgeReason::edgeDeleted, 63, "a b", ""},
        {EdgeReason::sourceNodeDeleted, 8, "a", ""},
        {EdgeReason::sourceNodeDeleted, 32, "a", ""},
        {EdgeReason::sourceNodeDeleted, 1 | 2 | 4 | 16, "a b", "b|m>b|source|0"},
        {EdgeReason::destinationNodeDeleted, 4, "b", ""},
        {EdgeReason::destinationNodeDeleted, 16, "b", ""},
        {EdgeReason::destinationNodeDeleted, 1 | 2 | 8 | 32, "a b", "a|m>b|destination|0"}};
    for (const Case& one : cases) {
        SCOPED_TRACE(std::to_string(one.rules) + nameOf(one.processing));
        remove({"a", "b", "s", "t", "x", "y"});
        set("a"), set("b");
        write([&](Writer& t) { graphOf(t)->addEdge(to("b", one.rules, "m"), node("a")); });
        told();
        write([&](Writer& t) {
            EXPECT_TRUE(graphOf(t)->removeEdge(to("b", 0, "m"), node("a"), one.processing));
            EXPECT_EQ(keys(t), "a b");
        });
        EXPECT_EQ(keys(), one.keys);
        EXPECT_EQ(told(), one.told);
        EXPECT_EQ(edges(), "");
    }
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenAGraph, WhenTheRemainingEndIsWrittenAfterTheRemovalThenItsRulesRunAllTheSame) {
    write([](Writer& t) {
        graphOf(t)->addEdge(to("late", 1, "m"), node("s"));
        graphOf(t)->addEdge(to("y", 1, "m"), node("s"));
    });
    write([](Writer& t) {
        EXPECT_TRUE(
            graphOf(t)->removeEdge(to("late", 0, "m"), node("s"), EdgeReason::sourceNodeDeleted));
        EXPECT_TRUE(
            graphOf(t)->removeEdge(to("y", 0, "m"), node("s"), EdgeReason::sourceNodeDeleted));
        set(t, "late");
        t.removeObjectForKey("y", "nodes");
        set(t, "y");
    });
    EXPECT_EQ(told(), "late|m>late|source|0 y|m>y|source|0");
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenAGraph, WhenAManualEdgeLosesAnEndThenItsRulesRunAndItGoes) {
    write([](Writer& t) {
        graphOf(t)->addEdge(to("y", 4, "m"), node("x"));
        graphOf(t)->addEdge(to("late", 8, "m"), node("s"));
    });
    remove({"y"});
    EXPECT_EQ(keys(), "s t");
    EXPECT_EQ(edges({.name = "m"}), "!s-m>late");
    set("late");
    remove({"s"});
    EXPECT_EQ(keys(), "t");
    EXPECT_EQ(edges({.name = "hand"}), "");
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenAGraph, WhenAManualEdgeIsAddedAgainThenItGetsTheNewRules) {
    write([](Writer& t) {
        graphOf(t)->addEdge(to("x", 8, "m"), node("s"));
        graphOf(t)->addEdge(to("x", 1, "m"), node("s"));
        EXPECT_EQ(edges(t, {.name = "m"}), "!s-m>x");
    });
    remove({"s"});
    EXPECT_EQ(keys(), "t x y");
    EXPECT_EQ(told(), "x|m>x|source|0");
}

TEST_F(GivenAGraph, WhenTextsAreStrangeThenTheyAreData) {
    const std::vector<String> texts = {"",
                                       "'; DROP TABLE row; --",
                                       "\"quoted\" 'twice'",
                                       std::string_view("with\0zero", 9),
                                       std::string_view("with\0other", 10),
                                       "\xff\xfe not UTF-8",
                                       std::string(10'240, 'k'),
                                       "😀"};
    for (const String& key : texts) set(key.view());
    std::vector<Edge> list;
    for (const String& name : texts)
        for (const String& key : texts) list.push_back(to(key.view(), 0, name.view()));
    set("strange", list);
    write([&](Writer& t) {
        for (const Edge& edge : list) EXPECT_TRUE(graphOf(t)->addEdge(edge, node("strange")));
    });
    close();
    open();
    connection_->read([&](Reader& t) {
        for (const String& name : texts)
            EXPECT_EQ(graphOf(t)->edgeCount({.name = name, .source = node("strange")}), 16u);
        for (const String& key : texts)
            EXPECT_EQ(graphOf(t)->edgeCount({.name = "", .destination = {{"nodes", key}}}), 2u);
    });
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenAGraph, WhenPartsAreNilThenTheyReadAsEmptyOrNameNothing) {
    write([](Writer& t) { t.setObject("text", "k", std::string_view()); });
    set("s", {{nullptr, "k", nullptr, 8}, {"e", nullptr, "nodes", 0}});
    EXPECT_EQ(edges({.name = "", .source = node("s"), .destination = {{"", "k"}}}), "s->k");
    EXPECT_EQ(edges({.destination = {{nullptr, "k"}}}), "s->k");
    EXPECT_EQ(faults(), "");
    write([](Writer& t) {
        set(t, "s", {{nullptr, "k", nullptr, 0}});
        EXPECT_EQ(edges(t, {.name = "", .destination = {{nullptr, "k"}}}), "s->k");
    });
    remove({"s"});
    connection_->read([](Reader& t) { EXPECT_TRUE(t.hasObjectForKey("k", "")); });
}

TEST_F(GivenAGraph, WhenNamesAreManyThenEachIsFound) {
    std::vector<Edge> list;
    for (int i = 0; i < 1500; ++i) list.push_back(to("x", 0, "name " + std::to_string(i)));
    write([&](Writer& t) {
        set(t, "s", list);
        graphOf(t)->flush();
        EXPECT_EQ(edges(t, {.name = "name 1400"}), "s-name 1400>x");
    });
    EXPECT_EQ(edges({.name = "name 1499"}), "s-name 1499>x");
    set("t", {to("x", 0, "name 1499"), to("x", 0, "name 3")});
    close();
    open();
    EXPECT_EQ(edges({.name = "name 1499"}), "s-name 1499>x t-name 1499>x");
    EXPECT_EQ(faults(), "");
}

}  // namespace
}  // namespace qsml
