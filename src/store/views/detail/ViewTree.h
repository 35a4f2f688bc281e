#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "store/views/detail/ViewNode.h"

namespace qsml::detail {

/// A row in a group. In groups that are sorted by keys, entries ascend by key (bytes), then by row
/// id; in others keys have no part in the order.
struct ViewEntry {
    std::int64_t rowid = 0;
    std::string_view key = {};  ///< valid until the tree is changed or goes
};

/// Where nodes that are not in memory come from: the view's table, on the snapshot of the state
/// that is read. Throws ViewFailure when a node cannot be read or is damaged.
class ViewNodeSource {
public:
    virtual ~ViewNodeSource() = default;
    virtual std::string nodeData(std::int64_t id) = 0;
};

/// The changes of one transaction to the trees of a view: nodes that it makes may be changed in
/// place until it ends. Confined to the transaction.
struct ViewEdit {
    ViewNodeSource& source;
    std::uint64_t token = 0;  ///< unlike that of any other edit of the process, never 0
    std::int64_t nextId = 1;  ///< for new nodes; stays 0 in views that are never stored
    std::vector<std::int64_t> removed = {};  ///< ids of nodes that are no longer used

    std::int64_t newId() { return nextId == 0 ? 0 : nextId++; }
};

/// The rows of one group in their order: a persistent (immutable, structure-sharing) counted
/// B+-tree. Copying takes one pointer; a copy is a snapshot. Nodes are loaded when they are first
/// needed, from any thread. What changes a tree needs an edit and makes new nodes along one path.
///
/// All positions count from 0, and one past the end throws std::out_of_range. Every operation is
/// O(log n) unless stated. Whatever needs a node that cannot be read throws ViewFailure and leaves
/// the rows of the tree as they were.
///
/// Copies are independent between edits: what an edit changes may show in copies that were taken
/// while it went on.
class ViewTree {
public:
    /// Empty.
    ViewTree() = default;
    /// A stored tree.
    ViewTree(std::int64_t rootId, std::uint64_t count);
    /// Of entries in their order; O(n), nodes about three quarters full. The block gives the next
    /// entry, whose key must stay until it is called again; false ends.
    static ViewTree build(const std::function<bool(ViewEntry* entry)>& next, ViewEdit& edit);

    std::uint64_t count() const noexcept { return count_; }
    /// 0 when the tree is empty or never stored.
    std::int64_t rootId() const noexcept;

    /// The position must be below count().
    ViewEntry at(std::uint64_t position, ViewNodeSource& source) const;
    /// Calls the block for the entries of [first, last), which may be empty; false ends it.
    /// O(log n + entries).
    void enumerate(std::uint64_t first, std::uint64_t last, ViewNodeSource& source,
                   const std::function<bool(const ViewEntry&)>& block) const;
    /// In a tree that is sorted by keys: how many entries are less than the given one.
    std::uint64_t lowerBound(const ViewEntry& entry, ViewNodeSource& source) const;
    /// In a tree that is sorted by keys: where exactly that entry stands.
    std::optional<std::uint64_t> positionOf(const ViewEntry& entry, ViewNodeSource& source) const;
    /// Where the predicate, which holds for a beginning of the tree, ceases to. O(log n) calls.
    std::uint64_t partitionPoint(const std::function<bool(const ViewEntry&)>& predicate,
                                 ViewNodeSource& source) const;

    /// The key must not lie in this tree itself.
    void insert(std::uint64_t position, const ViewEntry& entry, ViewEdit& edit);
    void erase(std::uint64_t position, ViewEdit& edit);
    /// Gives all ids back. O(nodes); loads the inner ones of a stored tree.
    void clear(ViewEdit& edit);

    /// The nodes that this edit made and that are still in the tree, children before parents: what
    /// must be written. None in a tree that is never stored.
    void enumerateNew(const ViewEdit& edit,
                      const std::function<void(std::int64_t id, std::string&& data)>& block) const;
    /// What is wrong with the tree itself (counts, order of keys if it has one, sizes, nodes that
    /// cannot be read or are used twice); nothing when it is sound. Also gives the ids of all
    /// nodes as far as it came. O(n).
    std::optional<std::string> fault(bool isSorted, ViewNodeSource& source,
                                     std::vector<std::int64_t>* ids) const;

private:
    std::shared_ptr<const ViewNode> root_;  // null when empty
    std::uint64_t count_ = 0;
};

}  // namespace qsml::detail
