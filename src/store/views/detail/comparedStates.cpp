#include "store/views/detail/comparedStates.h"

#include <algorithm>
#include <unordered_map>

#include "store/views/YapDatabaseViewTransaction.h"
#include "store/views/detail/ChildViewWork.h"
#include "store/views/detail/ViewFailure.h"
#include "store/views/detail/mappedChanges.h"

namespace qsml::detail {

namespace {

constexpr std::string_view unknownCollection = "\1";  // stands for no row

using Operations = std::unordered_map<std::int64_t, YapDatabaseViewOperation>;

void collect(const ViewState& state, const String& group, ViewNodeSource& source, bool isBefore,
             Operations& operations) {
    const ViewTree& tree = state.tree(group);
    std::uint64_t index = 0;
    tree.enumerate(0, tree.count(), source, [&](const ViewEntry& entry) {
        auto& operation = operations[entry.rowid];
        (isBefore ? operation.before : operation.after) = YapDatabaseViewPlace{group, index++};
        return true;
    });
}

}  // namespace

bool comparedStates(const YapDatabaseViewMappings& before, const YapDatabaseViewMappings& after,
                    YapDatabaseViewTransaction& view,
                    std::vector<YapDatabaseViewSectionChange>* sections,
                    std::vector<YapDatabaseViewRowChange>* rows, std::uint64_t longest) {
    const auto isShort = [&](const YapDatabaseViewMappings& mappings) {
        return mappings.numberOfItemsInAllGroups() <= longest;
    };
    const auto older = std::dynamic_pointer_cast<const ViewState>(before.keptState());
    if (!older || !isShort(before) || !isShort(after)) return false;
    Operations operations;
    try {
        NoNodeSource inMemory;
        for (const String& group : before.allGroups())
            collect(*older, group, inMemory, true, operations);
    } catch (const ViewFailure&) {
        return false;  // it can no longer be read
    }
    for (const String& group : after.allGroups())
        collect(view.state(), group, view.source(), false, operations);
    std::vector<YapDatabaseViewOperation> listed;
    listed.reserve(operations.size());
    for (auto& [rowid, operation] : operations) {
        if (!view.keyOfRow(rowid, &operation.row))
            operation.row = {unknownCollection, std::to_string(rowid)};
        operation.flags = YapDatabaseViewChangedObject | YapDatabaseViewChangedMetadata;
        listed.push_back(std::move(operation));
    }
    const YapDatabaseViewChanges changes(std::move(listed));
    mappedChanges(before, after, {&changes}, view, sections, rows);
    for (YapDatabaseViewRowChange& change : *rows)
        if (change.row.collection.view() == unknownCollection) change.row = {};
    return true;
}

}  // namespace qsml::detail
