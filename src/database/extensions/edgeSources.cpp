#include "database/extensions/edgeSources.h"

#include "database/extensionNames.h"
#include "store/relationships/YapDatabaseRelationshipTransaction.h"

namespace qsml::detail {

std::vector<YapDatabaseCollectionKey> edgeSources(YapDatabaseReadTransaction& transaction,
                                                  const YapDatabaseRow& destination,
                                                  std::string_view edgeName) {
    std::vector<YapDatabaseCollectionKey> sources;
    auto* const graph =
        transaction.ext<YapDatabaseRelationshipTransaction>(PLXDatabaseExtensionRelationship);
    if (!graph) return sources;
    const YapDatabaseRelationshipQuery query{
        .name = edgeName,
        .destination = YapDatabaseCollectionKey{destination.collection, destination.key}};
    // A failure of the file fails the commit by itself.
    graph->enumerateEdges(query, [&](const YapDatabaseRelationshipFoundEdge& found, bool&) {
        sources.push_back(found.source);
    });
    return sources;
}

}  // namespace qsml::detail
