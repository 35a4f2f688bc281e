#pragma once
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "store/views/YapDatabaseAutoView.h"
#include "store/views/YapDatabaseViewChanges.h"
#include "store/views/detail/ViewEditing.h"
#include "store/views/detail/ViewTable.h"

namespace qsml::detail {

/// What one transaction does for an auto view: hooks note where rows belong, apply() puts them
/// there. Confined to the transaction. What can fail throws ViewFailure, or answers false and fills
/// the error.
class AutoViewWork {
public:
    AutoViewWork(const YapDatabaseAutoView& view, YapDatabaseExtensionContext& context,
                 std::shared_ptr<const ViewState> base,
                 ViewEditing::Storage storage = ViewEditing::Storage::stored);

    void insert(const YapDatabaseRow& row);
    void update(const YapDatabaseRow& row, YapDatabaseUpdate update);
    void remove(const YapDatabaseRow& row);
    /// A row that may hold lists has changed or goes.
    void noteListHolder(const YapDatabaseRow& row);

    /// Brings the trees up to date with what was noted.
    void apply();
    /// The rest is as of the last apply().
    const ViewState& state() const noexcept { return editing_.state(); }
    std::shared_ptr<const ViewState> newState() const { return editing_.newState(); }
    ViewNodeSource& source() noexcept { return table_; }
    std::optional<YapDatabaseViewPlace> placeOfRow(std::int64_t rowid);
    std::uint64_t changeNumber() const noexcept { return changeNumber_; }
    const std::vector<YapDatabaseViewOperation>& changes();
    bool writeTables(Error* error);

private:
    struct Place {
        String group;
        std::string key;  ///< what the row is sorted by, or found by in a list
        friend bool operator==(const Place&, const Place&) = default;
    };
    struct Row {
        YapDatabaseCollectionKey row = {};
        bool isNew = false;          // inserted by this transaction
        bool isPending = false;      // `wanted` is still to be applied
        bool keepsPlace = true;      // nothing said where it belongs
        bool isBeforeKnown = false;  // `before` and `now` are read
        unsigned flags = 0;
        std::optional<Place> wanted = {}, before = {}, now = {};
    };
    using NotedRow = std::pair<const std::int64_t, Row>;  // of rows_, where it stays
    struct GroupWork {
        std::vector<NotedRow*> going;
        std::vector<NotedRow*> coming;
    };
    using GroupWorks = std::map<String, GroupWork>;
    using Moves = std::vector<std::pair<ViewEntry, std::size_t>>;

    NotedRow& rowOf(const YapDatabaseRow& row);
    NotedRow& rowOf(std::int64_t rowid);
    void note(NotedRow& noted);
    std::optional<Place> placeFor(const YapDatabaseRow& row);
    void readBefore(std::int64_t rowid, Row& row);
    GroupWorks sortedWork();
    void applyToSorted(const String& group, GroupWork& work);
    void mergeInto(ViewTree& tree, std::vector<ViewEntry>& coming);
    void applyToListed(const String& group, const GroupWork& work);
    std::uint64_t positionIn(const ViewTree& tree, const ViewEntry& entry);
    std::optional<Place> currentPlace(std::int64_t rowid);

    struct Wish;
    void findPositions(const ViewState& state, std::map<String, std::vector<Wish>>& wishes);
    void collectChanges();
    bool writePlaces(Error* error);
    bool writeGroup(const String& name, Error* error);

    const YapDatabaseAutoView& view_;
    YapDatabaseExtensionContext& context_;
    ViewTable table_;
    ViewEditing editing_;
    std::unordered_map<std::int64_t, Row> rows_;
    std::vector<NotedRow*> pending_;
    std::set<String> dirtyLists_;
    String lastCollection_;
    std::uint64_t changeNumber_ = 0;
    std::uint64_t collected_ = 0;  // the number that changes_ belongs to
    std::vector<YapDatabaseViewOperation> changes_;
};

}  // namespace qsml::detail
