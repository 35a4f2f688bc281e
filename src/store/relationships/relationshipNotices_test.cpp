#include "store/relationships/testing/OpenGraph.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

/// A list that wants to hear of its items.
class GivenAListOfItems : public OpenGraph {
protected:
    void SetUp() override {
        OpenGraph::SetUp();
        for (const char* key : {"a", "b", "c"}) set(key);
        set("list", {to("a", 2), to("b", 2), to("c", 2)});
    }
    std::string listed() {
        std::string text;
        connection_->read([&](Reader& t) {
            const auto node = t.object<GraphNode>("list", "nodes");
            for (const Edge& edge : node->edges) text += edge.destinationKey.str();
        });
        return text;
    }
};

TEST_F(GivenAListOfItems, WhenThreeItemsGoAtOnceThenThreeCallsSeeTheObjectOfTheLast) {
    remove({"c", "a", "b"});
    EXPECT_EQ(told(), "list|e>c|destination|3 list|e>a|destination|2 list|e>b|destination|1");
    EXPECT_EQ(listed(), "");
    EXPECT_EQ(edges(), "");
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenAListOfItems, WhenTheListWasWrittenInTheSameCommitThenThatOneIsTold) {
    write([](Writer& t) {
        t.removeObjectForKey("a", "nodes");
        set(t, "list", {to("c", 2), to("a", 2)});
    });
    EXPECT_EQ(told(), "list|e>a|destination|2");
    EXPECT_EQ(listed(), "c");
    EXPECT_EQ(edges(), "list-e>c");
}

TEST_F(GivenAListOfItems, WhenAnObjectChangesNothingThenItsEdgeStaysDeclared) {
    GraphNode::answer = [](const GraphNode&, const Edge&, EdgeReason) { return nullptr; };
    remove({"a"});
    EXPECT_EQ(listed(), "abc");
    EXPECT_EQ(edges(), "list-e>a list-e>b list-e>c");
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenAListOfItems, WhenTheListGoesTooThenItIsNotTold) {
    remove({"a", "list", "b"});
    EXPECT_EQ(told(), "");
    EXPECT_EQ(keys(), "c");
}

TEST_F(GivenAListOfItems, WhenTheListGoesByAFarRuleThenItIsNotToldEither) {
    set("folder", {to("drawer", 8)}), set("drawer", {to("list", 8)});
    write([](Writer& t) { t.removeObjectsForKeys({"a", "b", "folder"}, "nodes"); });
    EXPECT_EQ(told(), "");
    EXPECT_EQ(keys(), "c");
}

TEST_F(GivenAListOfItems, WhenTheAnswerIsStoredThenMetadataAreKept) {
    write([](Writer& t) { t.replaceMetadata("meta", "list", "nodes"); });
    remove({"a"});
    connection_->read(
        [](Reader& t) { EXPECT_EQ(t.metadataForKey("list", "nodes").string().str(), "meta"); });
}

TEST_F(GivenAListOfItems, WhenADestinationIsToldThenItKnowsTheReason) {
    set("s", {to("a", 1), to("b", 1, "f")});
    set("s", {to("b", 1, "f")});
    EXPECT_EQ(told(), "a|e>a|edge|0");
    remove({"s"});
    EXPECT_EQ(told(), "b|f>b|source|0");
}

TEST_F(GivenAListOfItems, WhenAnAnswerDropsEdgesThenTheirRulesRunInTheSameCommit) {
    set("list", {to("a", 2), to("b", 8)});
    GraphNode::answer = [](const GraphNode& node, const Edge&, EdgeReason) {
        auto changed = std::make_shared<GraphNode>(node);
        changed->edges.clear();
        return changed;
    };
    const auto before = database_->snapshot();
    remove({"a"});
    EXPECT_EQ(keys(), "c list");
    EXPECT_EQ(database_->snapshot(), before + 1);
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenAListOfItems, WhenObjectsAnswerEachOtherThenEachOfTheChainIsTold) {
    for (int i = 0; i < 50; ++i) set("n" + std::to_string(i), {to("n" + std::to_string(i + 1), 1)});
    GraphNode::answer = [](const GraphNode& node, const Edge&, EdgeReason) {
        auto changed = std::make_shared<GraphNode>(node);
        changed->edges.clear();
        return changed;
    };
    remove({"n0"});
    EXPECT_EQ(GraphNode::told().size(), 49u);
    EXPECT_EQ(edges({.name = "e", .source = {{"nodes", "n30"}}}), "");
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenAListOfItems, WhenObjectsAnswerEachOtherForEverThenTheCommitFails) {
    YapDatabaseRelationshipOptions options;
    options.noticeRounds = testScale(1000, options.noticeRounds);
    openFile();
    ASSERT_TRUE(add("1", options));
    GraphNode::answer = [](const GraphNode& node, const Edge&, EdgeReason) {
        GraphNode::told().clear();
        auto changed = std::make_shared<GraphNode>(node);
        for (Edge& edge : changed->edges) edge.name = edge.name == "p" ? "q" : "p";
        return changed;
    };
    set("x", {to("y", 1, "p")}), set("y", {to("x", 1, "p"), to("z", 2)}), set("z");
    Error error;
    EXPECT_FALSE(write([](Writer& t) { t.removeObjectForKey("z", "nodes"); }, &error));
    EXPECT_NE(error.description.find("keep answering"), std::string::npos) << error.description;
    EXPECT_EQ(edges({.name = "p"}), "x-p>y y-p>x");
}

TEST_F(GivenAListOfItems, WhenAnAnswerCannotBeStoredThenNothingIs) {
    GraphNode::answer = [](const GraphNode&, const Edge&, EdgeReason) {
        auto changed = std::make_shared<GraphNode>(std::vector<Edge>());
        changed->label = "refused";
        return changed;
    };
    Error error;
    EXPECT_FALSE(write([](Writer& t) { t.removeObjectForKey("a", "nodes"); }, &error));
    EXPECT_EQ(error.description, "This one is refused.");
    EXPECT_EQ(keys(), "a b c list");
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenAListOfItems, WhenAnAnswerThrowsThenNothingIsStored) {
    GraphNode::answer = [](const GraphNode&, const Edge&,
                           EdgeReason) -> std::shared_ptr<GraphNode> {
        throw std::runtime_error("the answer fails");
    };
    Error error;
    EXPECT_FALSE(write([](Writer& t) { t.removeObjectForKey("a", "nodes"); }, &error));
    EXPECT_NE(error.description.find("the answer fails"), std::string::npos);
    EXPECT_FALSE(write([](Writer& t) {
        t.removeObjectForKey("a", "nodes");
        EXPECT_THROW(graphOf(t)->flush(), std::runtime_error);
    })) << "half of the rules have run";
    EXPECT_EQ(keys(), "a b c list");
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenAListOfItems, WhenARemainingRowDoesNotDecodeThenItKeepsItsEdges) {
    write([](Writer& t) {
        auto damaged = std::make_shared<GraphNode>(std::vector<Edge>{to("a", 2), to("b", 8)});
        damaged->label = "undecodable";
        t.setObject(damaged, "damaged", "nodes");
    });
    close();
    open();
    remove({"a"});
    EXPECT_EQ(edges({.source = {{"nodes", "damaged"}}}), "damaged-e>a damaged-e>b");
    remove({"damaged"});
    EXPECT_EQ(keys(), "c list");
}

}  // namespace
}  // namespace qsml
