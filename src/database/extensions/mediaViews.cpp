// Views of tracks and of what they refer to.
#include "core/PLXMediaAlbum.h"
#include "core/PLXMediaArtist.h"
#include "core/PLXMediaGenre.h"
#include "core/PLXMediaLabel.h"
#include "database/PLXDatabaseManager.h"
#include "database/extensions/registerAutoView.h"
#include "database/extensions/sortKeys.h"
#include "organisation/PLXMediaItemPlaylist.h"
#include "tracks/PLXMediaItem.h"
#include "tracks/PLXMediaItemAnalyzedData.h"

namespace qsml {
namespace {

constexpr std::string_view trackGroup = "mediaItem";
constexpr std::int64_t rootPlaylistType = 1;

String mediaGroup(YapDatabaseReadTransaction&, const YapDatabaseRow& row) {
    if (objectOfClass<PLXMediaItem>(row.object)) return trackGroup;
    if (objectOfClass<PLXMediaArtist>(row.object)) return "artist";
    if (objectOfClass<PLXMediaAlbum>(row.object)) return "album";
    if (objectOfClass<PLXMediaGenre>(row.object)) return "genre";
    if (objectOfClass<PLXMediaLabel>(row.object)) return "label";
    const auto playlist = objectOfClass<PLXMediaItemPlaylist>(row.object);
    if (playlist && playlist->type() != rootPlaylistType) return "playlist";
    return {};
}

String nameOf(const Value& object) {
    if (const auto item = objectOfClass<PLXMediaItem>(object)) return item->title();
    if (const auto entity = objectOfClass<PLXMediaEntity>(object)) return entity->name();
    const auto playlist = objectOfClass<PLXMediaItemPlaylist>(object);
    return playlist ? playlist->name() : String();
}

String titleOf(const Value& object) {
    const auto item = objectOfClass<PLXMediaItem>(object);
    return item ? item->title() : String();
}

}  // namespace

void PLXDatabaseManager::setupMediaViewExtension() {
    detail::registerAutoView(
        *this,
        {PLXDatabaseExtensionMediaView,
         "2",
         {PLXDatabaseCollectionMediaItems, PLXDatabaseCollectionMediaArtists,
          PLXDatabaseCollectionMediaAlbums, PLXDatabaseCollectionMediaGenres,
          PLXDatabaseCollectionMediaLabels, PLXDatabaseCollectionMediaItemPlaylists}},
        mediaGroup, detail::sortedByLocalized([](const Value& object, const Collation& collation) {
            return detail::localizedSortKeyOf(nameOf(object), collation);
        }));
}

void PLXDatabaseManager::setupMediaItemsViewExtension() {
    detail::registerAutoView(
        *this, {PLXDatabaseExtensionMediaItemsView, "1", {PLXDatabaseCollectionMediaItems}},
        [](YapDatabaseReadTransaction&, const YapDatabaseRow& row) {
            return objectOfClass<PLXMediaItem>(row.object) ? String(trackGroup) : String();
        },
        detail::sortedBy([](const Value& object) { return detail::sortKeyOf(titleOf(object)); }));
}

void PLXDatabaseManager::setupMediaItemOriginalSourceViewExtension() {
    detail::registerAutoView(
        *this,
        {PLXDatabaseExtensionMediaItemOriginalSourceView, "1", {PLXDatabaseCollectionMediaItems}},
        [](YapDatabaseReadTransaction&, const YapDatabaseRow& row) {
            const auto item = objectOfClass<PLXMediaItem>(row.object);
            if (!item) return String();
            return item->originSourceID() ? String(item->originSourceID()) : String("none");
        },
        detail::sortedBy([](const Value& object) { return detail::sortKeyOf(titleOf(object)); }));
}

/// The order within a key is that of the rows' age.
void PLXDatabaseManager::setupMediaItemKeySignatureIndexViewExtension() {
    detail::registerAutoView(
        *this,
        {PLXDatabaseExtensionMediaItemKeySignatureIndexView,
         "1",
         {PLXDatabaseCollectionMediaItemAnalyzedData}},
        [](YapDatabaseReadTransaction&, const YapDatabaseRow& row) {
            const auto data = objectOfClass<PLXMediaItemAnalyzedData>(row.object);
            if (!data || data->keySignatureIndex() < 0) return String();
            return String(std::to_string(data->keySignatureIndex()));
        },
        detail::sortedBy([](const Value&) { return std::string(); }));
}

}  // namespace qsml
