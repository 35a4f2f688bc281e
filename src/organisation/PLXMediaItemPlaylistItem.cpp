#include "organisation/PLXMediaItemPlaylistItem.h"

#include "database/collectionNames.h"

namespace qsml {

QSML_DEFINE_RECORD(PLXMediaItemPlaylistItem)

std::vector<YapDatabaseRelationshipEdge> PLXMediaItemPlaylistItem::yapDatabaseRelationshipEdges()
    const {
    std::vector<YapDatabaseRelationshipEdge> edges;
    if (mediaItemUUID())
        edges.push_back({PLXMediaItemPlaylistItemMediaItemRelationshipEdgeName, mediaItemUUID(),
                         PLXDatabaseCollectionMediaItems, YDB_DeleteSourceIfDestinationDeleted});
    if (playlistUUID())
        edges.push_back({PLXMediaItemPlaylistItemPlaylistRelationshipEdgeName, playlistUUID(),
                         PLXDatabaseCollectionMediaItemPlaylists,
                         YDB_DeleteSourceIfDestinationDeleted});
    return edges;
}

}  // namespace qsml
