#pragma once
#include <functional>
#include <memory>
#include <optional>

#include "store/YapDatabaseExtension.h"
#include "store/YapDatabaseRelationshipNode.h"

namespace qsml {

namespace detail {
class RelationshipWork;
}

struct YapDatabaseRelationshipOptions;

/// Which edges: those that match all that is given, all edges when nothing is.
struct YapDatabaseRelationshipQuery {
    String name = {};  ///< nil: any
    std::optional<YapDatabaseCollectionKey> source = {};
    std::optional<YapDatabaseCollectionKey> destination = {};
};

/// An edge that a query found.
struct YapDatabaseRelationshipFoundEdge {
    YapDatabaseRelationshipEdge edge;
    YapDatabaseCollectionKey source;
    bool isManual = false;
};

/// Edges of one snapshot; in a read-write transaction, with what it has written. Confined to it.
///
///     if (auto* graph = transaction.ext<YapDatabaseRelationshipTransaction>("relationship"))
///         graph->enumerateEdges({.destination = {{"artists", key}}}, block);
///
/// Rules are carried out at the end of the write, before the commit, or earlier by flush(). Until
/// then rows that will go are there, and edges of rows that the write has removed are not found.
/// Rows are removed to the end of all consequences before any object is told of lost edges, so an
/// object that goes in the same write is never told. What is told to one object is told in the
/// order of the removals, each time to the object that the last call left.
///
/// A failure of the file, also one while reading, makes the read-write transaction fail.
class QSML_EXPORT YapDatabaseRelationshipTransaction final
    : public YapDatabaseExtensionTransaction {
public:
    using Edge = YapDatabaseRelationshipEdge;
    using Query = YapDatabaseRelationshipQuery;
    using FoundEdge = YapDatabaseRelationshipFoundEdge;
    using Reason = YapDatabaseRelationshipNode::Reason;
    using EdgeBlock = std::function<void(const FoundEdge& found, bool& stop)>;

    YapDatabaseRelationshipTransaction(YapDatabaseExtensionContext& context,
                                       const YapDatabaseRelationshipOptions& options,
                                       std::shared_ptr<const YapDatabaseExtensionState> state);
    ~YapDatabaseRelationshipTransaction() override;

    /// In no stated order; the block may write. False when the file could not be read.
    bool enumerateEdges(const Query& query, const EdgeBlock& block, Error* error = nullptr);
    std::uint64_t edgeCount(const Query& query, Error* error = nullptr);

    /// Adds a manual edge, or gives the one of that name and those ends other rules. The
    /// destination need not exist. False when the source does not exist, or a key is nil. This and
    /// removeEdge throw a YapDatabaseException in a read transaction.
    bool addEdge(const Edge& edge, const YapDatabaseCollectionKey& source);
    /// Removes a manual edge; its rules in `edge` are not looked at. `processing` says which of its
    /// stored rules run at the flush: none (edgeDeleted), or those for a source or destination that
    /// is gone. False when there is no such edge.
    bool removeEdge(const Edge& edge, const YapDatabaseCollectionKey& source,
                    Reason processing = Reason::edgeDeleted);

    /// Stores what the write has declared and carries out the rules now. In a read transaction
    /// there is nothing to do.
    bool flush(Error* error = nullptr) override;

    void didInsertRow(const YapDatabaseRow& row) override;
    void didUpdateRow(const YapDatabaseRow& row, YapDatabaseUpdate update) override;
    void didRemoveRow(const YapDatabaseRow& row) override;
    bool hasOwnChanges() const override;
    std::shared_ptr<const YapDatabaseExtensionState> newState() override;

private:
    std::unique_ptr<detail::RelationshipWork> work_;
};

}  // namespace qsml
