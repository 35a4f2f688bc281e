#include "store/relationships/detail/fillEdges.h"

#include "foundation/Value.h"
#include "store/relationships/detail/RemovedRows.h"
#include "store/relationships/detail/declaredEdges.h"

namespace qsml::detail {

namespace {

String textOf(const Query& query, int column) {
    const std::string_view text = query.text(column);
    return String(text.data() ? text : std::string_view(""));
}

/// Their ends may have other row ids now: they are known by collection and key.
void resolveManualEdges(EdgeTables& tables) {
    const std::vector<ManualEdge> all = manualEdges(tables);
    tables.execute(tables.texts().dropManuals);
    tables.execute(tables.texts().forgetManuals);
    for (const auto& [edge, source, destination] : all) {
        if (!tables.ok()) return;
        const auto row = tables.row(source.key, source.collection);
        if (!row) continue;
        const std::int64_t end =
            destinationFor(tables, {}, destination.key, destination.collection);
        tables.insertManual({*row, end, edge.kind, edge.rules}, source, destination);
    }
}

/// Entries of rows that exist by now, which edges of rows that do not decode may lead to, and those
/// that nothing leads to any more.
void resolveAbsents(EdgeTables& tables) {
    for (const auto& [end, address] : absentRows(tables)) {
        const auto row = tables.row(address.key, address.collection);
        if (row) tables.moveEnd(end, *row);
        tables.leaveAbsent(end);
    }
    tables.removeUnusedAbsents();
}

bool enumerate(EdgeTables& tables, const Collections& collections,
               const std::function<void(const YapDatabaseRow&)>& block) {
    if (!tables.ok()) return false;
    const bool isRead =
        tables.context().enumerateRows(collections ? &*collections : nullptr, block);
    if (!isRead) tables.failWith("read");
    return tables.ok();
}

}  // namespace

std::vector<ManualEdge> manualEdges(EdgeTables& tables) {
    std::vector<ManualEdge> all;
    if (!tables.ok()) return all;
    Statement statement(tables.texts().manuals.c_str());
    Query query(statement, tables.context().handle());
    while (query.row())
        all.push_back({{query.number(0), query.number(1), query.number(2), query.number(3)},
                       {textOf(query, 4), textOf(query, 5)},
                       {textOf(query, 6), textOf(query, 7)}});
    if (!query.ok()) tables.failWith("read");
    return all;
}

std::vector<std::pair<std::int64_t, YapDatabaseCollectionKey>> absentRows(EdgeTables& tables) {
    std::vector<std::pair<std::int64_t, YapDatabaseCollectionKey>> all;
    if (!tables.ok()) return all;
    Statement statement(tables.texts().absents.c_str());
    Query query(statement, tables.context().handle());
    while (query.row()) all.push_back({-query.number(0), {textOf(query, 1), textOf(query, 2)}});
    if (!query.ok()) tables.failWith("read");
    return all;
}

void fillEdges(EdgeTables& tables, const Collections& collections) {
    enumerate(tables, collections, [&](const YapDatabaseRow& row) {
        EdgeList list = declaredEdges(row.object);
        if (list.empty() || !tables.ok()) return;
        for (const StoredEdge& edge : storedForm(tables, {}, row.rowid, std::move(list)))
            tables.insert(edge);
    });
}

void rebuildEdges(EdgeTables& tables, const Collections& collections) {
    resolveManualEdges(tables);
    tables.execute(tables.texts().removeStrayEdges);
    resolveAbsents(tables);
    std::vector<StoredEdge> added, dropped;
    enumerate(tables, {}, [&](const YapDatabaseRow& row) {
        const bool declares = !collections || collections->count(row.collection);
        if ((declares && row.object.isNil()) || !tables.ok()) return;
        EdgeList list = declares ? declaredEdges(row.object) : EdgeList();
        added.clear();
        dropped.clear();
        storeDifference(tables, {}, row.rowid, std::move(list), added, dropped);
        for (const StoredEdge& edge : added) tables.insert(edge);
    });
    tables.removeUnusedAbsents();
}

}  // namespace qsml::detail
