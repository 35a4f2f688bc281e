#include "store/views/detail/ViewTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "store/views/testing/StoredNodes.h"

namespace qsml::detail {
namespace {

using Ids = std::vector<std::int64_t>;

/// Row ids 2, 4, 6...; the keys ascend.
std::vector<ViewRow> evenRows(std::int64_t size) {
    std::vector<ViewRow> rows;
    for (std::int64_t i = 1; i <= size; ++i)
        rows.emplace_back(2 * i, "key " + std::to_string(1000000 + 2 * i));
    return rows;
}

ViewRow rowNamed(std::int64_t number) {
    return {number, "key " + std::to_string(1000000 + number)};
}

Ids idsOf(const ViewTree& tree, ViewNodeSource& source) {
    Ids ids;
    EXPECT_EQ(tree.fault(true, source, &ids), std::nullopt);
    return ids;
}

class GivenAnEmptyTree : public testing::Test {
protected:
    StoredNodes nodes_;
    ViewEdit edit_ = nodes_.edit();
    ViewTree tree_;
};

TEST_F(GivenAnEmptyTree, WhenAskedThenItHasNothing) {
    EXPECT_EQ(tree_.count(), 0u);
    EXPECT_EQ(tree_.rootId(), 0);
    EXPECT_EQ(rowsOf(tree_, nodes_), std::vector<ViewRow>{});
    EXPECT_EQ(tree_.lowerBound({1, "a"}, nodes_), 0u);
    EXPECT_EQ(tree_.positionOf({1, "a"}, nodes_), std::nullopt);
    EXPECT_EQ(tree_.partitionPoint([](const ViewEntry&) { return true; }, nodes_), 0u);
    EXPECT_EQ(idsOf(tree_, nodes_), Ids{});
    EXPECT_EQ(nodes_.commit(tree_, edit_), Ids{});
    EXPECT_THROW((void)tree_.at(0, nodes_), std::out_of_range);
    EXPECT_THROW(tree_.erase(0, edit_), std::out_of_range);
    EXPECT_THROW(tree_.insert(1, {1, ""}, edit_), std::out_of_range);
}

TEST_F(GivenAnEmptyTree, WhenOneIsInsertedAndErasedThenItIsEmptyAgain) {
    tree_.insert(0, {7, "seven"}, edit_);
    EXPECT_EQ(tree_.rootId(), 1);
    EXPECT_EQ(rowsOf(tree_, nodes_), (std::vector<ViewRow>{{7, "seven"}}));
    tree_.erase(0, edit_);
    EXPECT_EQ(tree_.rootId(), 0);
    EXPECT_EQ(edit_.removed, Ids{1});
    EXPECT_EQ(nodes_.commit(tree_, edit_), Ids{});
}

TEST_F(GivenAnEmptyTree, WhenBuiltOfNothingThenItIsEmpty) {
    EXPECT_EQ(builtTree({}, edit_).rootId(), 0);
    EXPECT_EQ(edit_.nextId, 1);
}

TEST_F(GivenAnEmptyTree, WhenBuiltThenItEqualsInsertionsForEverySize) {
    for (const std::int64_t size : {1, 2, 95, 96, 97, 127, 128, 129, 192, 193, 4608, 4609, 4700}) {
        const auto rows = evenRows(size);
        ViewTree inserted;
        for (const ViewRow& row : rows) inserted.insert(inserted.count(), entryOf(row), edit_);
        const ViewTree built = builtTree(rows, edit_);
        EXPECT_EQ(rowsOf(built, nodes_), rows);
        EXPECT_EQ(rowsOf(inserted, nodes_), rows);
        EXPECT_EQ(built.fault(true, nodes_, nullptr), std::nullopt);
        EXPECT_EQ(inserted.fault(true, nodes_, nullptr), std::nullopt);
    }
}

TEST_F(GivenAnEmptyTree, WhenBuiltOrFilledAtOneEndThenNodesAreAboutThreeQuartersFull) {
    const auto rows = evenRows(9600);
    EXPECT_EQ(idsOf(builtTree(rows, edit_), nodes_).size(), 100u + 3 + 1);
    ViewTree appended, prepended;
    for (const ViewRow& row : rows) appended.insert(appended.count(), entryOf(row), edit_);
    for (auto row = rows.rbegin(); row != rows.rend(); ++row)
        prepended.insert(0, entryOf(*row), edit_);
    EXPECT_LE(idsOf(appended, nodes_).size(), 105u);
    EXPECT_LE(idsOf(prepended, nodes_).size(), 105u);
}

TEST_F(GivenAnEmptyTree, WhenBuiltThenNoNodeButTheRootIsUnderAQuarterFull) {
    for (const std::int64_t size : {97, 100, 130, 4609, 4700, 4610 + 4608}) {
        nodes_.nodes.clear();
        const ViewTree tree = builtTree(evenRows(size), edit_);
        nodes_.commit(tree, edit_);
        for (const auto& [id, data] : nodes_.nodes) {
            const auto node = ViewNodeContent::fromData(data, id);
            if (id == tree.rootId()) continue;
            EXPECT_GE(node->entries.size(), node->capacity() / 4) << size;
        }
    }
}

TEST_F(GivenAnEmptyTree, WhenKeysTieOrHoldAnyBytesThenTheyAreOrderedAsBytesThenByRowId) {
    using namespace std::string_literals;
    constexpr auto least = std::numeric_limits<std::int64_t>::min();
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    const std::vector<ViewRow> rows = {
        {5, ""s},         {1, "\0"s},     {2, "\0\0"s},     {3, "a"s},        {least, "a\0"s},
        {0, "a\0"s},      {most, "a\0"s}, {1, "abcdefgh"s}, {2, "abcdefgh"s}, {0, "abcdefgh\0"s},
        {7, "abcdefgz"s}, {9, "a\x7f"s},  {8, "a\x80"s},    {1, "\xff\xff"s}};
    for (std::size_t i = 0; i < rows.size(); ++i) {  // in an order that is not that of the keys
        const ViewRow& row = rows[i * 5 % rows.size()];
        tree_.insert(tree_.lowerBound(entryOf(row), nodes_), entryOf(row), edit_);
    }
    EXPECT_EQ(rowsOf(tree_, nodes_), rows);
    nodes_.commit(tree_, edit_);
    EXPECT_EQ(rowsOf(ViewTree(tree_.rootId(), rows.size()), nodes_), rows);
}

TEST_F(GivenAnEmptyTree, WhenAKeyIsTooLongThenItIsRefusedAndNothingChanges) {
    const std::string key((16 << 20) + 1, 'a');
    EXPECT_THROW(tree_.insert(0, {1, key}, edit_), std::length_error);
    EXPECT_THROW(builtTree({{1, key}}, edit_), std::length_error);
    EXPECT_EQ(tree_.count(), 0u);
}

TEST_F(GivenAnEmptyTree, WhenItIsNeverStoredThenThereAreNoIdsAndNothingToWrite) {
    edit_.nextId = 0;
    tree_ = builtTree(evenRows(1000), edit_);
    for (int i = 0; i < 900; ++i) tree_.erase(50, edit_);
    EXPECT_EQ(tree_.rootId(), 0);
    EXPECT_EQ(tree_.count(), 100u);
    EXPECT_EQ(nodes_.commit(tree_, edit_), Ids{});
    EXPECT_EQ(idsOf(tree_, nodes_), Ids{});
    tree_.clear(edit_);
    EXPECT_EQ(edit_.removed, Ids{});
    EXPECT_EQ(tree_.count(), 0u);
}

/// 105 leaves under 3 inner nodes under a root, of which nothing is read.
class GivenAStoredTreeOfThreeHeights : public testing::Test {
protected:
    void SetUp() override {
        ViewEdit edit = nodes_.edit();
        const ViewTree tree = builtTree(rows_, edit);
        written_ = nodes_.commit(tree, edit);
        tree_ = ViewTree(tree.rootId(), tree.count());
    }

