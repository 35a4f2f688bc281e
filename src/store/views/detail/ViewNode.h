#pragma once
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qsml::detail {

class ViewNode;
class ViewNodeSource;

/// A list of row ids with a key each; the keys share one buffer, of less than 4 GiB. Searches look
/// at the first bytes of the keys, which lie close together, and at the rest only where they tie.
class ViewEntryList {
public:
    std::size_t size() const noexcept { return rowids_.size(); }
    std::int64_t rowid(std::size_t i) const { return rowids_[i]; }
    std::string_view key(std::size_t i) const {
        return std::string_view(keys_.data() + start(i), ends_[i] - start(i));
    }
    /// By key (bytes), then by row id: below 0 when the entry stands before the given one.
    int compare(std::size_t i, std::int64_t rowid, std::string_view key) const;
    /// In an ascending list: how many entries are less than the given one.
    std::size_t countBelow(std::int64_t rowid, std::string_view key) const;
    /// In an ascending list: the last entry that is not above the given one; 0 if all are.
    std::size_t lastNotAbove(std::int64_t rowid, std::string_view key) const;

    /// The key must not be one of this list.
    void insert(std::size_t i, std::int64_t rowid, std::string_view key);
    void erase(std::size_t i);
    void append(const ViewEntryList& other, std::size_t first, std::size_t last);
    void resize(std::size_t size);  ///< only to fewer
    void reserve(std::size_t size, std::size_t keyBytes);

private:
    std::size_t start(std::size_t i) const { return i == 0 ? 0 : ends_[i - 1]; }
    void shiftEnds(std::size_t first, std::uint32_t difference);
    /// The first that fails the test for orders, which holds for a beginning.
    template <class Holds>
    std::size_t firstFailing(std::int64_t rowid, std::string_view key, Holds holds) const;

    std::vector<std::uint64_t> heads_;  // the first eight bytes of each key, as a number
    std::vector<std::int64_t> rowids_;
    std::vector<std::uint32_t> ends_;  // of the keys
    std::string keys_;
};

/// What a node holds. In a leaf: rows. Above: children, each with the number of its rows and, in
/// `entries`, a bound: not above any entry of the child, above every entry of the tree before it.
struct ViewNodeContent {
    static constexpr std::size_t maxEntries = 128;
    static constexpr std::size_t maxChildren = 64;
    static constexpr int maxHeight = 32;

    int height = 0;  ///< 0 in a leaf; each child stands exactly one below
    ViewEntryList entries;
    std::vector<std::shared_ptr<const ViewNode>> children;  ///< empty in a leaf
    std::vector<std::uint64_t> counts;                      ///< of the children

    bool isLeaf() const noexcept { return height == 0; }
    std::size_t capacity() const noexcept { return isLeaf() ? maxEntries : maxChildren; }
    std::uint64_t count() const noexcept;
    /// The child that holds the position, which becomes one in the child; the last child for
    /// positions past the end.
    std::size_t childAt(std::uint64_t* position) const;

    /// The stored form, with a checksum that ties it to the id; keys are stored by what they do
    /// not share with the one before.
    std::string data(std::int64_t id) const;
    /// Throws ViewFailure when the data is damaged or that of another node.
    static std::unique_ptr<ViewNodeContent> fromData(std::string_view data, std::int64_t id);
};

/// A node of a tree, in memory or still in the file. Thread-safe: whoever comes first loads it.
class ViewNode {
public:
    static constexpr int anyHeight = -1;

    /// Stored; nothing is read yet. What is read must have that many rows and that height.
    ViewNode(std::int64_t id, std::uint64_t count, int height)
        : id_(id), storedCount_(count), storedHeight_(height) {}
    ViewNode(std::int64_t id, std::uint64_t token, std::unique_ptr<ViewNodeContent> content)
        : id_(id), token_(token), content_(content.release()) {}
    ~ViewNode();
    ViewNode(const ViewNode&) = delete;
    ViewNode& operator=(const ViewNode&) = delete;

    std::int64_t id() const noexcept { return id_; }
    /// Of the edit that made it; 0 for what was loaded.
    std::uint64_t token() const noexcept { return token_; }
    const ViewNodeContent& content(ViewNodeSource& source) const {
        const ViewNodeContent* content = content_.load(std::memory_order_acquire);
        return content ? *content : load(source);
    }
    /// Only for the edit that made it.
    ViewNodeContent& ownContent() const { return *content_.load(std::memory_order_relaxed); }

private:
    const ViewNodeContent& load(ViewNodeSource& source) const;

    const std::int64_t id_;
    const std::uint64_t token_ = 0;
    const std::uint64_t storedCount_ = 0;
    const int storedHeight_ = anyHeight;
    mutable std::atomic<ViewNodeContent*> content_{nullptr};
};

}  // namespace qsml::detail
