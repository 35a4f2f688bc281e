// Whatever is done to a tree, in memory or half in the file: it holds what a plain list would, what
// is stored is that, and older snapshots stay as they were.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <thread>

#include "store/views/detail/ViewTree.h"
#include "store/views/testing/StoredNodes.h"
#include "testing/testScale.h"

namespace qsml::detail {
namespace {

bool isBefore(const ViewRow& a, const ViewRow& b) {
    return std::pair(std::string_view(a.second), a.first) <
           std::pair(std::string_view(b.second), b.first);
}

/// A tree, the list that it must equal and the table that it is stored in.
class History {
public:
    History(bool isSorted, unsigned seed) : isSorted_(isSorted), random_(seed) {}

    void commit() {
        if (one(3)) tree_ = ViewTree(tree_.rootId(), tree_.count());  // nothing is in memory
        if (one(2)) readSome();
        ViewEdit edit = nodes_.edit();
        if (one(25)) {
            tree_.clear(edit);
            rows_.clear();
        }
        if (rows_.empty() && one(2)) buildAnew(edit);
        editSome(edit);
        nodes_.commit(tree_, edit);
        expectSound();
        if (one(4)) snapshots_.push_back({tree_, rows_, nodes_});
    }

    void expectSnapshotsUnchanged() {
        for (Snapshot& snapshot : snapshots_) {
            EXPECT_EQ(rowsOf(snapshot.tree, snapshot.nodes), snapshot.rows);
            const ViewTree stored(snapshot.tree.rootId(), snapshot.tree.count());
            EXPECT_EQ(rowsOf(stored, snapshot.nodes), snapshot.rows);
        }
    }

private:
    struct Snapshot {
        ViewTree tree;
        std::vector<ViewRow> rows;
        StoredNodes nodes;
    };

    std::size_t below(std::size_t bound) { return random_() % bound; }
    bool one(std::size_t in) { return below(in) == 0; }

    /// Few letters, many lengths: shared beginnings, equal keys and empty ones are frequent.
    ViewRow newRow() {
        std::string key;
        if (isSorted_) {
            if (one(2)) key = "The same beginning ";
            for (std::size_t length = below(12); length > 0; --length) key += "\0a\xff"[below(3)];
        }
        const auto rowid = static_cast<std::int64_t>(++lastRowid_);
        return {one(10) ? -rowid : rowid, key};
    }

    void readSome() {
        for (std::size_t i = below(4); i > 0 && !rows_.empty(); --i) {
            const std::size_t position = below(rows_.size());
            EXPECT_EQ(tree_.at(position, nodes_).rowid, rows_[position].first);
        }
    }

    void buildAnew(ViewEdit& edit) {
        for (std::size_t size = below(one(3) ? 12000 : 300); size > 0; --size)
            rows_.push_back(newRow());
        if (isSorted_) std::sort(rows_.begin(), rows_.end(), isBefore);
        tree_ = builtTree(rows_, edit);
    }

    /// Mostly near one place, mostly of one kind: so that nodes really split and go.
    void editSome(ViewEdit& edit) {
        const std::size_t insertions = below(5), center = below(rows_.size() + 1);
        for (std::size_t i = below(one(4) ? 3000 : 20); i > 0; --i) {
            const std::size_t place = one(20) ? below(rows_.size() + 1) : center;
            if (below(4) < insertions)
                insertNear(place, edit);
            else
                eraseNear(place, edit);
        }
    }

    void insertNear(std::size_t place, ViewEdit& edit) {
        const ViewRow row = newRow();
        std::size_t position = std::min(place, rows_.size());
        if (isSorted_) {
            const auto found = std::lower_bound(rows_.begin(), rows_.end(), row, isBefore);
            position = static_cast<std::size_t>(found - rows_.begin());
            ASSERT_EQ(tree_.lowerBound(entryOf(row), nodes_), position);
            ASSERT_FALSE(tree_.positionOf(entryOf(row), nodes_));
        }
        tree_.insert(position, entryOf(row), edit);
        rows_.insert(rows_.begin() + static_cast<std::ptrdiff_t>(position), row);
    }

