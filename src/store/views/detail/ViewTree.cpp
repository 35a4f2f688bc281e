#include "store/views/detail/ViewTree.h"

#include <algorithm>
#include <stdexcept>

namespace qsml::detail {

namespace {

using Block = std::function<bool(const ViewEntry&)>;

ViewEntry entryOf(const ViewNodeContent& leaf, std::size_t i) {
    return {leaf.entries.rowid(i), leaf.entries.key(i)};
}

/// Where an entry stands or would stand, in a tree that is sorted by keys.
struct Place {
    std::uint64_t position = 0;
    bool isTaken = false;
};

Place placeOf(const ViewEntry& entry, const ViewNode& root, ViewNodeSource& source) {
    const ViewNodeContent* node = &root.content(source);
    Place place;
    while (!node->isLeaf()) {
        const std::size_t child = node->entries.lastNotAbove(entry.rowid, entry.key);
        for (std::size_t i = 0; i < child; ++i) place.position += node->counts[i];
        node = &node->children[child]->content(source);
    }
    const std::size_t i = node->entries.countBelow(entry.rowid, entry.key);
    place.position += i;
    place.isTaken =
        i < node->entries.size() && node->entries.compare(i, entry.rowid, entry.key) == 0;
    return place;
}

/// False when the block ended it.
bool enumerateNode(const ViewNode& node, std::uint64_t first, std::uint64_t last,
                   ViewNodeSource& source, const Block& block) {
    const ViewNodeContent& content = node.content(source);
    if (content.isLeaf()) {
        for (std::uint64_t i = first; i < last; ++i)
            if (!block(entryOf(content, i))) return false;
        return true;
    }
    std::uint64_t start = 0;
    for (std::size_t i = 0; i < content.children.size() && start < last; ++i) {
        const std::uint64_t end = start + content.counts[i];
        const std::uint64_t from = std::max(first, start), to = std::min(last, end);
        if (from < to &&
            !enumerateNode(*content.children[i], from - start, to - start, source, block))
            return false;
        start = end;
    }
    return true;
}

}  // namespace

ViewTree::ViewTree(std::int64_t rootId, std::uint64_t count) : count_(count) {
    if (rootId != 0) root_ = std::make_shared<ViewNode>(rootId, count, ViewNode::anyHeight);
}

std::int64_t ViewTree::rootId() const noexcept { return root_ ? root_->id() : 0; }

ViewEntry ViewTree::at(std::uint64_t position, ViewNodeSource& source) const {
    if (position >= count_) throw std::out_of_range("a position past the end of a view's group");
    const ViewNodeContent* node = &root_->content(source);
    while (!node->isLeaf()) {
        const std::size_t child = node->childAt(&position);
        node = &node->children[child]->content(source);
    }
    return entryOf(*node, position);
}

void ViewTree::enumerate(std::uint64_t first, std::uint64_t last, ViewNodeSource& source,
                         const Block& block) const {
    if (first > last || last > count_)
        throw std::out_of_range("a range past the end of a view's group");
    if (first == last) return;
    const auto root = root_;  // stays, whatever the block does
    enumerateNode(*root, first, last, source, block);
}

std::uint64_t ViewTree::lowerBound(const ViewEntry& entry, ViewNodeSource& source) const {
    return root_ ? placeOf(entry, *root_, source).position : 0;
}

std::optional<std::uint64_t> ViewTree::positionOf(const ViewEntry& entry,
                                                  ViewNodeSource& source) const {
    if (!root_) return std::nullopt;
    const Place place = placeOf(entry, *root_, source);
    return place.isTaken ? std::optional(place.position) : std::nullopt;
}

std::uint64_t ViewTree::partitionPoint(const Block& predicate, ViewNodeSource& source) const {
    std::uint64_t first = 0, last = count_;
    while (first < last) {
        const std::uint64_t middle = first + (last - first) / 2;
        if (predicate(at(middle, source)))
            first = middle + 1;
        else
            last = middle;
    }
    return first;
}

}  // namespace qsml::detail