    /// The leaf that holds the position, of those that are built with 96 rows each.
    std::int64_t leafAt(std::uint64_t position) const {
        return static_cast<std::int64_t>(position / 96 + 1);
    }

    const std::vector<ViewRow> rows_ = evenRows(10000);
    StoredNodes nodes_;
    Ids written_;
    ViewTree tree_;
};

TEST_F(GivenAStoredTreeOfThreeHeights, WhenOneRowIsAskedForThenOnlyItsPathIsRead) {
    EXPECT_EQ(tree_.at(5000, nodes_).rowid, 10002);
    EXPECT_EQ(nodes_.reads, 3u);
    EXPECT_EQ(tree_.at(5001, nodes_).rowid, 10004);
    EXPECT_EQ(nodes_.reads, 3u);
    EXPECT_THROW((void)tree_.at(10000, nodes_), std::out_of_range);
}

TEST_F(GivenAStoredTreeOfThreeHeights, WhenRowsAreLookedForThenTheyAreFoundWhereTheyStand) {
    for (std::int64_t i = 0; i < 10000; i += 7) {
        const ViewRow present = rowNamed(2 * i + 2), absent = rowNamed(2 * i + 1);
        const auto position = static_cast<std::uint64_t>(i);
        ASSERT_EQ(tree_.positionOf(entryOf(present), nodes_), position);
        ASSERT_EQ(tree_.lowerBound(entryOf(present), nodes_), position);
        ASSERT_EQ(tree_.lowerBound(entryOf(absent), nodes_), position);
        ASSERT_EQ(tree_.positionOf(entryOf(absent), nodes_), std::nullopt);
        const ViewEntry otherRow{present.first + 1, present.second};
        ASSERT_EQ(tree_.lowerBound(otherRow, nodes_), position + 1);
        ASSERT_EQ(tree_.positionOf(otherRow, nodes_), std::nullopt);
    }
    EXPECT_EQ(tree_.lowerBound({1, "zzz"}, nodes_), 10000u);
    EXPECT_EQ(tree_.lowerBound({1, ""}, nodes_), 0u);
}

TEST_F(GivenAStoredTreeOfThreeHeights, WhenAPartitionIsAskedForThenFewRowsAreLookedAt) {
    for (const std::uint64_t point : {0u, 1u, 95u, 96u, 97u, 4999u, 9999u, 10000u}) {
        int calls = 0;
        const auto isBefore = [&](const ViewEntry& entry) {
            ++calls;
            return entry.rowid <= static_cast<std::int64_t>(2 * point);
        };
        EXPECT_EQ(tree_.partitionPoint(isBefore, nodes_), point);
        EXPECT_LE(calls, 14);
    }
}

TEST_F(GivenAStoredTreeOfThreeHeights, WhenARangeIsEnumeratedThenItsRowsComeUntilTheBlockEnds) {
    std::vector<ViewRow> seen;
    const auto until = [&](std::size_t size) {
        return [&seen, size](const ViewEntry& entry) {
            seen.emplace_back(entry.rowid, std::string(entry.key));
            return seen.size() < size;
        };
    };
    tree_.enumerate(4000, 4300, nodes_, until(1000));
    EXPECT_EQ(seen, std::vector<ViewRow>(rows_.begin() + 4000, rows_.begin() + 4300));
    seen.clear();
    tree_.enumerate(94, 10000, nodes_, until(5));
    EXPECT_EQ(seen, std::vector<ViewRow>(rows_.begin() + 94, rows_.begin() + 99));
    seen.clear();
    tree_.enumerate(10000, 10000, nodes_, until(5));
    EXPECT_TRUE(seen.empty());
    EXPECT_THROW(tree_.enumerate(0, 10001, nodes_, until(5)), std::out_of_range);
    EXPECT_THROW(tree_.enumerate(2, 1, nodes_, until(5)), std::out_of_range);
}

TEST_F(GivenAStoredTreeOfThreeHeights, WhenARowIsInsertedThenOnlyItsPathIsWrittenParentsLast) {
    ViewEdit edit = nodes_.edit();
    tree_.insert(5000, {1, "key 1010001"}, edit);
    const Ids written = nodes_.commit(tree_, edit);
    ASSERT_EQ(written.size(), 3u);
    EXPECT_EQ(written.front(), leafAt(5000));
    EXPECT_EQ(written.back(), tree_.rootId());
    EXPECT_EQ(tree_.rootId(), written_.back()) << "a node keeps its id";
    EXPECT_TRUE(edit.removed.empty());
    EXPECT_EQ(rowsOf(ViewTree(tree_.rootId(), 10001), nodes_), rowsOf(tree_, nodes_));
    EXPECT_EQ(nodes_.commit(tree_, nodes_.edit()), Ids{}) << "what another edit made is not new";
}

TEST_F(GivenAStoredTreeOfThreeHeights, WhenALeafIsFullThenItIsSplitInTwo) {
    ViewEdit edit = nodes_.edit();
    for (std::int64_t i = 0; i < 33; ++i) tree_.insert(5040, {-i, "key 1010080!"}, edit);
    EXPECT_EQ(edit.nextId, written_.back() + 2);
    EXPECT_EQ(nodes_.commit(tree_, edit).size(), 4u);
}

TEST_F(GivenAStoredTreeOfThreeHeights, WhenLeavesGetSmallThenTheyAreMerged) {
    ViewEdit edit = nodes_.edit();
    while (tree_.count() > 1000) tree_.erase(tree_.count() / 2, edit);
    nodes_.commit(tree_, edit);
    // Ten times 96 rows, two leaves that are cut at either end, their parents.
    EXPECT_LE(nodes_.nodes.size(), 14u);
    EXPECT_EQ(edit.nextId, written_.back() + 1);
    Ids ids = idsOf(tree_, nodes_);
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(ids, nodes_.ids());
}

TEST_F(GivenAStoredTreeOfThreeHeights, WhenALeafGetsSmallBesideAFullOneThenItIsFilled) {
    ViewEdit edit = nodes_.edit();
    for (std::int64_t i = 0; i < 32; ++i) tree_.insert(96 + 50, {-i, ""}, edit);  // 128 rows
    for (int i = 0; i < 65; ++i) tree_.erase(0, edit);                            // 31 rows
    EXPECT_TRUE(edit.removed.empty());
    nodes_.commit(tree_, edit);
    for (const std::int64_t id : {1, 2}) {
        const auto leaf = ViewNodeContent::fromData(nodes_.nodes.at(id), id);
        EXPECT_NEAR(static_cast<double>(leaf->entries.size()), 79.5, 0.5);
    }
}

TEST_F(GivenAStoredTreeOfThreeHeights, WhenFewRowsAreLeftThenTheRootIsTheirLeaf) {
    ViewEdit edit = nodes_.edit();
    while (tree_.count() > 5) tree_.erase(0, edit);
    nodes_.commit(tree_, edit);
    EXPECT_EQ(nodes_.ids(), Ids{tree_.rootId()});
    EXPECT_EQ(rowsOf(tree_, nodes_), std::vector<ViewRow>(rows_.end() - 5, rows_.end()));
    EXPECT_NE(tree_.rootId(), written_.back());
}

TEST_F(GivenAStoredTreeOfThreeHeights, WhenAllIsErasedThenAllIdsAreGivenBackOnce) {
    ViewEdit edit = nodes_.edit();
    while (tree_.count() > 0) tree_.erase(tree_.count() * 2 / 3, edit);
    EXPECT_EQ(tree_.rootId(), 0);
    std::sort(edit.removed.begin(), edit.removed.end());
    std::sort(written_.begin(), written_.end());
    EXPECT_EQ(edit.removed, written_);
}

TEST_F(GivenAStoredTreeOfThreeHeights, WhenClearedThenAllIdsAreGivenBackAndNoLeafIsRead) {
    ViewEdit edit = nodes_.edit();
    tree_.clear(edit);
    EXPECT_EQ(nodes_.reads, 4u);
    EXPECT_EQ(tree_.count(), 0u);
    EXPECT_EQ(tree_.rootId(), 0);
    std::sort(edit.removed.begin(), edit.removed.end());
    std::sort(written_.begin(), written_.end());
    EXPECT_EQ(edit.removed, written_);
}

TEST_F(GivenAStoredTreeOfThreeHeights, WhenEditedThenCopiesTakenBeforeStayAsTheyWere) {
    const ViewTree snapshot = tree_;
    StoredNodes then = nodes_;
    ViewEdit edit = nodes_.edit();
    for (int i = 0; i < 9000; ++i) tree_.erase(tree_.count() / 3, edit);
    nodes_.commit(tree_, edit);
    EXPECT_EQ(rowsOf(snapshot, then), rows_);
}

TEST_F(GivenAStoredTreeOfThreeHeights, WhenAnyBitOfANodeIsFlippedThenItIsRefused) {
    for (const std::int64_t id : {written_.front(), written_.back(), written_.back() - 1}) {
        const std::string sound = nodes_.nodes.at(id);
        EXPECT_NO_THROW((void)ViewNodeContent::fromData(sound, id));
        for (std::size_t bit = 0; bit < 8 * sound.size(); ++bit) {
            std::string data = sound;
            data[bit / 8] = static_cast<char>(data[bit / 8] ^ (1 << bit % 8));
            EXPECT_THROW((void)ViewNodeContent::fromData(data, id), ViewFailure) << bit;
        }
        for (std::size_t size = 0; size < sound.size(); ++size)
            EXPECT_THROW((void)ViewNodeContent::fromData(sound.substr(0, size), id), ViewFailure);
        EXPECT_THROW((void)ViewNodeContent::fromData(sound + '\0', id), ViewFailure);
        EXPECT_THROW((void)ViewNodeContent::fromData(sound, id + 1), ViewFailure);
    }
}

TEST_F(GivenAStoredTreeOfThreeHeights, WhenALeafIsMissingThenEditsOfItFailAndChangeNothing) {
    const std::string leaf = nodes_.nodes.at(leafAt(5000));
    nodes_.nodes.erase(leafAt(5000));
    ViewEdit edit = nodes_.edit();
    EXPECT_THROW((void)tree_.at(5000, nodes_), ViewFailure);
    EXPECT_THROW((void)tree_.lowerBound(entryOf(rows_[5000]), nodes_), ViewFailure);
    EXPECT_THROW(tree_.insert(5000, {1, ""}, edit), ViewFailure);
    EXPECT_THROW(tree_.erase(5000, edit), ViewFailure);
    EXPECT_NE(tree_.fault(true, nodes_, nullptr).value_or("").find("53 is missing"),
              std::string::npos);
    EXPECT_EQ(tree_.at(4000, nodes_).rowid, 8002) << "the rest stays usable";

    nodes_.nodes[leafAt(5000)] = leaf;
    nodes_.commit(tree_, edit);
    EXPECT_EQ(rowsOf(tree_, nodes_), rows_);
    EXPECT_EQ(rowsOf(ViewTree(tree_.rootId(), 10000), nodes_), rows_);
}

TEST_F(GivenAStoredTreeOfThreeHeights, WhenTheNeighbourIsMissingThenAMergeFailsAndChangesNothing) {
    ViewEdit edit = nodes_.edit();
    for (int i = 0; i < 64; ++i) tree_.erase(0, edit);
    const std::string neighbour = nodes_.nodes.at(2);
    nodes_.nodes.erase(2);
    EXPECT_THROW(tree_.erase(0, edit), ViewFailure);
    EXPECT_EQ(tree_.count(), 10000u - 64);
    nodes_.nodes[2] = neighbour;
    EXPECT_EQ(rowsOf(tree_, nodes_), std::vector<ViewRow>(rows_.begin() + 64, rows_.end()));
    EXPECT_EQ(tree_.fault(true, nodes_, nullptr), std::nullopt);
}

TEST_F(GivenAStoredTreeOfThreeHeights, WhenANodeHasOtherRowsThanCountedThenItIsRefused) {
    const auto leaf = ViewNodeContent::fromData(nodes_.nodes.at(1), 1);
    leaf->entries.erase(3);
    nodes_.nodes[1] = leaf->data(1);
    EXPECT_THROW((void)tree_.at(95, nodes_), ViewFailure);
    EXPECT_TRUE(tree_.fault(true, nodes_, nullptr));
    const ViewTree wrong(written_.back(), 9999);
    EXPECT_THROW((void)wrong.at(9998, nodes_), ViewFailure);
    EXPECT_TRUE(wrong.fault(true, nodes_, nullptr));
}

TEST_F(GivenAStoredTreeOfThreeHeights, WhenANodeHoldsItselfThenItIsRefused) {
    const std::int64_t inner = written_.back() - 1;
    const auto content = ViewNodeContent::fromData(nodes_.nodes.at(inner), inner);
    content->children.assign(1, std::make_shared<ViewNode>(inner, content->count(), 0));
    content->counts.assign(1, content->count());
    content->entries.resize(1);
    nodes_.nodes[inner] = content->data(inner);
    EXPECT_THROW((void)tree_.at(9999, nodes_), ViewFailure);
    EXPECT_TRUE(tree_.fault(true, nodes_, nullptr));
}

TEST_F(GivenAStoredTreeOfThreeHeights, WhenANodeIsUsedTwiceThenThatIsAFault) {
    const std::int64_t inner = written_.back() - 1;
    const auto content = ViewNodeContent::fromData(nodes_.nodes.at(inner), inner);
    content->children[1] = content->children[0];
    content->counts[1] = content->counts[0];
    nodes_.nodes[inner] = content->data(inner);
    EXPECT_NE(tree_.fault(false, nodes_, nullptr).value_or("").find("is used twice"),
              std::string::npos);
}

TEST_F(GivenAStoredTreeOfThreeHeights, WhenRowsOrBoundsAreOutOfOrderThenThatIsAFault) {
    const std::int64_t root = written_.back();
    for (const auto& [id, row] :
         {std::pair(leafAt(5000), ViewRow(1, "a")), std::pair(leafAt(5000), ViewRow(1, "z")),
          std::pair(root, ViewRow(1, "key 1009000")), std::pair(root, ViewRow(1, "key 1010000"))}) {
        const std::string sound = nodes_.nodes.at(id);
        const auto content = ViewNodeContent::fromData(sound, id);
        const std::size_t place = id == root ? 1 : 50;
        content->entries.erase(place);
        content->entries.insert(place, row.first, row.second);
        nodes_.nodes[id] = content->data(id);
        const ViewTree tree(root, 10000);
        EXPECT_TRUE(tree.fault(true, nodes_, nullptr)) << row.second;
        EXPECT_EQ(tree.fault(false, nodes_, nullptr), std::nullopt) << row.second;
        nodes_.nodes[id] = sound;
    }
}

TEST(GivenAStoredNode, WhenItIsReadThenItEqualsWhatWasWrittenByteForByte) {
    ViewNodeContent leaf;
    leaf.entries.insert(0, 300, "abc");
    leaf.entries.insert(1, 299, "abd");
    const std::string data = leaf.data(9);
    const std::string body(
        "\x01\x00\x02\xd8\x04\x00\x03"
        "abc\x01\x02\x01"
        "d",
        14);
    EXPECT_EQ(data.substr(0, data.size() - 8), body);
    EXPECT_EQ(ViewNodeContent::fromData(data, 9)->data(9), data);
}

}  // namespace
}  // namespace qsml::detail
