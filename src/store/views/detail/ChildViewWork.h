#pragma once
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "store/views/YapDatabaseViewChanges.h"
#include "store/views/YapDatabaseViewTransaction.h"
#include "store/views/detail/ViewEditing.h"

namespace qsml::detail {

/// Views in memory have all their nodes there.
class NoNodeSource final : public ViewNodeSource {
public:
    std::string nodeData(std::int64_t id) override;
};

/// What one transaction does for a view that shows some of the rows of a parent view, in the
/// parent's groups and order, and that only memory has. Each application begins with the view as it
/// was before the transaction. Confined to the transaction; throws ViewFailure.
class ChildViewWork {
public:
    /// A row of the parent, as it is now.
    struct Candidate {
        std::int64_t rowid;
        std::string_view group;
        const YapDatabaseCollectionKey& row;
    };
    using Passes = std::function<bool(const Candidate& candidate)>;
    /// Whether a row is to be shown; here its key is not read.
    using Belongs = std::function<bool(std::string_view group, std::int64_t rowid)>;

    ChildViewWork(YapDatabaseExtensionContext& context, std::shared_ptr<const ViewState> base);

    /// Everything anew: walks over the parent. O(n) of the parent's rows.
    void applyWhole(YapDatabaseViewTransaction& parent, const Belongs& belongs);
    /// The same for rows that are known, as far as the parent has them in groups that are shown.
    /// O(k log k), and O(n) for the first time on a snapshot.
    void applyRows(YapDatabaseViewTransaction& parent, const std::vector<std::int64_t>& rows,
                   const std::function<bool(std::string_view group)>& isShown);
    /// Asks only for the rows that the parent lists as changed, and for `others`, whose answer may
    /// have changed though the parent says nothing of them. O(m) of this view's rows, without
    /// looking at them.
    void applyChanges(YapDatabaseViewTransaction& parent, const std::vector<std::int64_t>& others,
                      const Passes& passes);

    const ViewState& state() const noexcept { return editing_->state(); }
    const ViewState& base() const noexcept { return *base_; }
    std::shared_ptr<const ViewState> newState() const { return editing_->newState(); }
    const std::vector<YapDatabaseViewOperation>& changes() const noexcept { return changes_; }
    ViewNodeSource& source() noexcept { return nodes_; }

private:
    using Positions = std::unordered_map<std::int64_t, YapDatabaseViewPlace>;
    struct Listed {
        YapDatabaseViewOperation change;  // with the places in the parent
        bool wasIn = false;
        bool isIn = false;
    };
    void start();
    std::vector<Listed> listedRows(YapDatabaseViewTransaction& parent,
                                   const std::vector<std::int64_t>& others);
    void decide(std::vector<Listed>& listed, const Passes& passes);
    void takeOut(const std::vector<Listed>& listed, const Positions& before);
    void putIn(YapDatabaseViewTransaction& parent, const std::vector<Listed>& listed);
    void remakeGroups(YapDatabaseViewTransaction& parent, const std::vector<Listed>& listed);
    void remake(YapDatabaseViewTransaction& parent, const String& group, const Belongs& belongs);
    void fill(const String& group, const std::vector<std::int64_t>& rows);
    void tellEverything(YapDatabaseViewTransaction& parent);
    static Positions positionsOf(const ViewState& state, ViewNodeSource& source,
                                 const std::unordered_set<std::int64_t>* rows);
    void note(std::int64_t before, std::int64_t after, const YapDatabaseCollectionKey& row,
              unsigned flags, const Positions& positionsBefore, const Positions& positionsAfter);

    YapDatabaseExtensionContext& context_;
    NoNodeSource nodes_;
    std::shared_ptr<const ViewState> base_;
    std::optional<ViewEditing> editing_;
    std::vector<YapDatabaseViewOperation> changes_;
};

}  // namespace qsml::detail
