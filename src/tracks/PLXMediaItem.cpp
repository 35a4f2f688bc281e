#include "tracks/PLXMediaItem.h"

#include "database/collectionNames.h"
#include "foundation/text.h"

namespace qsml {
namespace {

class EdgeList {
public:
    void add(std::string_view name, const String& key, std::string_view collection) {
        if (key)
            edges_.push_back({name, key, collection, YDB_DeleteDestinationIfAllSourcesDeleted});
    }
    void add(std::string_view name, const std::optional<OrderedSet<String>>& keys,
             std::string_view collection) {
        if (!keys) return;
        for (const String& key : *keys) add(name, key, collection);
    }
    std::vector<YapDatabaseRelationshipEdge> take() { return std::move(edges_); }

private:
    std::vector<YapDatabaseRelationshipEdge> edges_;
};

}  // namespace

QSML_DEFINE_RECORD(PLXMediaItem)

std::shared_ptr<PLXMediaItem> PLXMediaItem::initWithTitleID(
    const std::shared_ptr<const PLXMediaItemTitleID>& titleID) {
    auto made = initWithUUID(titleID ? titleID->internalID() : String());
    made->setTitleID(titleID);
    return made;
}

std::shared_ptr<PLXMediaItem> PLXMediaItem::initWithTitleID(
    const std::shared_ptr<PLXMediaItemTitleID>& titleID) {
    if (titleID) (void)titleID->internalID();
    return initWithTitleID(std::shared_ptr<const PLXMediaItemTitleID>(titleID));
}

std::int64_t PLXMediaItem::roundedBPM() const { return roundedHalfAwayFromZero(bpm()); }

std::vector<YapDatabaseRelationshipEdge> PLXMediaItem::yapDatabaseRelationshipEdges() const {
    EdgeList edges;
    edges.add(PLXMediaItemArtistRelationshipEdgeName, artistUUIDs(),
              PLXDatabaseCollectionMediaArtists);
    edges.add(PLXMediaItemAlbumArtistRelationshipEdgeName, albumArtistUUIDs(),
              PLXDatabaseCollectionMediaArtists);
    edges.add(PLXMediaItemGenreRelationshipEdgeName, genreUUIDs(),
              PLXDatabaseCollectionMediaGenres);
    edges.add(PLXMediaItemAlbumRelationshipEdgeName, albumUUID(), PLXDatabaseCollectionMediaAlbums);
    edges.add(PLXMediaItemLabelRelationshipEdgeName, labelUUID(), PLXDatabaseCollectionMediaLabels);
    return edges.take();
}

}  // namespace qsml
