#include "store/views/detail/ViewTree.h"

#include <algorithm>
#include <stdexcept>

namespace qsml::detail {

namespace {

using Content = ViewNodeContent;
using Child = std::shared_ptr<const ViewNode>;

// A key of a view is some hundred bytes; this only keeps a node's keys below 4 GiB in sum.
constexpr std::size_t maxKeyLength = std::size_t{16} << 20;

// Two nodes become one while that leaves room, so that the next insertion does not split it again.
std::size_t comfortable(const Content& node) { return node.capacity() / 4 * 3; }
std::size_t quarter(const Content& node) { return node.capacity() / 4; }

void refuseKey(std::string_view key) {
    if (key.size() > maxKeyLength) throw std::length_error("a key of a view is too long");
}

Child newNode(Content&& content, ViewEdit& edit) {
    return std::make_shared<ViewNode>(edit.newId(), edit.token,
                                      std::make_unique<Content>(std::move(content)));
}

void drop(const ViewNode& node, ViewEdit& edit) {
    if (node.id() != 0) edit.removed.push_back(node.id());
}

/// The content of the node in that place, which becomes the edit's own.
Content& own(Child& place, ViewEdit& edit) {
    const Content& content = place->content(edit.source);
    if (place->token() != edit.token)
        place =
            std::make_shared<ViewNode>(place->id(), edit.token, std::make_unique<Content>(content));
    return place->ownContent();
}

void eraseChild(Content& node, std::size_t i, ViewEdit& edit) {
    drop(*node.children[i], edit);
    node.entries.erase(i);
    node.children.erase(node.children.begin() + static_cast<std::ptrdiff_t>(i));
    node.counts.erase(node.counts.begin() + static_cast<std::ptrdiff_t>(i));
}

void setBound(Content& node, std::size_t i, const ViewEntry& bound) {
    node.entries.erase(i);
    node.entries.insert(i, bound.rowid, bound.key);
}

ViewEntry entryAt(const ViewEntryList& entries, std::size_t i) {
    return {entries.rowid(i), entries.key(i)};
}

/// Takes what stands in the node from a place on.
Content splitOff(Content& node, std::size_t at) {
    Content right;
    right.height = node.height;
    right.entries.append(node.entries, at, node.entries.size());
    node.entries.resize(at);
    if (node.isLeaf()) return right;
    const auto offset = static_cast<std::ptrdiff_t>(at);
    right.children.assign(node.children.begin() + offset, node.children.end());
    right.counts.assign(node.counts.begin() + offset, node.counts.end());
    node.children.resize(at);
    node.counts.resize(at);
    return right;
}

/// Moves all of the right node to the end of the left one.
void moveToLeft(Content& left, const Content& right) {
    left.entries.append(right.entries, 0, right.entries.size());
    left.children.insert(left.children.end(), right.children.begin(), right.children.end());
    left.counts.insert(left.counts.end(), right.counts.begin(), right.counts.end());
}

/// Splits a full child before an insertion at that position of it. Where rows are always added at
/// one end, the part that no longer grows is left fuller.
void splitChild(Content& parent, std::size_t i, std::uint64_t position, ViewEdit& edit) {
    Content& left = parent.children[i]->ownContent();
    const std::size_t at = position == 0                  ? quarter(left)
                           : position == parent.counts[i] ? left.capacity() - quarter(left)
                                                          : left.capacity() / 2;
    const Child right = newNode(splitOff(left, at), edit);
    const Content& content = right->ownContent();
    const auto place = static_cast<std::ptrdiff_t>(i) + 1;
    parent.entries.insert(i + 1, content.entries.rowid(0), content.entries.key(0));
    parent.children.insert(parent.children.begin() + place, right);
    parent.counts.insert(parent.counts.begin() + place, content.count());
    parent.counts[i] -= content.count();
}

/// The node is the edit's own and not full. Nothing is counted before all nodes are loaded.
void insertInto(Content& node, std::uint64_t position, const ViewEntry& entry, ViewEdit& edit) {
    if (node.isLeaf()) {
        node.entries.insert(position, entry.rowid, entry.key);
        return;
    }
    std::size_t i = node.childAt(&position);
    const Content& child = own(node.children[i], edit);
    if (child.entries.size() >= child.capacity()) {
        splitChild(node, i, position, edit);
        if (position >= node.counts[i]) position -= node.counts[i++];
    }
    insertInto(node.children[i]->ownContent(), position, entry, edit);
    ++node.counts[i];
    // Between two children rows go to the second, whose bound must then come down to them.
    if (node.entries.compare(i, entry.rowid, entry.key) > 0) setBound(node, i, entry);
}

/// Makes one of two neighbours or, if that would hardly leave room, two that are equally full.
void join(Content& parent, std::size_t i, ViewEdit& edit) {
    Content& left = own(parent.children[i], edit);
    Content& right = own(parent.children[i + 1], edit);
    moveToLeft(left, right);
    if (left.entries.size() <= comfortable(left)) {
        parent.counts[i] += parent.counts[i + 1];
        eraseChild(parent, i + 1, edit);
        return;
    }
    right = splitOff(left, left.entries.size() / 2);
    parent.counts[i] = left.count();
    parent.counts[i + 1] = right.count();
    setBound(parent, i + 1, entryAt(right.entries, 0));
}

/// The node is the edit's own. Nothing changes before all nodes are loaded.
void eraseFrom(Content& node, std::uint64_t position, ViewEdit& edit) {
    if (node.isLeaf()) {
        node.entries.erase(position);
        return;
    }
    const std::size_t i = node.childAt(&position);
    Content& child = own(node.children[i], edit);
    const bool hasNeighbour = node.children.size() > 1;
    const std::size_t neighbour = i > 0 ? i - 1 : i + 1;
    if (hasNeighbour && child.entries.size() <= quarter(child))
        node.children[neighbour]->content(edit.source);
    eraseFrom(child, position, edit);
    --node.counts[i];
    if (child.entries.size() == 0)
        eraseChild(node, i, edit);
    else if (hasNeighbour && child.entries.size() < quarter(child))
        join(node, std::min(i, neighbour), edit);
}

/// The last node of a height may have got few; its neighbour then gives it some or takes them.
void evenLastOut(std::vector<Content>& nodes) {
    if (nodes.size() < 2) return;
    Content& left = nodes[nodes.size() - 2];
    Content& right = nodes.back();
    if (right.entries.size() >= quarter(right)) return;
    moveToLeft(left, right);
    if (left.entries.size() <= comfortable(left))
        nodes.pop_back();
    else
        right = splitOff(left, left.entries.size() / 2);
}

std::vector<Content> builtLeaves(const std::function<bool(ViewEntry* entry)>& next) {
    std::vector<Content> leaves;
    for (ViewEntry entry; next(&entry);) {
        refuseKey(entry.key);
        if (leaves.empty() || leaves.back().entries.size() >= comfortable(leaves.back()))
            leaves.emplace_back();
        ViewEntryList& entries = leaves.back().entries;
        entries.insert(entries.size(), entry.rowid, entry.key);
    }
    return leaves;
}

/// The nodes above some nodes.
std::vector<Content> builtParents(std::vector<Content>& nodes, ViewEdit& edit) {
    std::vector<Content> parents;
    for (Content& node : nodes) {
        if (parents.empty() || parents.back().entries.size() >= comfortable(parents.back())) {
            parents.emplace_back();
            parents.back().height = node.height + 1;
        }
        Content& parent = parents.back();
        const ViewEntry bound = entryAt(node.entries, 0);
        parent.entries.insert(parent.entries.size(), bound.rowid, bound.key);
        parent.counts.push_back(node.count());
        parent.children.push_back(newNode(std::move(node), edit));
    }
    return parents;
}

/// The ids of the node and of all below it. Leaves need not be read for that.
void collectIds(const ViewNode& node, int height, ViewNodeSource& source,
                std::vector<std::int64_t>& ids) {
    ids.push_back(node.id());
    if (height == 0) return;
    for (const Child& child : node.content(source).children)
        collectIds(*child, height - 1, source, ids);
}

void enumerateNewNodes(const ViewNode& node, const ViewEdit& edit,
                       const std::function<void(std::int64_t id, std::string&& data)>& block) {
    if (node.token() != edit.token || node.id() == 0) return;
    const Content& content = node.ownContent();
    for (const Child& child : content.children) enumerateNewNodes(*child, edit, block);
    block(node.id(), content.data(node.id()));
}

}  // namespace

ViewTree ViewTree::build(const std::function<bool(ViewEntry* entry)>& next, ViewEdit& edit) {
    std::vector<Content> nodes = builtLeaves(next);
    ViewTree tree;
    if (nodes.empty()) return tree;
    for (evenLastOut(nodes); nodes.size() > 1; evenLastOut(nodes))
        nodes = builtParents(nodes, edit);
    tree.count_ = nodes.front().count();
    tree.root_ = newNode(std::move(nodes.front()), edit);
    return tree;
}

void ViewTree::insert(std::uint64_t position, const ViewEntry& entry, ViewEdit& edit) {
    if (position > count_) throw std::out_of_range("a position past the end of a view's group");
    refuseKey(entry.key);
    if (!root_) root_ = newNode({}, edit);
    const Content& root = own(root_, edit);
    if (root.entries.size() >= root.capacity()) {
        Content above;
        above.height = root.height + 1;
        above.entries.append(root.entries, 0, 1);
        above.children.push_back(root_);
        above.counts.push_back(count_);
        root_ = newNode(std::move(above), edit);
    }
    insertInto(root_->ownContent(), position, entry, edit);
    ++count_;
}

void ViewTree::erase(std::uint64_t position, ViewEdit& edit) {
    if (position >= count_) throw std::out_of_range("a position past the end of a view's group");
    eraseFrom(own(root_, edit), position, edit);
    --count_;
    if (count_ == 0) {
        drop(*root_, edit);
        root_ = nullptr;
    }
    while (root_ && root_->content(edit.source).children.size() == 1) {
        const Child below = root_->content(edit.source).children.front();
        drop(*root_, edit);
        root_ = below;
    }
}

void ViewTree::clear(ViewEdit& edit) {
    std::vector<std::int64_t> ids;
    if (rootId() != 0) collectIds(*root_, root_->content(edit.source).height, edit.source, ids);
    edit.removed.insert(edit.removed.end(), ids.begin(), ids.end());
    *this = ViewTree();
}

void ViewTree::enumerateNew(
    const ViewEdit& edit,
    const std::function<void(std::int64_t id, std::string&& data)>& block) const {
    if (root_) enumerateNewNodes(*root_, edit, block);
}

}  // namespace qsml::detail
