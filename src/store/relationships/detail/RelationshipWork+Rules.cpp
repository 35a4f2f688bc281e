// The end of a write: lists are stored, and the rules of edges that went are carried out.
#include <algorithm>
#include <unordered_set>

#include "store/YapDatabaseOptions.h"
#include "store/relationships/YapDatabaseRelationship.h"
#include "store/relationships/detail/RelationshipWork.h"

namespace qsml::detail {

namespace {

using Rules = YapDatabaseNodeDeleteRules;

bool has(const StoredEdge& edge, std::int64_t rules) { return (edge.rules & rules) != 0; }

Error endlessNotices() {
    return {.domain = std::string(YapDatabaseErrorDomain),
            .code = static_cast<std::int64_t>(YapDatabaseErrorCode::extension),
            .description = "Objects that are told of lost edges keep answering each other."};
}

}  // namespace

bool RelationshipWork::flush(Error* error) {
    if (!context_.readWriteTransaction()) return true;
    if (isFlushing_) return true;  // what is asked for in a notice happens when the notice returns
    struct Flushing {
        bool& flag;
        explicit Flushing(bool& itsFlag) : flag(itsFlag) { flag = true; }
        ~Flushing() { flag = false; }
    } flushing(isFlushing_);
    try {
        carryOut();
    } catch (const std::exception& exception) {
        // Half of the rules are carried out: a caller that catches this must not commit them.
        tables_.fail(
            {.domain = std::string(YapDatabaseErrorDomain),
             .code = static_cast<std::int64_t>(YapDatabaseErrorCode::extension),
             .description = std::string("The rules of edges failed: ") + exception.what()});
        throw;
    }
    if (!tables_.ok()) report(error, tables_.error());
    return tables_.ok();
}

/// In rounds and never by recursion, so the depth of a graph costs no stack. A row goes once, so
/// cycles end. Objects are told only when no more rows go, because one that is about to go is not
/// told: or else a playlist that goes with its items would hear of each of them.
void RelationshipWork::carryOut() {
    for (std::uint64_t rounds = 0; tables_.ok();) {
        if (isWorkLeft()) {
            storeLists();
            collectGone();
            deleteNodes();
        } else if (!notices_.empty()) {
            if (++rounds > options_.noticeRounds) tables_.fail(endlessNotices());
            tellAll();
        } else {
            tables_.removeUnusedAbsents();
            return;
        }
    }
}

void RelationshipWork::storeLists() {
    std::vector<Pending> lists;
    lists.swap(pending_);
    pendingOf_.clear();
    pendingTo_.reset();
    std::vector<StoredEdge> added;
    for (Pending& one : lists) storeList(one, added);
    const auto comesBefore = [](const StoredEdge& a, const StoredEdge& b) {
        return a.identity() < b.identity();
    };
    if (!std::is_sorted(added.begin(), added.end(), comesBefore))
        std::sort(added.begin(), added.end(), comesBefore);
    for (const StoredEdge& edge : added) tables_.insert(edge);
}

void RelationshipWork::storeList(Pending& pending, std::vector<StoredEdge>& added) {
    if (pending.isNew) {
        const auto edges = storedForm(tables_, removed_, pending.source, std::move(pending.list));
        added.insert(added.end(), edges.begin(), edges.end());
    } else {
        std::vector<StoredEdge> dropped;
        storeDifference(tables_, removed_, pending.source, std::move(pending.list), added, dropped);
        for (const StoredEdge& edge : dropped) gone_.push_back({edge, Reason::edgeDeleted});
    }
}

/// All edges of the rows that went since the last round.
void RelationshipWork::collectGone() {
    const RemovedRows removed = std::exchange(removed_, {});
    const auto isForNobody = [&](const Gone& gone) {
        return gone.remaining() < 0 || removed.contains(gone.remaining());
    };
    gone_.erase(std::remove_if(gone_.begin(), gone_.end(), isForNobody), gone_.end());
    for (const Gone& gone : gone_) note(gone, nullptr);
    for (const RemovedRows::Row& row : removed.rows()) {
        if (!tables_.ok()) return;
        if (row.rowid) collectGone(row, removed);
    }
}

void RelationshipWork::collectGone(const RemovedRows::Row& row, const RemovedRows& removed) {
    const std::vector<StoredEdge> outgoing = tables_.outgoing(row.rowid);
    for (const StoredEdge& edge : outgoing) {
        if (edge.destination < 0 || removed.contains(edge.destination)) continue;
        gone_.push_back({edge, Reason::sourceNodeDeleted});
        note(gone_.back(), nullptr);
    }
    tables_.removeAll(outgoing);
    for (const StoredEdge& edge : tables_.incoming(row.rowid)) {
        if (removed.contains(edge.source)) continue;  // goes with its source
        gone_.push_back({edge, Reason::destinationNodeDeleted});
        note(gone_.back(), &row.address);
        if (edge.isManual() || has(edge, YDB_DeleteSourceIfDestinationDeleted))
            tables_.remove(edge);  // the source is about to go, too
        else                       // still declared: it waits for the row to come back
            tables_.move(edge, edge.source,
                         tables_.absentFor(row.address.key, row.address.collection));
    }
}

/// Keeps what there is to tell, as it is known now. `destination` is given where that row is gone.
void RelationshipWork::note(const Gone& gone, const YapDatabaseCollectionKey* destination) {
    const bool isSourceTold = gone.reason == Reason::destinationNodeDeleted;
    const auto rule =
        isSourceTold ? Rules::YDB_NotifyIfDestinationDeleted : Rules::YDB_NotifyIfSourceDeleted;
    if (!has(gone.edge, rule)) return;
    const auto known = destination ? *destination : tables_.address(gone.edge.destination);
    if (!known) return;
    notices_.push_back({gone.remaining(),
                        {tables_.name(gone.edge.name()), known->key, known->collection,
                         static_cast<std::uint32_t>(gone.edge.rules)},
                        gone.reason});
}

void RelationshipWork::deleteNodes() {
    const std::vector<Gone> all = std::exchange(gone_, {});
    const auto isRuled = [](const Gone& gone, Rules forSource, Rules forDestination) {
        return has(gone.edge,
                   gone.reason == Reason::destinationNodeDeleted ? forSource : forDestination);
    };
    for (const Gone& gone : all)
        if (isRuled(gone, YDB_DeleteSourceIfDestinationDeleted,
                    YDB_DeleteDestinationIfSourceDeleted))
            deleteNode(gone.remaining());
    std::unordered_set<std::int64_t> counted;  // once, however many of its edges went
    for (const Gone& gone : all) {
        const std::int64_t row = gone.remaining();
        if (!isRuled(gone, YDB_DeleteSourceIfAllDestinationsDeleted,
                     YDB_DeleteDestinationIfAllSourcesDeleted))
            continue;
        const bool isSource = gone.reason == Reason::destinationNodeDeleted;
        if (removed_.contains(row) || !counted.insert(isSource ? -row : row).second) continue;
        const bool isKept =
            isSource ? tables_.hasDeletingOutgoing(row) : tables_.hasDeletingIncoming(row);
        if (!isKept) deleteNode(row);
    }
}

/// Removes the row that has this number and no other, with all that an ordinary removal does.
void RelationshipWork::deleteNode(std::int64_t row) {
    if (removed_.contains(row)) return;
    const auto address = tables_.address(row);
    if (!address || tables_.row(address->key, address->collection) != row) return;
    if (!context_.readWriteTransaction()->removeObjectForKey(address->key, address->collection))
        writeFailed(*address);
}

void RelationshipWork::tellAll() {
    const std::vector<Notice> all = std::exchange(notices_, {});
    for (const Notice& notice : all) {
        if (!tables_.ok()) return;
        tell(notice);
    }
}

void RelationshipWork::tell(const Notice& notice) {
    const auto address = tables_.address(notice.row);
    if (!address) return;
    YapDatabaseReadWriteTransaction& transaction = *context_.readWriteTransaction();
    const Value object = transaction.objectForKey(address->key, address->collection);
    if (object.isNil()) tables_.expectRead();
    const auto* node = dynamic_cast<const YapDatabaseRelationshipNode*>(object.object().get());
    if (!node) return;
    const std::shared_ptr<const Object> changed =
        node->yapDatabaseRelationshipEdgeDeleted(notice.edge, notice.reason);
    if (changed && !transaction.replaceObject(Value(changed), address->key, address->collection))
        writeFailed(*address);
}

void RelationshipWork::writeFailed(const YapDatabaseCollectionKey& row) {
    Error error = context_.transaction().error();
    if (!error)
        error = {.domain = std::string(YapDatabaseErrorDomain),
                 .code = static_cast<std::int64_t>(YapDatabaseErrorCode::extension),
                 .description = "The row \"" + row.key.str() + "\" of the collection \"" +
                                row.collection.str() + "\" could not be changed by a rule."};
    tables_.fail(std::move(error));
}

}  // namespace qsml::detail