    void eraseNear(std::size_t place, ViewEdit& edit) {
        if (rows_.empty()) return;
        const std::size_t position = std::min(place, rows_.size() - 1);
        if (isSorted_) {
            ASSERT_EQ(tree_.positionOf(entryOf(rows_[position]), nodes_), position);
        }
        tree_.erase(position, edit);
        rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(position));
    }

    void expectSound() {
        StoredNodes nodes(nodes_);  // counts its own reads
        const ViewTree stored(tree_.rootId(), rows_.size());
        for (const ViewTree& tree : {tree_, stored}) {
            std::vector<std::int64_t> ids;
            ASSERT_EQ(tree.fault(isSorted_, nodes, &ids), std::nullopt);
            std::sort(ids.begin(), ids.end());
            ASSERT_EQ(ids, nodes.ids()) << "what is stored is what is used";
            ASSERT_EQ(tree.count(), rows_.size());
            ASSERT_TRUE(rowsOf(tree, nodes) == rows_);
        }
    }

    const bool isSorted_;
    std::mt19937 random_;
    StoredNodes nodes_;
    ViewTree tree_;
    std::vector<ViewRow> rows_;
    std::uint64_t lastRowid_ = 0;
    std::vector<Snapshot> snapshots_;
};

class GivenARandomHistoryOfATree : public testing::TestWithParam<bool> {};

TEST_P(GivenARandomHistoryOfATree, WhenEditedThenItEqualsAListAndSnapshotsStay) {
    for (unsigned seed = 1; seed <= testScale(2, 20) && !HasFatalFailure(); ++seed) {
        SCOPED_TRACE(seed);
        History history(GetParam(), seed);
        for (int i = 0; i < 60 && !HasFatalFailure(); ++i) history.commit();
        history.expectSnapshotsUnchanged();
    }
}

INSTANTIATE_TEST_SUITE_P(SortedOrNot, GivenARandomHistoryOfATree, testing::Bool(),
                         [](const auto& test) { return test.param ? "Sorted" : "Unsorted"; });

std::vector<ViewRow> manyRows(std::size_t size) {
    std::vector<ViewRow> rows;
    for (std::size_t i = 0; i < size; ++i)
        rows.emplace_back(static_cast<std::int64_t>(i + 1), "key " + std::to_string(1000000 + i));
    return rows;
}

TEST(GivenAStoredTreeOfWhichNothingIsRead, WhenFourThreadsReadItThenAllSeeItsRows) {
    const std::vector<ViewRow> rows = manyRows(20000);
    StoredNodes nodes;
    ViewEdit edit = nodes.edit();
    nodes.commit(builtTree(rows, edit), edit);
    const std::int64_t rootId = edit.nextId - 1;
    for (int round = 0; round < 5; ++round) {
        const ViewTree tree(rootId, rows.size());
        std::vector<std::thread> threads;
        for (std::size_t thread = 0; thread < 4; ++thread)
            threads.emplace_back([&, thread] {
                // All begin at one place and then go the same way: they meet at every node.
                for (std::size_t i = 0; i < rows.size(); i += 1 + thread) {
                    const ViewEntry entry = tree.at(i, nodes);
                    if (entry.rowid != rows[i].first || entry.key != rows[i].second)
                        ADD_FAILURE() << "row " << i;
                }
            });
        for (std::thread& thread : threads) thread.join();
    }
}

TEST(GivenAStoredTreeOfWhichNothingIsRead, WhenEditedWhileOthersReadThenTheySeeTheirRows) {
    std::vector<ViewRow> rows = manyRows(5000);
    StoredNodes nodes;
    ViewEdit first = nodes.edit();
    nodes.commit(builtTree(rows, first), first);
    const ViewTree snapshot(first.nextId - 1, rows.size());
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 2; ++thread)
        threads.emplace_back([&] {
            if (rowsOf(snapshot, nodes) != rows) ADD_FAILURE();
        });
    ViewTree tree = snapshot;
    ViewEdit edit = nodes.edit();
    for (int i = 0; i < 4000; ++i) tree.erase(tree.count() / 2, edit);
    for (std::thread& thread : threads) thread.join();
    rows.erase(rows.begin() + 500, rows.end() - 500);
    EXPECT_EQ(rowsOf(tree, nodes), rows);
}

}  // namespace
}  // namespace qsml::detail
