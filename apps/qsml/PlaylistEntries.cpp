#include "PlaylistEntries.h"

#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/database/extensionNames.h>
#include <QSMediaLibraryData/organisation/PLXMediaItemPlaylist.h>
#include <QSMediaLibraryData/organisation/PLXMediaItemPlaylistItem.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/store/views/YapDatabaseViewTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>

#include "CommandFailure.h"
#include "playlistRecords.h"

namespace qsml::app {

PlaylistEntries::PlaylistEntries(std::shared_ptr<const PLXMediaItemPlaylist> playlist,
                                 YapDatabaseReadTransaction& transaction)
    : playlist_(std::move(playlist)) {
    auto* view =
        transaction.ext<YapDatabaseViewTransaction>(PLXDatabaseExtensionMediaItemPlaylistView);
    if (!view)
        throw CommandFailure(
            "the library has no list of what is in its playlists; \"qsml repair\" "
            "makes it anew");
    std::vector<Item> items;
    const auto collect = [&](std::string_view, std::string_view, const Value& object, std::uint64_t,
                             bool&) {
        if (auto item = std::dynamic_pointer_cast<const PLXMediaItemPlaylistItem>(object.object()))
            items.push_back(std::move(item));
    };
    view->enumerateKeysAndObjectsInGroup(playlist_->uuid(), collect);
    const auto& listed = playlist_->itemUUIDs();
    entries_.take(std::move(items), listed ? listed->list() : std::vector<String>());
}

PlaylistEntries::Item PlaylistEntries::add(const PLXMediaItem& track, std::size_t position,
                                           YapDatabaseReadWriteTransaction& transaction) {
    entries_.requirePlace(position);
    const auto item = PLXMediaItemPlaylistItem::init();
    item->setPlaylistUUID(playlist_->uuid());
    item->setMediaItemUUID(track.uuid());
    storeRecord(item, PLXDatabaseCollectionMediaItemPlaylistItems, transaction);
    entries_.insert(item, position);
    return item;
}

void PlaylistEntries::move(std::size_t from, std::size_t to) { entries_.move(from, to); }

std::vector<PlaylistEntries::Item> PlaylistEntries::remove(
    const std::set<std::size_t>& positions, YapDatabaseReadWriteTransaction& transaction) {
    auto removed = entries_.remove(positions);
    for (const Item& item : removed)
        transaction.removeObjectForKey(item->uuid(), PLXDatabaseCollectionMediaItemPlaylistItems);
    return removed;
}

void PlaylistEntries::store(YapDatabaseReadWriteTransaction& transaction) const {
    const auto changed = playlist_->copy();
    changed->setItemUUIDs(entries_.list());
    storeRecord(changed, PLXDatabaseCollectionMediaItemPlaylists, transaction);
}

}  // namespace qsml::app
