#include "store/relationships/detail/RelationshipWork.h"

#include "foundation/Value.h"
#include "store/YapDatabaseException.h"
#include "store/relationships/YapDatabaseRelationship.h"

namespace qsml::detail {

namespace {

/// A nil collection means the empty one.
YapDatabaseCollectionKey named(YapDatabaseCollectionKey row) {
    if (!row.collection) row.collection = "";
    return row;
}

}  // namespace

RelationshipWork::RelationshipWork(YapDatabaseExtensionContext& context,
                                   const YapDatabaseRelationshipOptions& options,
                                   std::shared_ptr<const EdgeState> state)
    : context_(context), options_(options), tables_(context, std::move(state)) {}

bool RelationshipWork::declares(std::string_view collection) const {
    const auto& allowed = options_.allowedCollections;
    return !allowed || allowed->find(collection) != allowed->end();
}

/// The last list of a row counts.
void RelationshipWork::setPending(const YapDatabaseRow& row, bool isNew) {
    if (!declares(row.collection)) return;
    EdgeList list = declaredEdges(row.object);
    const auto known = pendingOf_.find(row.rowid);
    if (known != pendingOf_.end()) {
        pending_[known->second].list = std::move(list);
        noteTargets(known->second);
        return;
    }
    if (isNew && list.empty()) return;
    pendingOf_.emplace(row.rowid, pending_.size());
    pending_.push_back({row.rowid, std::move(list), isNew});
    noteTargets(pending_.size() - 1);
}

void RelationshipWork::didInsert(const YapDatabaseRow& row) {
    const auto former = removed_.takeBack(row.collection, row.key);
    if (former) {  // an update after all: the row keeps its edges
        moveEnd(*former, row.rowid);
        const auto known = pendingOf_.find(*former);
        if (known != pendingOf_.end()) {
            pending_[known->second].list.clear();
            pending_[known->second].isNew = true;  // nothing is left under the old number
        }
    } else {
        reviveAbsent(row);
    }
    setPending(row, !former);
}

/// Edges that led to a row that did not exist lead to this one.
void RelationshipWork::reviveAbsent(const YapDatabaseRow& row) {
    if (const std::int64_t absent = tables_.absent(row.key, row.collection)) {
        moveEnd(absent, row.rowid);
        tables_.removeUnusedAbsents();
    }
}

void RelationshipWork::moveEnd(std::int64_t from, std::int64_t to) {
    tables_.moveEnd(from, to);
    for (Gone& gone : gone_) {  // removed by hand; their rules wait for the flush
        if (gone.edge.source == from) gone.edge.source = to;
        if (gone.edge.destination == from) gone.edge.destination = to;
    }
}

void RelationshipWork::didUpdate(const YapDatabaseRow& row) { setPending(row, false); }

void RelationshipWork::didRemove(const YapDatabaseRow& row) {
    removed_.add(row.rowid, row.collection, row.key);
}

void RelationshipWork::requireWrite() const {
    if (!context_.readWriteTransaction())
        throw YapDatabaseException("Edges can be changed in a read-write transaction only.");
}

bool RelationshipWork::addEdge(const YapDatabaseRelationshipEdge& edge,
                               const YapDatabaseCollectionKey& source) {
    requireWrite();
    const YapDatabaseCollectionKey from = named(source);
    const YapDatabaseCollectionKey to = named({edge.destinationCollection, edge.destinationKey});
    const auto row = tables_.row(from.key, from.collection);
    if (!row || !to.key) return false;
    const std::int64_t name = tables_.numberForName(edge.name ? edge.name.view() : "");
    const StoredEdge stored{*row, destinationFor(tables_, removed_, to.key, to.collection),
                            edgeKind(name, true), edge.nodeDeleteRules};
    hasManualChanges_ = true;
    tables_.insertManual(stored, from, to);
    return tables_.ok();
}

bool RelationshipWork::removeEdge(const YapDatabaseRelationshipEdge& edge,
                                  const YapDatabaseCollectionKey& source, Reason processing) {
    requireWrite();
    const YapDatabaseCollectionKey from = named(source);
    const YapDatabaseCollectionKey to = named({edge.destinationCollection, edge.destinationKey});
    const auto row = tables_.row(from.key, from.collection);
    const std::int64_t name = tables_.numberOfName(edge.name ? edge.name.view() : "");
    if (!row || !to.key || !name) return false;
    auto destination = tables_.row(to.key, to.collection);
    if (!destination) destination = removed_.rowid(to.collection, to.key);
    StoredEdge stored{*row, destination ? *destination : tables_.absent(to.key, to.collection),
                      edgeKind(name, true)};
    const auto rules = tables_.rules(stored);
    if (!rules) return false;
    stored.rules = *rules;
    hasManualChanges_ = true;
    tables_.remove(stored);
    if (processing != Reason::edgeDeleted) gone_.push_back({stored, processing});
    return tables_.ok();
}

}  // namespace qsml::detail
