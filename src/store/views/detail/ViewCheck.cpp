#include "store/views/detail/ViewCheck.h"

#include <algorithm>
#include <set>

#include "store/views/YapDatabaseAutoView.h"
#include "store/views/detail/AutoViewWork.h"
#include "store/views/detail/ViewFailure.h"

namespace qsml::detail {

namespace {

/// Compares a view as it is stored with the same view made anew in memory.
class Comparison {
public:
    Comparison(YapDatabaseExtensionContext& context, const ViewFault& fault, ViewTable& table,
               const ViewState& stored, const ViewState& wanted)
        : context_(context), fault_(fault), table_(table), stored_(stored), wanted_(wanted) {}

    void run(bool isSorted) {
        for (const auto& group : wanted_.groups()) compareGroup(*group);
        for (const auto& group : stored_.groups()) {
            if (!wanted_.group(group->name))
                tell(group->name, "stands in the view and no row belongs to it");
            if (const auto trouble = group->tree.fault(isSorted, table_, &nodes_))
                tell(group->name, *trouble);
        }
        comparePlaces();
        compareNodes();
    }

private:
    void tell(const String& group, std::string_view what) {
        fault_("", "", "the group \"" + group.str() + "\": " + std::string(what));
    }
    void tellRow(std::int64_t rowid, std::string_view what) {
        YapDatabaseCollectionKey row{"", "row " + std::to_string(rowid)};
        context_.keyForRowid(rowid, &row);
        fault_(row.collection, row.key, what);
    }
    void compareGroup(const ViewGroup& wanted) {
        const ViewGroup* stored = stored_.group(wanted.name);
        if (!stored) return tell(wanted.name, "is missing in the view");
        if (stored->tree.count() != wanted.tree.count())
            return tell(wanted.name, "has another number of rows than belong to it");
        ViewEntryList entries;
        stored->tree.enumerate(0, stored->tree.count(), table_, [&](const ViewEntry& entry) {
            entries.insert(entries.size(), entry.rowid, entry.key);
            return true;
        });
        std::size_t i = 0;
        wanted.tree.enumerate(0, wanted.tree.count(), table_, [&](const ViewEntry& entry) {
            if (entry.rowid != entries.rowid(i))
                tellRow(entry.rowid, "the row stands elsewhere in the view than it belongs");
            else if (entry.key != entries.key(i))
                tellRow(entry.rowid, "the view has another sort key than the row gives");
            places_.emplace(entry.rowid, StoredPlace{stored->id, std::string(entry.key)});
            ++i;
            return true;
        });
    }
    void comparePlaces() {
        std::set<std::int64_t> strays;
        table_.enumeratePlaces([&](std::int64_t rowid, const StoredPlace& place) {
            const auto wanted = places_.find(rowid);
            if (wanted == places_.end()) {
                strays.insert(rowid);
                return;
            }
            if (wanted->second.group != place.group || wanted->second.key != place.key)
                strays.insert(rowid);
            places_.erase(wanted);
        });
        for (const std::int64_t rowid : strays)
            tellRow(rowid, "the view has another place noted for the row than it belongs to");
        for (const auto& [rowid, place] : places_)
            tellRow(rowid, "the view has no place noted for the row");
    }
    void compareNodes() {
        std::sort(nodes_.begin(), nodes_.end());
        if (std::adjacent_find(nodes_.begin(), nodes_.end()) != nodes_.end())
            fault_("", "", "a node stands twice in the view");
        table_.enumerateNodeIds([&](std::int64_t id) {
            if (!std::binary_search(nodes_.begin(), nodes_.end(), id))
                fault_("", "", "node " + std::to_string(id) + " belongs to no group of the view");
        });
    }

    YapDatabaseExtensionContext& context_;
    const ViewFault& fault_;
    ViewTable& table_;
    const ViewState& stored_;
    const ViewState& wanted_;
    std::vector<std::int64_t> nodes_;
    std::unordered_map<std::int64_t, StoredPlace> places_;
};

}  // namespace

bool checkAutoView(const YapDatabaseAutoView& view, YapDatabaseExtensionContext& context,
                   const ViewFault& fault, Error* error) {
    auto empty = std::make_shared<ViewState>();
    empty->nextNode = 0;
    AutoViewWork anew(view, context, std::move(empty), ViewEditing::Storage::volatileOnly);
    const auto add = [&](const YapDatabaseRow& row) { anew.insert(row); };
    if (!context.enumerateRows(view.allowedCollections(), add)) {
        report(error, context.transaction().error());
        return false;
    }
    anew.apply();
    ViewTable table(context);
    const auto stored = table.loadState();
    Comparison(context, fault, table, *stored, anew.state()).run(!view.sorting().isByList());
    return true;
}

std::shared_ptr<const YapDatabaseViewChanges> changesOfWholeView(
    const YapDatabaseExtensionState& state, ViewNodeSource& source) {
    std::vector<YapDatabaseViewOperation> operations;
    for (const auto& group : static_cast<const ViewState&>(state).groups()) {
        std::uint64_t index = 0;
        group->tree.enumerate(0, group->tree.count(), source, [&](const ViewEntry& entry) {
            YapDatabaseViewOperation operation;
            operation.after = YapDatabaseViewPlace{group->name, index++};
            operation.flags = YapDatabaseViewChangedObject | YapDatabaseViewChangedMetadata;
            operation.rowidAfter = entry.rowid;
            operations.push_back(std::move(operation));
            return true;
        });
    }
    if (operations.empty()) return nullptr;
    return std::make_shared<YapDatabaseViewChanges>(std::move(operations));
}

}  // namespace qsml::detail
