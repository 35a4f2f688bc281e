#include "core/PLXMediaAlbum.h"
#include "core/PLXMediaArtist.h"
#include "core/PLXMediaGenre.h"
#include "database/PLXDatabaseManager.h"
#include "database/extensions/edgeSources.h"
#include "database/extensions/joinedTexts.h"
#include "database/extensions/registerExtension.h"
#include "organisation/PLXMediaItemPlaylist.h"
#include "store/search/YapDatabaseFullTextSearch.h"
#include "tracks/PLXMediaItem.h"

namespace qsml {
namespace {

/// The names of the entities that are there, in order.
template <class Entity>
Value joinedNames(const std::optional<OrderedSet<String>>& uuids, std::string_view collection,
                  const YapDatabaseReadTransaction& transaction) {
    detail::JoinedTexts joined;
    if (uuids)
        for (const String& uuid : *uuids) {
            const auto entity = transaction.object<Entity>(uuid, collection);
            if (entity && entity->name()) joined.add(entity->name());
        }
    return joined.value();
}

void fillColumnsOfTrack(const PLXMediaItem& item, const YapDatabaseReadTransaction& transaction,
                        YapDatabaseColumnValues& columns) {
    columns.set("title", item.title());
    columns.set("grouping", item.grouping());
    // On purpose the title, not the comments. Pinned by
    // GivenASearchedLibrary.WhenATrackHasCommentsThenTheirColumnHoldsItsTitle.
    if (item.comments()) columns.set("comments", item.title());
    columns.set("artist", joinedNames<PLXMediaArtist>(
                              item.artistUUIDs(), PLXDatabaseCollectionMediaArtists, transaction));
    columns.set("genre", joinedNames<PLXMediaGenre>(item.genreUUIDs(),
                                                    PLXDatabaseCollectionMediaGenres, transaction));
    const auto album =
        transaction.object<PLXMediaAlbum>(item.albumUUID(), PLXDatabaseCollectionMediaAlbums);
    if (album) columns.set("album", album->name());
}

/// A record that is found by its name alone.
template <class Record>
bool fillColumnWithName(std::string_view column, const Value& object,
                        YapDatabaseColumnValues& columns) {
    const auto record = objectOfClass<Record>(object);
    if (record) columns.set(column, record->name());
    return record != nullptr;
}

void fillColumns(YapDatabaseReadTransaction& transaction, const YapDatabaseRow& row,
                 YapDatabaseColumnValues& columns) {
    if (const auto item = objectOfClass<PLXMediaItem>(row.object)) {
        fillColumnsOfTrack(*item, transaction, columns);
        return;
    }
    // Labels are not searched.
    (void)(fillColumnWithName<PLXMediaArtist>("artist", row.object, columns) ||
           fillColumnWithName<PLXMediaAlbum>("album", row.object, columns) ||
           fillColumnWithName<PLXMediaGenre>("genre", row.object, columns) ||
           fillColumnWithName<PLXMediaItemPlaylist>("playlist", row.object, columns));
}

/// The collections whose names are in the columns of tracks, and the edges that tell which tracks.
constexpr std::pair<std::string_view, std::string_view> namedInTracks[] = {
    {PLXDatabaseCollectionMediaArtists, PLXMediaItemArtistRelationshipEdgeName},
    {PLXDatabaseCollectionMediaAlbums, PLXMediaItemAlbumRelationshipEdgeName},
    {PLXDatabaseCollectionMediaGenres, PLXMediaItemGenreRelationshipEdgeName}};

std::vector<YapDatabaseCollectionKey> tracksOfEntity(YapDatabaseReadTransaction& transaction,
                                                     const YapDatabaseRow& entity) {
    for (const auto& [collection, edgeName] : namedInTracks)
        if (entity.collection == collection)
            return detail::edgeSources(transaction, entity, edgeName);
    return {};
}

}  // namespace

void PLXDatabaseManager::setupSearchIndexExtension() {
    using Search = YapDatabaseFullTextSearch;
    Search::Options options;
    for (const auto& [collection, edgeName] : namedInTracks)
        options.dependents.collections.emplace(collection);
    options.dependents.rows = tracksOfEntity;
    detail::registerExtension(
        *this,
        std::make_shared<Search>(std::vector<std::string>{"title", "artist", "genre", "album",
                                                          "grouping", "comments", "playlist"},
                                 fillColumns, "3", std::move(options)),
        PLXDatabaseExtensionSearchIndex);
}

}  // namespace qsml
