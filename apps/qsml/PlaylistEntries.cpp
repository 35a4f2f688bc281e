#include "PlaylistEntries.h"

#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/database/extensionNames.h>
#include <QSMediaLibraryData/organisation/PLXMediaItemPlaylist.h>
#include <QSMediaLibraryData/organisation/PLXMediaItemPlaylistItem.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/store/views/YapDatabaseViewTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <fmt/format.h>

#include <algorithm>

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
    const auto collect = [&](std::string_view, std::string_view, const Value& object, std::uint64_t,
                             bool&) {
        if (auto item = std::dynamic_pointer_cast<const PLXMediaItemPlaylistItem>(object.object()))
            items_.push_back(std::move(item));
    };
    view->enumerateKeysAndObjectsInGroup(playlist_->uuid(), collect);
    const auto& listed = playlist_->itemUUIDs();
    if (listed) order_ = listed->list();
    for (const Item& item : items_)
        if (!listed || !listed->contains(item->uuid())) order_.push_back(item->uuid());
}

void PlaylistEntries::requirePosition(std::size_t position) const {
    if (position < items_.size()) return;
    throw CommandFailure(
        items_.empty()
            ? std::string("the playlist is empty; \"qsml playlist add\" fills it")
            : fmt::format("the playlist has no entry {}; it has {}", position + 1, items_.size()));
}

void PlaylistEntries::insert(Item item, std::size_t position) {
    const auto place = position < items_.size()
                           ? std::find(order_.begin(), order_.end(), items_[position]->uuid())
                           : order_.end();
    order_.insert(place, item->uuid());
    items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(position), std::move(item));
}

PlaylistEntries::Item PlaylistEntries::add(const PLXMediaItem& track, std::size_t position,
                                           YapDatabaseReadWriteTransaction& transaction) {
    if (position > items_.size())
        throw CommandFailure(
            fmt::format("position {} is beyond the end of the playlist; {} is the last",
                        position + 1, items_.size() + 1));
    const auto item = PLXMediaItemPlaylistItem::init();
    item->setPlaylistUUID(playlist_->uuid());
    item->setMediaItemUUID(track.uuid());
    storeRecord(item, PLXDatabaseCollectionMediaItemPlaylistItems, transaction);
    insert(item, position);
    return item;
}

void PlaylistEntries::move(std::size_t from, std::size_t to) {
    requirePosition(from);
    requirePosition(to);
    Item item = items_[from];
    std::erase(order_, item->uuid());
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(from));
    insert(std::move(item), to);
}

std::vector<PlaylistEntries::Item> PlaylistEntries::remove(
    const std::set<std::size_t>& positions, YapDatabaseReadWriteTransaction& transaction) {
    std::vector<Item> removed;
    std::set<String> uuids;
    for (const std::size_t position : positions) {
        requirePosition(position);
        removed.push_back(items_[position]);
        uuids.insert(items_[position]->uuid());
    }
    for (const Item& item : removed)
        transaction.removeObjectForKey(item->uuid(), PLXDatabaseCollectionMediaItemPlaylistItems);
    std::erase_if(order_, [&](const String& uuid) { return uuids.contains(uuid); });
    std::erase_if(items_, [&](const Item& item) { return uuids.contains(item->uuid()); });
    return removed;
}

void PlaylistEntries::store(YapDatabaseReadWriteTransaction& transaction) const {
    const auto changed = playlist_->copy();
    changed->setItemUUIDs(OrderedSet<String>(order_));
    storeRecord(changed, PLXDatabaseCollectionMediaItemPlaylists, transaction);
}

}  // namespace qsml::app
