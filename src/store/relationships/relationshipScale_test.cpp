#include <sqlite3.h>

#include "store/relationships/testing/OpenGraph.h"
#include "testing/RowListExtension.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

/// Shapes that are large in one direction. Full size with testScale.
class GivenALargeGraph : public OpenGraph {
protected:
    const std::size_t size_ = testScale(5'000, 100'000);

    static std::string name(std::size_t i) { return "n" + std::to_string(i); }
    void chain(std::uint32_t forward, std::uint32_t backward, bool isClosed) {
        EXPECT_TRUE(write([&](Writer& t) {
            for (std::size_t i = 0; i < size_; ++i) {
                std::vector<Edge> list;
                if (forward && (isClosed || i + 1 < size_))
                    list.push_back(to(name((i + 1) % size_), forward));
                if (backward && i > 0) list.push_back(to(name(i - 1), backward));
                set(t, name(i), std::move(list));
            }
        }));
    }
};

TEST_F(GivenALargeGraph, WhenAChainFallsThenAllOfItGoes) {
    const std::pair<std::uint32_t, std::uint32_t> rules[] = {{8, 0}, {32, 0}, {0, 4}, {0, 16}};
    for (const auto& [forward, backward] : rules) {
        chain(forward, backward, false);
        remove({name(0)});
        EXPECT_EQ(keys(), "");
        EXPECT_EQ(edges(), "");
    }
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenALargeGraph, WhenARingFallsThenItEnds) {
    chain(8, 4, true);
    remove({name(size_ / 2)});
    EXPECT_EQ(keys(), "");
    EXPECT_EQ(edges(), "");
}

TEST_F(GivenALargeGraph, WhenAChainIsToldThenEachHearsOfTheOneBefore) {
    GraphNode::answer = [](const GraphNode& node, const Edge&, EdgeReason) {
        auto changed = std::make_shared<GraphNode>(node);
        changed->edges.clear();
        return changed;
    };
    chain(1, 0, false);
    remove({name(0)});
    EXPECT_EQ(GraphNode::told().size(), size_ - 1);
    EXPECT_EQ(edges(), "");
}

TEST_F(GivenALargeGraph, WhenAWideNodeFallsThenAllItemsGoAndItIsNotTold) {
    EXPECT_TRUE(write([&](Writer& t) {
        std::vector<Edge> list;
        for (std::size_t i = 0; i < size_; ++i) {
            set(t, name(i), {to("list", 4)});
            list.push_back(to(name(i), 2 | 8));
        }
        set(t, "list", list), set(t, "folder", {to("list", 8)});
    }));
    remove({"folder", name(1), name(2)});
    EXPECT_EQ(keys(), "");
    EXPECT_EQ(edges(), "");
    EXPECT_EQ(told(), "");
}

TEST_F(GivenALargeGraph, WhenManyLeadToOneThenItGoesWithTheLast) {
    EXPECT_TRUE(write([&](Writer& t) {
        for (std::size_t i = 0; i < size_; ++i) set(t, name(i), {to("hot", 32)});
        set(t, "hot");
    }));
    EXPECT_TRUE(write([&](Writer& t) {
        for (std::size_t i = 1; i < size_; ++i) t.removeObjectForKey(name(i), "nodes");
    }));
    EXPECT_EQ(keys(), "hot n0");
    remove({name(0)});
    EXPECT_EQ(keys(), "");
}

TEST_F(GivenALargeGraph, WhenOneOfManyEdgesChangesThenOneRowIsWritten) {
    std::vector<Edge> list;
    for (int i = 0; i < 2000; ++i) list.push_back(to(name(static_cast<std::size_t>(i))));
    EXPECT_TRUE(write([&](Writer& t) {
        for (const Edge& edge : list) set(t, edge.destinationKey.view());
        set(t, "new"), set(t, "list", list);
    }));
    list.insert(list.begin() + 1000, to("new"));
    list.erase(list.begin() + 500);
    ASSERT_TRUE(database_->registerExtension(std::make_shared<RowListExtension>(), "handle"));
    EXPECT_TRUE(write([&](Writer& t) {
        sqlite3* handle = t.ext<RowListExtension::Transaction>("handle")->handle();
        set(t, "list", list);
        const int before = sqlite3_total_changes(handle);
        EXPECT_TRUE(graphOf(t)->flush());
        EXPECT_EQ(sqlite3_total_changes(handle) - before, 2) << "one edge came and one went";
        set(t, "list", list);
        EXPECT_TRUE(graphOf(t)->flush());
        EXPECT_EQ(sqlite3_total_changes(handle) - before, 3) << "the row itself";
        std::rotate(list.begin() + 10, list.begin() + 11, list.begin() + 1500);
        set(t, "list", list);
        EXPECT_TRUE(graphOf(t)->flush());
        EXPECT_EQ(sqlite3_total_changes(handle) - before, 4) << "an item that moved";
    }));
    EXPECT_EQ(edges({.destination = {{"nodes", "new"}}}), "list-e>new");
    EXPECT_EQ(edges({.destination = {{"nodes", name(500)}}}), "");
    EXPECT_EQ(faults(), "");
}

}  // namespace
}  // namespace qsml
