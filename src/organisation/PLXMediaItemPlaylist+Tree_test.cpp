#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <set>

#include "organisation/PLXMediaItemPlaylist.h"
#include "organisation/PLXMediaItemPlaylistItem.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "testing/LogCapture.h"
#include "testing/OpenLibrary.h"
#include "testing/UndecodableObject.h"

namespace qsml {
namespace {

using Playlist = PLXMediaItemPlaylist;
using Keys = OrderedSet<String>;
using Names = std::set<std::string>;
constexpr std::string_view playlists = "mediaItemPlaylists";

struct Placed {
    String uuid;
    String parentUUID = {};
    std::optional<Keys> childUUIDs = {};
};

class GivenStoredPlaylists : public OpenLibrary {
protected:
    void store(const std::vector<Placed>& tree) {
        write([&](YapDatabaseReadWriteTransaction& transaction) {
            for (const Placed& placed : tree) {
                const auto playlist = Playlist::initWithUUID(placed.uuid);
                playlist->setParentUUID(placed.parentUUID);
                playlist->setChildUUIDs(placed.childUUIDs);
                transaction.setObject(playlist, placed.uuid, playlists);
            }
        });
    }
    void write(const YapDatabaseConnection::ReadWriteBlock& block) {
        ASSERT_TRUE(manager_.bgDatabaseConnection()->readWrite(block));
    }

    std::shared_ptr<const Playlist> stored(const String& uuid) {
        std::shared_ptr<const Playlist> playlist;
        manager_.bgDatabaseConnection()->read([&](YapDatabaseReadTransaction& transaction) {
            playlist = transaction.object<Playlist>(uuid, playlists);
        });
        return playlist;
    }
    bool isBelow(const String& uuid, const char* ancestor) {
        return stored(uuid)->isDecendantOf(ancestor, manager_);
    }
    Names below(const String& uuid) {
        Names names;
        for (const auto& playlist : stored(uuid)->allDecendants(manager_))
            EXPECT_TRUE(names.insert(playlist->uuid().str()).second) << "each once";
        return names;
    }
};

class GivenATreeOfPlaylists : public GivenStoredPlaylists {
protected:
    void SetUp() override {
        OpenLibrary::SetUp();
        store({{"root", {}, Keys{"b", "a"}},
               {"a", "root"},
               {"b", "root", Keys{"c"}},
               {"c", "b", Keys{"d"}},
               {"d", "c", Keys{}}});
    }
};

TEST_F(GivenATreeOfPlaylists, WhenAskedForAncestorsThenParentsAndThoseAboveThemAreThose) {
    EXPECT_TRUE(isBelow("a", "root"));
    EXPECT_TRUE(isBelow("d", "root"));
    EXPECT_TRUE(isBelow("d", "b"));
    EXPECT_TRUE(isBelow("d", "c"));
    EXPECT_FALSE(isBelow("root", "a")) << "it has no parent";
    EXPECT_FALSE(isBelow("root", "root"));
    EXPECT_FALSE(isBelow("d", "d")) << "not of itself";
    EXPECT_FALSE(isBelow("d", "a"));
    EXPECT_FALSE(isBelow("c", "d"));
    EXPECT_FALSE(isBelow("d", "unknown"));
    EXPECT_FALSE(stored("d")->isDecendantOf(String(), manager_));
}

TEST_F(GivenATreeOfPlaylists, WhenAskedForDescendantsThenEveryoneBelowComes) {
    EXPECT_EQ(below("root"), (Names{"a", "b", "c", "d"}));
    EXPECT_EQ(below("b"), (Names{"c", "d"}));
    EXPECT_EQ(below("a"), Names());
    EXPECT_EQ(below("d"), Names());
}

TEST_F(GivenATreeOfPlaylists, WhenAskedInsideATransactionThenItsOwnWritesCount) {
    write([&](YapDatabaseReadWriteTransaction& transaction) {
        const auto moved = transaction.object<Playlist>("a", playlists)->copy();
        moved->setParentUUID("d");
        const auto parent = transaction.object<Playlist>("d", playlists)->copy();
        parent->setChildUUIDs(Keys{"a"});
        transaction.setObject(moved, "a", playlists);
        transaction.setObject(parent, "d", playlists);
        EXPECT_TRUE(moved->isDecendantOf("b", transaction));
        EXPECT_EQ(transaction.object<Playlist>("c", playlists)->allDecendants(transaction).size(),
                  2U);
    });
}

TEST_F(GivenATreeOfPlaylists, WhenAPlaylistThatIsNotStoredIsAskedThenItsOwnPlaceCounts) {
    const auto moved = stored("a")->copy();
    moved->setParentUUID("d");
    moved->setChildUUIDs(Keys{"c"});
    EXPECT_TRUE(moved->isDecendantOf("b", manager_));
    EXPECT_EQ(moved->allDecendants(manager_).size(), 2U);
}

TEST_F(GivenStoredPlaylists, WhenAParentIsMissingThenNobodyBelowDescendsFromAboveIt) {
    store({{"top", {}, Keys{"gap"}}, {"a", "gap"}, {"b", "a"}});
    EXPECT_TRUE(isBelow("b", "a"));
    EXPECT_TRUE(isBelow("b", "gap")) << "by its UUID";
    EXPECT_FALSE(isBelow("b", "top"));
}

TEST_F(GivenStoredPlaylists, WhenChildrenAreMissingOrUnreadableThenTheyAreSkipped) {
    LogCapture log;
    store({{"top", {}, Keys{"gone", "item", "stranger", "a"}}, {"a", "top"}});
    write([](YapDatabaseReadWriteTransaction& transaction) {
        transaction.setObject(PLXMediaItemPlaylistItem::init(), "item", playlists);
        transaction.setObject(std::make_shared<UndecodableObject>(), "stranger", playlists);
    });
    EXPECT_EQ(below("top"), Names{"a"});
}

TEST_F(GivenStoredPlaylists, WhenAParentIsNoPlaylistThenTheSearchEndsThere) {
    store({{"a", "item"}});
    write([](YapDatabaseReadWriteTransaction& transaction) {
        transaction.setObject(PLXMediaItemPlaylistItem::init(), "item", playlists);
    });
    EXPECT_FALSE(isBelow("a", "top"));
}

TEST_F(GivenStoredPlaylists, WhenAPlaylistNamesItselfThenItIsAnswered) {
    store({{"a", "a", Keys{"a", "b"}}, {"b", "a"}});
    EXPECT_FALSE(isBelow("a", "other"));
    EXPECT_TRUE(isBelow("a", "a")) << "its parent has the UUID";
    EXPECT_EQ(below("a"), (Names{"a", "b"}));
}

// Two devices each moved one of the two below the other.
TEST_F(GivenStoredPlaylists, WhenTwoAreBelowEachOtherThenBothAreAnswered) {
    store({{"root", {}, Keys{}}, {"a", "b", Keys{"b"}}, {"b", "a", Keys{"a", "c"}}, {"c", "b"}});
    EXPECT_FALSE(isBelow("a", "root"));
    EXPECT_TRUE(isBelow("a", "b"));
    EXPECT_TRUE(isBelow("a", "a"));
    EXPECT_FALSE(isBelow("c", "root"));
    EXPECT_EQ(below("a"), (Names{"a", "b", "c"}));
}

TEST_F(GivenStoredPlaylists, WhenTwoParentsListOneChildThenItComesOnce) {
    store({{"top", {}, Keys{"a", "b"}},
           {"a", "top", Keys{"c"}},
           {"b", "top", Keys{"c"}},
           {"c", "b"}});
    EXPECT_EQ(below("top"), (Names{"a", "b", "c"}));
}

constexpr int many = 10'000;

TEST_F(GivenStoredPlaylists, WhenTheyAreVeryDeepThenTheyAreAnsweredStepByStep) {
    std::vector<Placed> chain;
    for (int i = 0; i < many; ++i)
        chain.push_back({std::to_string(i), i > 0 ? String(std::to_string(i - 1)) : String(),
                         Keys{std::to_string(i + 1)}});
    store(chain);
    const String deepest = std::to_string(many - 1);
    EXPECT_TRUE(isBelow(deepest, "0"));
    EXPECT_FALSE(isBelow(deepest, "other"));
    EXPECT_EQ(below("0").size(), many - 1U);
}

TEST_F(GivenStoredPlaylists, WhenTheyAreVeryWideThenEachIsReadOnce) {
    std::vector<Placed> tree;
    std::vector<String> children;
    for (int i = 0; i < many; ++i) {
        children.emplace_back(std::to_string(i));
        tree.push_back({children.back(), "top", Keys{"top"}});
    }
    tree.push_back({"top", {}, Keys(children)});
    store(tree);
    EXPECT_TRUE(isBelow("5", "top"));
    EXPECT_EQ(below("top").size(), many + 1U) << "each names the top, which is in a loop then";
}

/// What the steps of the two questions give where every step is taken once.
struct Graph {
    std::vector<int> parents;                // -1: none
    std::vector<std::vector<int>> children;  // some name nothing

