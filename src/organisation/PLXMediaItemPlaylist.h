#pragma once
#include "core/PLXCloudDatabaseObject.h"
#include "filters/PLXMediaItemFilterSet.h"
#include "organisation/UncheckedUUIDs.h"
#include "store/YapDatabaseRelationshipNode.h"

namespace qsml {

class PLXDatabaseManager;
class YapDatabaseReadTransaction;

/// The key of the root of the tree, which always exists once asked for.
inline constexpr std::string_view PLXRootMediaItemPlaylistUUID = "mediaItemPlaylist-root";

inline constexpr std::string_view PLXMediaItemPlaylistItemRelationshipEdgeName =
    "mediaItemPlaylistItem";
inline constexpr std::string_view PLXMediaItemPlaylistChildRelationshipEdgeName =
    "mediaItemPlaylistChild";
inline constexpr std::string_view PLXMediaItemPlaylistParentRelationshipEdgeName =
    "mediaItemPlaylistParent";

/// One playlist of the user's tree: a list of tracks, a folder of playlists, or tracks chosen by
/// rules. Two devices can make loops of what were trees, and lists can name what is gone: every
/// question about the tree has an answer then too.
///
/// Confined to one thread at a time until written; shared by any once frozen. What reads the
/// library runs synchronous transactions on the background connection unless it is given one: from
/// any thread, but not from inside a transaction.
class QSML_EXPORT PLXMediaItemPlaylist final : public PLXCloudDatabaseObject,
                                               public YapDatabaseRelationshipNode {
    QSML_RECORD(PLXMediaItemPlaylist, PLXCloudDatabaseObject)

    static constexpr std::int64_t typeRoot = 1;  ///< the other types are the application's

    /// The stored root of the tree, made and stored where there is none. Null when it could not be
    /// read or stored: the library is not set up, its file failed, or what stands under the key is
    /// damaged or no playlist (it is not replaced).
    static std::shared_ptr<const PLXMediaItemPlaylist> rootPlaylist(PLXDatabaseManager& manager);
    /// That of the shared manager's library.
    static std::shared_ptr<const PLXMediaItemPlaylist> rootPlaylist();

    /// The first name "PREFIX 1", "PREFIX 2" ... that no stored playlist has; letter case counts.
    /// Nothing is reserved: store the playlist in the same transaction to be sure of the name. All
    /// names are asked of one snapshot, so that one that is freed meanwhile is not passed over.
    /// Asks the index of playlist names; where that is not registered, every playlist. Nil when the
    /// library is not set up or could not be read.
    static String nextAvailablePlaylistNameWithPrefix(std::string_view prefix,
                                                      YapDatabaseReadTransaction& transaction);
    static String nextAvailablePlaylistNameWithPrefix(std::string_view prefix,
                                                      PLXDatabaseManager& manager);
    /// In the shared manager's library.
    static String nextAvailablePlaylistNameWithPrefix(std::string_view prefix);

    QSML_PROPERTY(String, name, setName)
    /// Key into PLXDatabaseCollectionMediaItemPlaylists; nil for the root, and for a playlist that
    /// has no place in the tree.
    QSML_PROPERTY(String, parentUUID, setParentUUID)
    /// typeRoot, or what the application means by it.
    QSML_PROPERTY(std::int64_t, type, setType)
    /// Keys into PLXDatabaseCollectionMediaItemPlaylists, in display order; some may name nothing.
    QSML_PROPERTY(UncheckedUUIDs, childUUIDs, setChildUUIDs)
    /// Keys into PLXDatabaseCollectionMediaItemPlaylistItems, in play order; some may name nothing.
    QSML_PROPERTY(std::optional<OrderedSet<String>>, itemUUIDs, setItemUUIDs,
                  .form = ArchiveForm::orderedSet)
    /// The rules of a playlist that has some: a copy of its own.
    QSML_PROPERTY(Copied<PLXMediaItemFilterSet>, filterSet, setFilterSet)
    QSML_RECORD_END()

    /// Whether this playlist's parent, or one of the stored playlists above that, has the UUID. A
    /// parent that is missing ends the search. In a sound tree no playlist is its own descendant;
    /// in a loop each is.
    bool isDecendantOf(std::string_view playlistUUID,
                       const YapDatabaseReadTransaction& transaction) const;
    bool isDecendantOf(std::string_view playlistUUID, PLXDatabaseManager& manager) const;
    /// In the shared manager's library.
    bool isDecendantOf(std::string_view playlistUUID) const;

    /// Every stored playlist below this one, each once and in no stated order; UUIDs that name
    /// nothing are skipped. In a loop that includes this playlist as it is stored.
    std::vector<std::shared_ptr<const PLXMediaItemPlaylist>> allDecendants(
        const YapDatabaseReadTransaction& transaction) const;
    std::vector<std::shared_ptr<const PLXMediaItemPlaylist>> allDecendants(
        PLXDatabaseManager& manager) const;
    /// In the shared manager's library.
    std::vector<std::shared_ptr<const PLXMediaItemPlaylist>> allDecendants() const;

    /// Its items, then its children, which are struck from the lists when they go; then its parent,
    /// with which it goes.
    std::vector<YapDatabaseRelationshipEdge> yapDatabaseRelationshipEdges() const override;
    /// A copy without the UUID of the item or child that is gone; null for another edge.
    std::shared_ptr<Object> yapDatabaseRelationshipEdgeDeleted(
        const YapDatabaseRelationshipEdge& edge, Reason reason) const override;
};

}  // namespace qsml
