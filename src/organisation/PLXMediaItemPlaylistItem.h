#pragma once
#include "core/PLXCloudDatabaseObject.h"
#include "store/YapDatabaseRelationshipNode.h"

namespace qsml {

inline constexpr std::string_view PLXMediaItemPlaylistItemMediaItemRelationshipEdgeName =
    "mediaItemPlaylistItemMediaItem";
inline constexpr std::string_view PLXMediaItemPlaylistItemPlaylistRelationshipEdgeName =
    "mediaItemPlaylistItemPlaylist";

/// One place of a track in a playlist; a track may have several in the same playlist.
/// Confined to one thread at a time until written; shared by any once frozen.
class QSML_EXPORT PLXMediaItemPlaylistItem final : public PLXCloudDatabaseObject,
                                                   public YapDatabaseRelationshipNode {
    QSML_RECORD(PLXMediaItemPlaylistItem, PLXCloudDatabaseObject)

    /// Key into PLXDatabaseCollectionMediaItemPlaylists.
    QSML_PROPERTY(String, playlistUUID, setPlaylistUUID)
    /// Key into PLXDatabaseCollectionMediaItems.
    QSML_PROPERTY(String, mediaItemUUID, setMediaItemUUID)
    QSML_RECORD_END()

    /// Its track, then its playlist: it goes with either.
    std::vector<YapDatabaseRelationshipEdge> yapDatabaseRelationshipEdges() const override;
};

}  // namespace qsml
