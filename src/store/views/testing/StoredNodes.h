#pragma once
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "store/views/detail/ViewFailure.h"
#include "store/views/detail/ViewTree.h"

namespace qsml::detail {

/// The table of a view's nodes, in memory. May be read by several threads while nobody commits.
class StoredNodes final : public ViewNodeSource {
public:
    StoredNodes() = default;
    /// As it is now: what a transaction on that snapshot reads.
    StoredNodes(const StoredNodes& other) : nodes(other.nodes) {}

    std::string nodeData(std::int64_t id) override {
        ++reads;
        const auto found = nodes.find(id);
        if (found == nodes.end()) throw ViewFailure("node " + std::to_string(id) + " is missing");
        return found->second;
    }

    ViewEdit edit() { return {*this, ++token_, nextId_}; }

    /// Writes what the edit did; gives the ids that were written, in that order.
    std::vector<std::int64_t> commit(const ViewTree& tree, const ViewEdit& edit) {
        std::vector<std::int64_t> written;
        std::set<std::int64_t> removed;
        for (const std::int64_t id : edit.removed) {
            EXPECT_TRUE(removed.insert(id).second) << "given back twice: " << id;
            EXPECT_TRUE(nodes.erase(id) > 0 || id >= nextId_) << "never stored: " << id;
        }
        tree.enumerateNew(edit, [&](std::int64_t id, std::string&& data) {
            EXPECT_EQ(removed.count(id), 0u) << "given back and used: " << id;
            EXPECT_TRUE(nodes.count(id) > 0 || (id >= nextId_ && id < edit.nextId))
                << "used again: " << id;
            nodes[id] = std::move(data);
            written.push_back(id);
        });
        nextId_ = edit.nextId;
        return written;
    }

    std::vector<std::int64_t> ids() const {
        std::vector<std::int64_t> ids;
        for (const auto& [id, data] : nodes) ids.push_back(id);
        return ids;
    }

    std::map<std::int64_t, std::string> nodes;
    std::atomic<std::size_t> reads{0};

private:
    std::uint64_t token_ = 0;
    std::int64_t nextId_ = 1;
};

using ViewRow = std::pair<std::int64_t, std::string>;

inline ViewEntry entryOf(const ViewRow& row) { return {row.first, row.second}; }

inline ViewTree builtTree(const std::vector<ViewRow>& rows, ViewEdit& edit) {
    auto next = rows.begin();
    return ViewTree::build(
        [&](ViewEntry* entry) {
            if (next == rows.end()) return false;
            *entry = entryOf(*next++);
            return true;
        },
        edit);
}

inline std::vector<ViewRow> rowsOf(const ViewTree& tree, ViewNodeSource& source) {
    std::vector<ViewRow> rows;
    tree.enumerate(0, tree.count(), source, [&](const ViewEntry& entry) {
        rows.emplace_back(entry.rowid, std::string(entry.key));
        return true;
    });
    return rows;
}

}  // namespace qsml::detail
