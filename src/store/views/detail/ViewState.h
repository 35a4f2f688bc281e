#pragma once
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

#include "store/YapDatabaseExtension.h"
#include "store/views/detail/ViewTree.h"

namespace qsml::detail {

/// A group that has rows.
struct ViewGroup {
    std::int64_t id = 0;  ///< in the file; 0 in views that are never stored
    String name;
    ViewTree tree;
};

/// Where each row of a view stands, for many questions at once: made by one walk over the view.
class ViewRanks;

/// A view on one snapshot. Immutable once it is shared, and then thread-safe; copies share what
/// they hold.
class ViewState : public YapDatabaseExtensionState {
public:
    ViewState() = default;
    ViewState(const ViewState& other)
        : YapDatabaseExtensionState(),
          nextNode(other.nextNode),
          nextGroup(other.nextGroup),
          groups_(other.groups_),
          byId_(other.byId_) {}
    ~ViewState() override;

    /// By name, without those that are empty.
    const std::vector<std::shared_ptr<const ViewGroup>>& groups() const noexcept { return groups_; }
    /// Null when it has no rows. O(log g).
    const ViewGroup* group(std::string_view name) const;
    /// Empty where there is no such group.
    const ViewTree& tree(std::string_view name) const;
    std::uint64_t count() const;

    /// Only while it is not shared: puts a group in the place of its namesake, or takes it out when
    /// its tree is empty.
    void put(std::shared_ptr<const ViewGroup> group);

    /// For a shared state: counts the questions, and answers null until they have become so many
    /// that the walk costs less.
    const ViewRanks* ranksForQuestions(ViewNodeSource& source) const;
    const ViewRanks& ranks(ViewNodeSource& source) const;

    /// By its id; null when there is none. O(log g).
    const ViewGroup* groupWithId(std::int64_t id) const;

    // The next ids in the file.
    std::int64_t nextNode = 1;
    std::int64_t nextGroup = 1;

private:
    std::size_t placeOf(std::string_view name) const;
    void forgetRanks();

    using Groups = std::vector<std::shared_ptr<const ViewGroup>>;
    static Groups::iterator placeOfId(Groups& groups, std::int64_t id);

    Groups groups_;
    Groups byId_;  // the stored ones
    mutable std::atomic<std::uint32_t> questions_{0};
    mutable std::mutex ranksMutex_;
    mutable std::unique_ptr<const ViewRanks> ranksOwner_;
    mutable std::atomic<const ViewRanks*> ranks_{nullptr};
};

class ViewRanks {
public:
    struct Place {
        const ViewGroup* group;
        std::uint64_t index;
    };
    ViewRanks(const ViewState& state, ViewNodeSource& source);

    /// False when the row is not in the view. O(1).
    bool find(std::int64_t rowid, Place* place) const;
    /// Ascends with group and index; 0 when the row is not in the view.
    std::uint32_t numberOf(std::int64_t rowid) const;
    Place placeOfNumber(std::uint32_t number) const;

private:
    /// Rows of one collection have row ids that follow each other but for a few that went.
    struct Block {
        std::int64_t first;  // of the collection
        std::vector<std::uint32_t> numbers;
    };
    Block& blockOf(std::int64_t rowid);
    const Block* findBlock(std::int64_t rowid) const;

    std::vector<Block> blocks_;
    std::vector<std::pair<std::uint32_t, const ViewGroup*>> groups_;  // by the number before them
};

}  // namespace qsml::detail
