#pragma once
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/IndexPath.h"
#include "store/YapDatabaseTransaction.h"
#include "store/views/YapDatabaseViewContent.h"
#include "store/views/YapDatabaseViewRangeOptions.h"

namespace qsml {

/// Sections and rows of a list over the groups of a view.
///
/// Moved to a snapshot either by updateWithTransaction or by the view transaction's
/// getSectionChanges, always to that of the connection that is used with it. Sections are static at
/// first: visible also while they are empty. Confined to the thread that uses the connection.
class QSML_EXPORT YapDatabaseViewMappings {
public:
    /// Rows of a group that follow each other, by their indexes in the whole of it.
    struct Range {
        std::uint64_t first = 0;
        std::uint64_t length = 0;
    };

    /// Before the first update.
    static constexpr std::uint64_t noSnapshot = std::numeric_limits<std::uint64_t>::max();

    /// A group that is named twice is one section, at its first place; a nil name is none.
    static std::shared_ptr<YapDatabaseViewMappings> initWithGroups(std::vector<String> groups,
                                                                   std::string view);
    std::shared_ptr<YapDatabaseViewMappings> copy() const;

    const std::string& view() const noexcept { return view_; }
    const std::vector<String>& allGroups() const noexcept { return groups_; }
    /// In section order.
    const std::vector<String>& visibleGroups() const noexcept { return visibleGroups_; }
    std::uint64_t snapshotOfLastUpdate() const noexcept { return snapshot_; }

    /// A dynamic section is not visible while it is empty. Takes effect with the next update. The
    /// last call wins for a group.
    void setIsDynamicSection(bool isDynamic, std::string_view group);
    void setIsDynamicSectionForAllGroups(bool isDynamic);
    bool isDynamicSectionForGroup(std::string_view group) const;

    /// Copied in; takes effect with the next update. Nothing happens for groups that are not
    /// mapped. updateWithTransaction announces no change of rows for it: whoever sets a range shows
    /// the list anew.
    void setRangeOptions(const YapDatabaseViewRangeOptions& options, std::string_view group);
    void removeRangeOptionsForGroup(std::string_view group);
    /// As set, with the effective length: of what exists, as far as the last update saw. Nothing
    /// when the group has none.
    std::optional<YapDatabaseViewRangeOptions> rangeOptionsForGroup(std::string_view group) const;

    /// Notes the snapshot and how many rows the groups have. Where the view does not exist on that
    /// snapshot they have none.
    void updateWithTransaction(YapDatabaseReadTransaction& transaction);
    /// The same, from a view's content.
    void update(YapDatabaseViewContent* content, std::uint64_t snapshot);

    std::uint64_t numberOfSections() const noexcept { return visibleGroups_.size(); }
    /// 0 for sections that do not exist.
    std::uint64_t numberOfItemsInSection(std::uint64_t section) const;
    /// Of the range, where there is one; 0 for groups that are not mapped.
    std::uint64_t numberOfItemsInGroup(std::string_view group) const;
    /// Of the visible groups.
    std::uint64_t numberOfItemsInAllGroups() const;
    bool isEmpty() const { return numberOfItemsInAllGroups() == 0; }

    std::optional<String> groupForSection(std::uint64_t section) const;
    /// Nothing for groups that are not mapped or not visible.
    std::optional<std::uint64_t> sectionForGroup(std::string_view group) const;
    /// The place in the view; nothing where the path lies outside.
    std::optional<YapDatabaseViewPlace> placeForIndexPath(IndexPath path) const;
    /// Nothing where the group is not mapped or not visible, or the index not in its range.
    std::optional<IndexPath> indexPathForPlace(const YapDatabaseViewPlace& place) const;

    /// What memory had of the view at the last update; null where there was none.
    const std::shared_ptr<const YapDatabaseExtensionState>& keptState() const noexcept {
        return keptState_;
    }

    /// Where the group stands in allGroups().
    std::optional<std::size_t> positionOfGroup(std::string_view group) const;
    // Of the group at a position in allGroups(), which must exist.
    /// What of it a section shows, as far as the last update saw.
    Range rangeAtPosition(std::size_t position) const { return states_[position].range; }
    /// Nothing while it is not visible.
    std::optional<std::uint64_t> sectionAtPosition(std::size_t position) const {
        return states_[position].section;
    }

private:
    /// What is known of a group: what was set, then what the last update made of it.
    struct GroupState {
        bool isDynamic = false;
        std::optional<YapDatabaseViewRangeOptions> options;
        std::uint64_t count = 0;
        Range range;
        std::optional<std::uint64_t> section;
    };
    using Positions = std::map<String, std::size_t, std::less<>>;

    YapDatabaseViewMappings(std::vector<String> groups, std::string view);
    YapDatabaseViewMappings(const YapDatabaseViewMappings&) = default;
    void showSections();

    std::string view_;
    std::vector<String> groups_;
    std::shared_ptr<const Positions> positions_;
    std::vector<GroupState> states_;  // of groups_
    std::vector<String> visibleGroups_;
    std::uint64_t snapshot_ = noSnapshot;
    std::shared_ptr<const YapDatabaseExtensionState> keptState_;
};

}  // namespace qsml
