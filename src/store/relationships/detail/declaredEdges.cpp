#include "store/relationships/detail/declaredEdges.h"

#include <algorithm>
#include <span>
#include <unordered_map>

#include "foundation/Object.h"
#include "foundation/Value.h"
#include "store/YapDatabaseRelationshipNode.h"
#include "store/relationships/detail/RemovedRows.h"

namespace qsml::detail {

namespace {

bool comesBefore(const StoredEdge& a, const StoredEdge& b) { return a.identity() < b.identity(); }

bool isSame(const StoredEdge& a, const StoredEdge& b) { return a.identity() == b.identity(); }

std::string_view text(const String& name) { return name ? name.view() : std::string_view(""); }

/// Each edge of the list as it is stored, in the list's order. Empty after a failure.
std::vector<StoredEdge> resolved(EdgeTables& tables, const RemovedRows& removed,
                                 std::int64_t source,
                                 std::span<const YapDatabaseRelationshipEdge> list) {
    std::vector<StoredEdge> edges;
    edges.reserve(list.size());
    for (const auto& edge : list) {
        const std::int64_t destination =
            destinationFor(tables, removed, edge.destinationKey, edge.destinationCollection);
        const std::int64_t name = tables.numberForName(text(edge.name));
        if (!tables.ok()) return {};
        edges.push_back({source, destination, edgeKind(name, false), edge.nodeDeleteRules});
    }
    return edges;
}

/// Removes edges; the list that is known of the source stays known, because it is without them.
void drop(EdgeTables& tables, std::int64_t source, const std::vector<StoredEdge>& edges,
          std::vector<StoredEdge>& dropped) {
    if (edges.empty()) return;
    const auto known = tables.knownList(source);
    for (const StoredEdge& edge : edges) tables.remove(edge);
    dropped.insert(dropped.end(), edges.begin(), edges.end());
    if (known) tables.keepList(known);
}

/// What stands between the beginning and the end that two lists have in common.
struct Middle {
    std::size_t first = 0, oldEnd = 0, newEnd = 0;

    Middle(const EdgeList& before, const EdgeList& after)
        : oldEnd(before.size()), newEnd(after.size()) {
        while (first < oldEnd && first < newEnd && before[first] == after[first]) ++first;
        while (oldEnd > first && newEnd > first && before[oldEnd - 1] == after[newEnd - 1])
            --oldEnd, --newEnd;
    }
};

/// Edges of one list by what they are, whatever their rules.
struct HashOfEdge {
    std::size_t operator()(const YapDatabaseRelationshipEdge* edge) const noexcept {
        return std::hash<std::string_view>()(edge->destinationKey.view());
    }
};
struct EqualEdges {
    bool operator()(const YapDatabaseRelationshipEdge* a,
                    const YapDatabaseRelationshipEdge* b) const noexcept {
        return a->destinationKey == b->destinationKey && a->name.view() == b->name.view() &&
               a->destinationCollection.view() == b->destinationCollection.view();
    }
};
using Places =
    std::unordered_map<const YapDatabaseRelationshipEdge*, std::size_t, HashOfEdge, EqualEdges>;

/// A known list becoming another: what stays is taken over, only what comes is looked up.
struct ListChange {
    std::vector<StoredEdge> stored;  ///< of the new list, in its order
    std::vector<StoredEdge> gone, changed;

