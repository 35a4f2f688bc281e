#include "organisation/PLXMediaItemPlaylist.h"

#include <algorithm>

#include "database/PLXDatabaseManager.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "tracks/detail/backgroundTransactions.h"
#include "tracks/detail/storedRecord.h"

namespace qsml {
namespace {

using UUIDs = std::optional<OrderedSet<String>>;

std::shared_ptr<const PLXMediaItemPlaylist> storedRoot(
    const YapDatabaseReadTransaction& transaction) {
    return transaction.object<PLXMediaItemPlaylist>(PLXRootMediaItemPlaylistUUID,
                                                    PLXDatabaseCollectionMediaItemPlaylists);
}

/// Looks again before it writes: another thread, or another process, may have made the root and
/// filled it meanwhile. A row that is there and cannot be read is left as it is.
std::shared_ptr<const PLXMediaItemPlaylist> storedOrNewRoot(
    YapDatabaseReadWriteTransaction& transaction) {
    auto stored = storedRoot(transaction);
    if (stored || !detail::isVacant(PLXRootMediaItemPlaylistUUID,
                                    PLXDatabaseCollectionMediaItemPlaylists, transaction))
        return stored;
    const auto root = PLXMediaItemPlaylist::initWithUUID(PLXRootMediaItemPlaylistUUID);
    root->setType(PLXMediaItemPlaylist::typeRoot);
    const bool isSet =
        transaction.setObject(root, root->uuid(), PLXDatabaseCollectionMediaItemPlaylists);
    return isSet ? root : nullptr;
}

void addEdges(std::vector<YapDatabaseRelationshipEdge>& edges, std::string_view name,
              const UUIDs& uuids, std::string_view collection) {
    if (!uuids) return;
    for (const String& uuid : *uuids)
        if (uuid) edges.push_back({name, uuid, collection, YDB_NotifyIfDestinationDeleted});
}

UUIDs without(const UUIDs& uuids, const String& gone) {
    if (!uuids) return uuids;
    auto kept = uuids->elements();
    std::erase(kept, gone);
    return OrderedSet<String>(std::move(kept));
}

}  // namespace

QSML_DEFINE_RECORD(PLXMediaItemPlaylist)

std::shared_ptr<const PLXMediaItemPlaylist> PLXMediaItemPlaylist::rootPlaylist(
    PLXDatabaseManager& manager) {
    std::shared_ptr<const PLXMediaItemPlaylist> root;
    const bool isRead = detail::read(
        manager, [&](YapDatabaseReadTransaction& transaction) { root = storedRoot(transaction); });
    if (root || !isRead) return root;
    const bool isStored =
        detail::readWrite(manager, [&](YapDatabaseReadWriteTransaction& transaction) {
            root = storedOrNewRoot(transaction);
            return root != nullptr;
        });
    return isStored ? root : nullptr;
}

std::shared_ptr<const PLXMediaItemPlaylist> PLXMediaItemPlaylist::rootPlaylist() {
    return rootPlaylist(PLXDatabaseManager::sharedManager());
}

std::vector<YapDatabaseRelationshipEdge> PLXMediaItemPlaylist::yapDatabaseRelationshipEdges()
    const {
    std::vector<YapDatabaseRelationshipEdge> edges;
    addEdges(edges, PLXMediaItemPlaylistItemRelationshipEdgeName, itemUUIDs(),
             PLXDatabaseCollectionMediaItemPlaylistItems);
    addEdges(edges, PLXMediaItemPlaylistChildRelationshipEdgeName, childUUIDs(),
             PLXDatabaseCollectionMediaItemPlaylists);
    if (parentUUID())
        edges.push_back({PLXMediaItemPlaylistParentRelationshipEdgeName, parentUUID(),
                         PLXDatabaseCollectionMediaItemPlaylists,
                         YDB_DeleteSourceIfDestinationDeleted});
    return edges;
}

std::shared_ptr<Object> PLXMediaItemPlaylist::yapDatabaseRelationshipEdgeDeleted(
    const YapDatabaseRelationshipEdge& edge, Reason) const {
    if (edge.name == PLXMediaItemPlaylistItemRelationshipEdgeName) {
        auto changed = copy();
        changed->setItemUUIDs(without(itemUUIDs(), edge.destinationKey));
        return changed;
    }
    if (edge.name == PLXMediaItemPlaylistChildRelationshipEdgeName) {
        auto changed = copy();
        changed->setChildUUIDs(childUUIDs_.without(edge.destinationKey));
        return changed;
    }
    return nullptr;
}

}  // namespace qsml
