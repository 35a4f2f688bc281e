#include "store/views/detail/ViewTree.h"

#include <unordered_set>

#include "store/views/detail/ViewFailure.h"

namespace qsml::detail {

namespace {

/// Goes through the nodes in the order of their rows and throws at the first fault.
class Check {
public:
    Check(bool isSorted, ViewNodeSource& source, std::vector<std::int64_t>* ids)
        : isSorted_(isSorted), source_(source), ids_(ids) {}

    void checkRoot(const ViewNode& root, std::uint64_t count) {
        // Read first, because only then its height is known.
        const int height = root.content(source_).height;
        checkNode(root, height, count);
    }

private:
    void checkNode(const ViewNode& node, int height, std::uint64_t count) {
        // Before it is read: nodes that are used many times over would never end.
        if (node.id() != 0 && !seen_.insert(node.id()).second) fail(node, "is used twice");
        if (ids_ && node.id() != 0) ids_->push_back(node.id());
        const ViewNodeContent& content = node.content(source_);
        if (content.height != height) fail(node, "stands at a wrong height");
        if (content.count() != count) fail(node, "has another number of rows than is counted");
        if (content.entries.size() == 0) fail(node, "is empty");
        if (content.entries.size() > content.capacity()) fail(node, "is too full");
        if (content.isLeaf())
            checkRows(node, content);
        else
            checkChildren(node, content);
    }

    void checkRows(const ViewNode& node, const ViewNodeContent& leaf) {
        if (!isSorted_) return;
        for (std::size_t i = 0; i < leaf.entries.size(); ++i) {
            if (!isAfterLast(leaf.entries, i)) fail(node, "has rows in a wrong order");
            lastRowid_ = leaf.entries.rowid(i);
            lastKey_ = leaf.entries.key(i);
            hasLast_ = true;
            while (!bounds_.empty()) {
                const ViewEntry bound = bounds_.back();
                if (leaf.entries.compare(i, bound.rowid, bound.key) < 0)
                    fail(node, "has a row below its bound");
                bounds_.pop_back();
            }
        }
    }

    void checkChildren(const ViewNode& node, const ViewNodeContent& content) {
        const std::size_t size = content.entries.size();
        if (content.children.size() != size || content.counts.size() != size)
            fail(node, "has lists of different lengths");
        for (std::size_t i = 0; i < size; ++i) {
            if (isSorted_) {
                if (!isAfterLast(content.entries, i))
                    fail(node, "has a bound that is not above the rows before it");
                bounds_.push_back({content.entries.rowid(i), content.entries.key(i)});
            }
            checkNode(*content.children[i], content.height - 1, content.counts[i]);
        }
    }

    bool isAfterLast(const ViewEntryList& entries, std::size_t i) const {
        return !hasLast_ || entries.compare(i, lastRowid_, lastKey_) > 0;
    }

    [[noreturn]] static void fail(const ViewNode& node, const char* what) {
        throw ViewFailure("node " + std::to_string(node.id()) + " of a view " + what);
    }

    const bool isSorted_;
    ViewNodeSource& source_;
    std::vector<std::int64_t>* const ids_;
    std::unordered_set<std::int64_t> seen_;
    std::vector<ViewEntry> bounds_;  // that the next row must not be below
    bool hasLast_ = false;
    std::int64_t lastRowid_ = 0;
    std::string lastKey_;
};

}  // namespace

std::optional<std::string> ViewTree::fault(bool isSorted, ViewNodeSource& source,
                                           std::vector<std::int64_t>* ids) const {
    if (!root_) return std::nullopt;
    try {
        Check(isSorted, source, ids).checkRoot(*root_, count_);
    } catch (const ViewFailure& failure) {
        return failure.what();
    }
    return std::nullopt;
}

}  // namespace qsml::detail
