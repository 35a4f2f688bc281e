#include "store/views/detail/ChildViewTransaction.h"

namespace qsml::detail {

const std::set<std::string, std::less<>>* noCollections() {
    static const std::set<std::string, std::less<>> none;
    return &none;
}

std::optional<YapDatabaseViewPlace> placeInMemory(const ViewState& state, bool isShared,
                                                  std::int64_t rowid, ViewNodeSource& nodes) {
    if (isShared) {
        if (const ViewRanks* ranks = state.ranksForQuestions(nodes)) {
            ViewRanks::Place place{};
            if (!ranks->find(rowid, &place)) return std::nullopt;
            return YapDatabaseViewPlace{place.group->name, place.index};
        }
    }
    for (const auto& group : state.groups()) {
        std::uint64_t index = 0;
        bool isFound = false;
        group->tree.enumerate(0, group->tree.count(), nodes, [&](const ViewEntry& entry) {
            isFound = entry.rowid == rowid;
            if (!isFound) ++index;
            return !isFound;
        });
        if (isFound) return YapDatabaseViewPlace{group->name, index};
    }
    return std::nullopt;
}

namespace {

std::vector<std::int64_t> rowsOf(const ViewTree& tree) {
    NoNodeSource nodes;
    std::vector<std::int64_t> rows;
    tree.enumerate(0, tree.count(), nodes, [&](const ViewEntry& entry) {
        rows.push_back(entry.rowid);
        return true;
    });
    return rows;
}

}  // namespace

void compareInMemory(
    YapDatabaseExtensionContext& context, const ViewState& is, const ViewState& wanted,
    const std::function<void(std::string_view, std::string_view, std::string_view)>& fault) {
    std::set<String> groups;
    for (const ViewState* state : {&is, &wanted})
        for (const auto& group : state->groups()) groups.insert(group->name);
    for (const String& group : groups) {
        const auto rows = rowsOf(is.tree(group)), wantedRows = rowsOf(wanted.tree(group));
        if (rows == wantedRows) continue;
        const auto [differs, from] =
            std::mismatch(rows.begin(), rows.end(), wantedRows.begin(), wantedRows.end());
        YapDatabaseCollectionKey row{"", ""};
        context.keyForRowid(from == wantedRows.end() ? *differs : *from, &row);
        fault(row.collection, row.key,
              "the group \"" + group.str() +
                  "\" has other rows, or in another order, than belong "
                  "to it, from index " +
                  std::to_string(differs - rows.begin()) + " on");
    }
}

}  // namespace qsml::detail