    /// False where an edge would occur twice, or too many come.
    bool find(EdgeTables& tables, const RemovedRows& removed, const KnownList& known,
              const EdgeList& list) {
        constexpr std::size_t largest = 64;
        const Middle middle(known.list, list);
        Places places;
        for (std::size_t i = middle.first; i < middle.oldEnd; ++i)
            places.emplace(&known.list[i], i);
        const auto at = [&](std::size_t index) {
            return known.stored.begin() + static_cast<std::ptrdiff_t>(index);
        };
        stored.assign(known.stored.begin(), at(middle.first));
        for (std::size_t i = middle.first; i < middle.newEnd; ++i) {
            const auto place = places.find(&list[i]);
            if (place != places.end()) {
                stored.push_back(known.stored[place->second]);
                places.erase(place);
                if (stored.back().rules == list[i].nodeDeleteRules) continue;
                stored.back().rules = list[i].nodeDeleteRules;
            } else {
                const auto come = resolved(tables, removed, known.stored.front().source,
                                           std::span(list).subspan(i, 1));
                if (come.empty() || changed.size() == largest || isThere(tables, come[0]))
                    return false;
                stored.push_back(come[0]);
            }
            changed.push_back(stored.back());
        }
        stored.insert(stored.end(), at(middle.oldEnd), known.stored.end());
        for (const auto& [edge, place] : places) gone.push_back(known.stored[place]);
        return tables.ok();
    }

private:
    bool isThere(EdgeTables& tables, const StoredEdge& edge) const {
        const auto isIt = [&](const StoredEdge& other) { return isSame(edge, other); };
        return std::any_of(changed.begin(), changed.end(), isIt) || tables.rules(edge);
    }
};

}  // namespace

EdgeList declaredEdges(const Value& object) {
    const auto* node = dynamic_cast<const YapDatabaseRelationshipNode*>(object.object().get());
    if (!node) return {};
    EdgeList list = node->yapDatabaseRelationshipEdges();
    list.erase(std::remove_if(list.begin(), list.end(),
                              [](const auto& edge) { return !edge.destinationKey; }),
               list.end());
    return list;
}

std::int64_t destinationFor(EdgeTables& tables, const RemovedRows& removed, std::string_view key,
                            std::string_view collection) {
    if (!collection.data()) collection = "";
    if (const auto row = tables.row(key, collection)) return *row;
    if (const auto row = removed.rowid(collection, key)) return *row;
    return tables.absentFor(key, collection);
}

std::vector<StoredEdge> storedForm(EdgeTables& tables, const RemovedRows& removed,
                                   std::int64_t source, EdgeList list) {
    std::vector<StoredEdge> edges = resolved(tables, removed, source, list);
    std::vector<StoredEdge> sorted = edges;
    std::stable_sort(sorted.begin(), sorted.end(), comesBefore);
    // The last of equals is the first when read backwards.
    sorted.erase(sorted.begin(), std::unique(sorted.rbegin(), sorted.rend(), isSame).base());
    if (sorted.size() == list.size()) tables.keepList(std::move(list), std::move(edges));
    return sorted;
}

void storeDifference(EdgeTables& tables, const RemovedRows& removed, std::int64_t source,
                     EdgeList list, std::vector<StoredEdge>& added,
                     std::vector<StoredEdge>& dropped) {
    if (const auto known = tables.knownList(source)) {
        ListChange change;
        if (change.find(tables, removed, *known, list)) {
            tables.forgetList(source);
            tables.keepList(std::move(list), std::move(change.stored));
            added.insert(added.end(), change.changed.begin(), change.changed.end());
            drop(tables, source, change.gone, dropped);
            return;
        }
    }
    tables.forgetList(source);
    const std::vector<StoredEdge> before = tables.outgoing(source);
    const std::vector<StoredEdge> wanted = storedForm(tables, removed, source, list);
    if (!tables.ok()) return;
    std::vector<StoredEdge> gone;
    auto next = wanted.begin();
    for (const StoredEdge& stored : before) {
        if (stored.isManual()) continue;
        while (next != wanted.end() && comesBefore(*next, stored)) added.push_back(*next++);
        if (next == wanted.end() || comesBefore(stored, *next))
            gone.push_back(stored);
        else if (*next++ != stored)
            added.push_back(*(next - 1));  // other rules
    }
    added.insert(added.end(), next, wanted.end());
    drop(tables, source, gone, dropped);
}

}  // namespace qsml::detail