    bool isBelow(int node, int ancestor) const {
        const auto size = static_cast<int>(parents.size());
        for (int steps = 0; steps <= size && node >= 0 && node < size; ++steps) {
            node = parents[static_cast<std::size_t>(node)];
            if (node == ancestor) return node >= 0;
        }
        return false;
    }
    void addBelow(int node, Names& names) const {
        for (const int child : children[static_cast<std::size_t>(node)])
            if (child < static_cast<int>(parents.size()) &&
                names.insert(std::to_string(child)).second)
                addBelow(child, names);
    }
};

Graph anyGraph() {
    const int size = *rc::gen::inRange(1, 8);
    Graph graph;
    for (int i = 0; i < size; ++i) {
        graph.parents.push_back(*rc::gen::inRange(-1, size + 1));
        graph.children.push_back(*rc::gen::container<std::vector<int>>(
            *rc::gen::inRange<std::size_t>(0, 4), rc::gen::inRange(0, size + 1)));
    }
    return graph;
}

TEST_F(GivenStoredPlaylists, WhenTheyFormAnyGraphThenTheAnswersAreThoseOfTheSteps) {
    rc::check([this] {
        const Graph graph = anyGraph();
        std::vector<Placed> placed;
        for (std::size_t i = 0; i < graph.parents.size(); ++i) {
            std::vector<String> children;
            for (const int child : graph.children[i]) children.emplace_back(std::to_string(child));
            const int parent = graph.parents[i];
            placed.push_back({std::to_string(i),
                              parent < 0 ? String() : String(std::to_string(parent)),
                              Keys(children)});
        }
        write([](YapDatabaseReadWriteTransaction& transaction) {
            transaction.removeAllObjectsInCollection(playlists);
        });
        store(placed);
        const auto size = static_cast<int>(graph.parents.size());
        for (int node = 0; node < size; ++node) {
            Names expected;
            graph.addBelow(node, expected);
            RC_ASSERT(below(std::to_string(node)) == expected);
            for (int ancestor = 0; ancestor <= size; ++ancestor)
                RC_ASSERT(isBelow(std::to_string(node), std::to_string(ancestor).c_str()) ==
                          graph.isBelow(node, ancestor));
        }
    });
}

}  // namespace
}  // namespace qsml
