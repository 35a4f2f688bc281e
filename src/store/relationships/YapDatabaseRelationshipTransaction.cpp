#include "store/relationships/YapDatabaseRelationshipTransaction.h"

#include "store/relationships/YapDatabaseRelationship.h"
#include "store/relationships/detail/RelationshipWork.h"

namespace qsml {

YapDatabaseRelationshipTransaction::YapDatabaseRelationshipTransaction(
    YapDatabaseExtensionContext& context, const YapDatabaseRelationshipOptions& options,
    std::shared_ptr<const YapDatabaseExtensionState> state)
    : work_(std::make_unique<detail::RelationshipWork>(
          context, options, std::static_pointer_cast<const detail::EdgeState>(std::move(state)))) {}

YapDatabaseRelationshipTransaction::~YapDatabaseRelationshipTransaction() = default;

bool YapDatabaseRelationshipTransaction::enumerateEdges(const Query& query, const EdgeBlock& block,
                                                        Error* error) {
    return work_->enumerate(query, block, error);
}

std::uint64_t YapDatabaseRelationshipTransaction::edgeCount(const Query& query, Error* error) {
    return work_->count(query, error);
}

bool YapDatabaseRelationshipTransaction::addEdge(const Edge& edge,
                                                 const YapDatabaseCollectionKey& source) {
    return work_->addEdge(edge, source);
}

bool YapDatabaseRelationshipTransaction::removeEdge(const Edge& edge,
                                                    const YapDatabaseCollectionKey& source,
                                                    Reason processing) {
    return work_->removeEdge(edge, source, processing);
}

bool YapDatabaseRelationshipTransaction::flush(Error* error) { return work_->flush(error); }

void YapDatabaseRelationshipTransaction::didInsertRow(const YapDatabaseRow& row) {
    work_->didInsert(row);
}

/// A touch writes nothing, and metadata declare nothing.
void YapDatabaseRelationshipTransaction::didUpdateRow(const YapDatabaseRow& row,
                                                      YapDatabaseUpdate update) {
    if (update.object && !update.isTouch) work_->didUpdate(row);
}

void YapDatabaseRelationshipTransaction::didRemoveRow(const YapDatabaseRow& row) {
    work_->didRemove(row);
}

bool YapDatabaseRelationshipTransaction::hasOwnChanges() const { return work_->hasManualChanges(); }

std::shared_ptr<const YapDatabaseExtensionState> YapDatabaseRelationshipTransaction::newState() {
    return work_->state();
}

}  // namespace qsml
