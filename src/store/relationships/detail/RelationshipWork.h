#pragma once
#include <unordered_map>
#include <vector>

#include "store/relationships/YapDatabaseRelationshipTransaction.h"
#include "store/relationships/detail/EdgeTables.h"
#include "store/relationships/detail/RemovedRows.h"
#include "store/relationships/detail/declaredEdges.h"

namespace qsml::detail {

/// The work of one transaction on the graph. Hooks only gather; the flush stores lists as
/// differences, finds the edges that went and carries out their rules, until nothing is left to do.
/// Confined to the transaction.
class RelationshipWork {
public:
    using Transaction = YapDatabaseRelationshipTransaction;
    using Reason = YapDatabaseRelationshipNode::Reason;

    RelationshipWork(YapDatabaseExtensionContext& context,
                     const YapDatabaseRelationshipOptions& options,
                     std::shared_ptr<const EdgeState> state);

    void didInsert(const YapDatabaseRow& row);
    void didUpdate(const YapDatabaseRow& row);
    void didRemove(const YapDatabaseRow& row);

    bool addEdge(const YapDatabaseRelationshipEdge& edge, const YapDatabaseCollectionKey& source);
    bool removeEdge(const YapDatabaseRelationshipEdge& edge, const YapDatabaseCollectionKey& source,
                    Reason processing);
    bool hasManualChanges() const noexcept { return hasManualChanges_; }

    bool enumerate(const Transaction::Query& query, const Transaction::EdgeBlock& block,
                   Error* error);
    std::uint64_t count(const Transaction::Query& query, Error* error);

    bool flush(Error* error);
    std::shared_ptr<const EdgeState> state() { return tables_.state(); }

private:
    /// A list that was declared and is not stored yet.
    struct Pending {
        std::int64_t source = 0;
        EdgeList list;
        bool isNew = false;  ///< nothing is stored of it
    };
    /// An edge that went, and why: the end that remains has rules to follow.
    struct Gone {
        StoredEdge edge;
        Reason reason = Reason::edgeDeleted;
        std::int64_t remaining() const {
            return reason == Reason::destinationNodeDeleted ? edge.source : edge.destination;
        }
    };
    struct Notice {
        std::int64_t row = 0;
        YapDatabaseRelationshipEdge edge;
        Reason reason = Reason::edgeDeleted;
    };
    struct Filter;

    bool declares(std::string_view collection) const;
    void setPending(const YapDatabaseRow& row, bool isNew);
    void reviveAbsent(const YapDatabaseRow& row);
    void moveEnd(std::int64_t from, std::int64_t to);

    void carryOut();
    void storeLists();
    void storeList(Pending& pending, std::vector<StoredEdge>& added);
    void collectGone();
    void collectGone(const RemovedRows::Row& row, const RemovedRows& removed);
    void note(const Gone& gone, const YapDatabaseCollectionKey* destination);
    void deleteNodes();
    void deleteNode(std::int64_t row);
    void tellAll();
    void tell(const Notice& notice);
    bool isWorkLeft() const { return !pending_.empty() || !removed_.isEmpty() || !gone_.empty(); }
    void requireWrite() const;
    void writeFailed(const YapDatabaseCollectionKey& row);

    bool makeFilter(const Transaction::Query& query, Filter* filter);
    using FoundBlock = std::function<bool(const StoredEdge&)>;
    bool visitStored(const Filter& filter, const FoundBlock& block);
    using DeclaredBlock =
        std::function<bool(std::int64_t source, const YapDatabaseRelationshipEdge&)>;
    bool visitPending(const Filter& filter, const DeclaredBlock& block);
    void noteTargets(std::size_t pending);
    std::vector<std::size_t> pendingTo(const String& destinationKey);
    bool isShown(const StoredEdge& edge, const Filter& filter) const;

    YapDatabaseExtensionContext& context_;
    const YapDatabaseRelationshipOptions& options_;
    EdgeTables tables_;
    std::vector<Pending> pending_;
    std::unordered_map<std::int64_t, std::size_t> pendingOf_;
    /// By destination key the lists that may lead there, kept from the first query that asks: in a
    /// write of many rows each of them may ask. Lists may have changed since, and stand twice.
    std::optional<std::unordered_map<String, std::vector<std::size_t>>> pendingTo_;
    RemovedRows removed_;
    std::vector<Gone> gone_;
    std::vector<Notice> notices_;
    bool hasManualChanges_ = false;
    bool isFlushing_ = false;
};

}  // namespace qsml::detail
