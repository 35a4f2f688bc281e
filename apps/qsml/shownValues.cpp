#include "shownValues.h"

#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/organisation/PLXMediaItemPlaylist.h>
#include <QSMediaLibraryData/organisation/PLXMediaItemPlaylistItem.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>

#include "recordValues.h"

namespace qsml::app {

namespace {

void add(Dictionary& values, const PLXMediaItem& track,
         const YapDatabaseReadTransaction& transaction) {
    const TrackNames names = namesOf(track, transaction);
    values.set("title", track.title());
    values.set("artists", names.artists);
    values.set("album", names.album);
    values.set("duration", track.duration());
    values.set("bpm", track.bpm());
}

void add(Dictionary& values, const PLXMediaItemPlaylist& playlist) {
    const auto& items = playlist.itemUUIDs();
    const auto& children = playlist.childUUIDs();
    values.set("name", playlist.name());
    values.set("tracks", static_cast<std::uint64_t>(items ? items->size() : 0));
    values.set("playlists", static_cast<std::uint64_t>(children ? children->size() : 0));
}

/// Of the names that records of other classes have.
void addNamed(Dictionary& values, const PLXDatabaseObject& record) {
    constexpr std::string_view names[] = {"name",      "keySignatureIndex", "bpm",
                                          "startDate", "endDate",           "state"};
    for (const std::string_view name : names) values.set(name, record.valueForKey(name));
    const Value titleID = record.valueForKey("titleID");
    if (const auto* title = dynamic_cast<const PLXDatabaseObject*>(titleID.object().get())) {
        values.set("title", title->valueForKey("title"));
        values.set("artists", title->valueForKey("artist"));
    }
}

}  // namespace

Dictionary shownValues(const Value& object, const YapDatabaseReadTransaction& transaction) {
    Dictionary values;
    const Object* const held = object.object().get();
    if (const auto* track = dynamic_cast<const PLXMediaItem*>(held)) {
        add(values, *track, transaction);
    } else if (const auto* item = dynamic_cast<const PLXMediaItemPlaylistItem*>(held)) {
        const auto of = transaction.object<PLXMediaItem>(item->mediaItemUUID(),
                                                         PLXDatabaseCollectionMediaItems);
        if (of) add(values, *of, transaction);
    } else if (const auto* playlist = dynamic_cast<const PLXMediaItemPlaylist*>(held)) {
        add(values, *playlist);
    } else if (const auto* record = dynamic_cast<const PLXDatabaseObject*>(held)) {
        addNamed(values, *record);
    }
    return values;
}

}  // namespace qsml::app
