#include "store/relationships/detail/checkEdges.h"

#include <map>
#include <tuple>

#include "foundation/Value.h"
#include "store/relationships/detail/declaredEdges.h"

namespace qsml::detail {

namespace {

/// An edge without its source and rules, as people know it.
struct Target {
    std::string name, collection, key;
    bool operator<(const Target& other) const {
        return std::tie(name, collection, key) < std::tie(other.name, other.collection, other.key);
    }
    std::string text() const {
        return "\"" + name + "\" to \"" + key + "\" of the collection \"" + collection + "\"";
    }
};
using Targets = std::map<Target, std::uint32_t>;  // with their rules

/// Nothing when an end or the name is unknown.
std::optional<Target> target(EdgeTables& tables, const StoredEdge& edge) {
    const auto to = tables.address(edge.destination);
    const String name = tables.name(edge.name());
    if (!to || !name) return std::nullopt;
    return Target{name.str(), to->collection.str(), to->key.str()};
}

Targets storedTargets(EdgeTables& tables, std::int64_t source) {
    Targets all;
    for (const StoredEdge& edge : tables.outgoing(source)) {
        if (edge.isManual()) continue;
        if (const auto to = target(tables, edge))
            all.insert_or_assign(*to, static_cast<std::uint32_t>(edge.rules));
    }
    return all;
}

Targets declaredTargets(const EdgeList& list) {
    Targets all;
    for (const auto& edge : list)
        all.insert_or_assign(
            {edge.name.str(), edge.destinationCollection.str(), edge.destinationKey.str()},
            edge.nodeDeleteRules);
    return all;
}

void compareList(EdgeTables& tables, const YapDatabaseRow& row, const EdgeList& list,
                 const EdgeFault& fault) {
    Targets stored = storedTargets(tables, row.rowid);
    for (const auto& [declared, rules] : declaredTargets(list)) {
        const auto found = stored.find(declared);
        if (found == stored.end())
            fault(row.collection, row.key, "the edge " + declared.text() + " is missing");
        else if (found->second != rules)
            fault(row.collection, row.key, "the edge " + declared.text() + " has other rules");
        if (found != stored.end()) stored.erase(found);
    }
    for (const auto& [left, rules] : stored)
        fault(row.collection, row.key, "the edge " + left.text() + " is not declared");
}

void compareLists(EdgeTables& tables, const Collections& collections, const EdgeFault& fault) {
    const bool isRead = tables.context().enumerateRows(nullptr, [&](const YapDatabaseRow& row) {
        const bool declares = !collections || collections->count(row.collection);
        if (tables.ok() && !(declares && row.object.isNil()))
            compareList(tables, row, declares ? declaredEdges(row.object) : EdgeList(), fault);
    });
    if (!isRead) tables.failWith("read");
}

/// Edges that lead from or to nothing known.
void findStrays(EdgeTables& tables, const EdgeFault& fault) {
    if (!tables.ok()) return;
    Statement statement(tables.texts().strayEdges.c_str());
    Query query(statement, tables.context().handle());
    while (query.row()) {
        const StoredEdge edge{query.number(0), query.number(1), query.number(2), query.number(3)};
        const auto from = tables.address(edge.source);
        const auto to = target(tables, edge);
        const std::string what = edge.isManual() ? "the manual edge " : "the edge ";
        const std::string which = to ? to->text() : "to row " + std::to_string(edge.destination);
        if (from)
            fault(from->collection.view(), from->key.view(),
                  what + which + " is not stored as a whole");
        else
            fault("", "",
                  what + which + " comes from row " + std::to_string(edge.source) +
                      ", which is gone");
    }
    if (!query.ok()) tables.failWith("read");
}

/// Where an edge to this row must lead.
bool isRightEnd(EdgeTables& tables, const YapDatabaseCollectionKey& address, std::int64_t end) {
    const auto row = tables.row(address.key, address.collection);
    return row ? *row == end : tables.absent(address.key, address.collection) == end;
}

void checkManualEdges(EdgeTables& tables, const EdgeFault& fault) {
    const auto report = [&](const YapDatabaseCollectionKey& from, const std::string& what) {
        fault(from.collection.view(), from.key.view(), what);
    };
    for (const auto& [edge, source, destination] : manualEdges(tables)) {
        const Target to{tables.name(edge.name()).str(), destination.collection.str(),
                        destination.key.str()};
        if (tables.row(source.key, source.collection) != edge.source)
            report(source, "the manual edge " + to.text() + " has another source");
        if (!isRightEnd(tables, destination, edge.destination))
            report(source, "the manual edge " + to.text() + " has another destination");
    }
    if (!tables.ok()) return;
    Statement statement(tables.texts().lostManuals.c_str());
    Query query(statement, tables.context().handle());
    while (query.row()) fault(query.text(0), query.text(1), "a manual edge is missing");
    if (!query.ok()) tables.failWith("read");
}

void checkAbsents(EdgeTables& tables, const EdgeFault& fault) {
    for (const auto& [end, address] : absentRows(tables)) {
        if (tables.row(address.key, address.collection))
            fault(address.collection.view(), address.key.view(),
                  "edges to the row do not know that it exists");
        if (tables.ok() && tables.incoming(end).empty())
            fault(address.collection.view(), address.key.view(),
                  "an absent row is kept without an edge");
    }
}

}  // namespace

void checkEdges(EdgeTables& tables, const Collections& collections, const EdgeFault& fault) {
    compareLists(tables, collections, fault);
    findStrays(tables, fault);
    checkManualEdges(tables, fault);
    checkAbsents(tables, fault);
}

}  // namespace qsml::detail
