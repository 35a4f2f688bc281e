#include "database/libraryfaults/sampleContent.h"

#include <algorithm>

#include "contentpacks/PLXContentPackMediaItem.h"
#include "contentpacks/PLXTrackPack.h"
#include "core/PLXMediaAlbum.h"
#include "core/PLXMediaArtist.h"
#include "core/PLXMediaGenre.h"
#include "core/PLXMediaLabel.h"
#include "database/collectionNames.h"
#include "organisation/PLXHistorySession.h"
#include "organisation/PLXMediaItemPlaylist.h"
#include "organisation/PLXMediaItemPlaylistItem.h"
#include "organisation/PLXMediaItemTag.h"
#include "organisation/PLXMediaItemTagGroup.h"
#include "organisation/PLXQueue.h"
#include "organisation/PLXQueueItem.h"
#include "tracks/PLXMediaItem.h"
#include "tracks/PLXMediaItemAnalyzedData.h"
#include "tracks/PLXMediaItemLocation.h"
#include "tracks/PLXMediaItemUserData.h"

namespace qsml::sampleContent {
namespace {

using Keys = OrderedSet<String>;

template <class Record>
bool put(Writer& transaction, const std::shared_ptr<Record>& record, std::string_view collection) {
    return transaction.setObject(record, record->uuid(), collection);
}

/// Changes a stored record. True also where there is none: an earlier edit took it away.
template <class Record, class Edit>
bool change(Writer& transaction, std::string_view key, std::string_view collection,
            const Edit& edit) {
    const auto stored = transaction.object<Record>(key, collection);
    if (!stored) return !transaction.error();
    const auto copy = stored->copy();
    edit(*copy);
    return transaction.setObject(copy, key, collection);
}

template <class Edit>
bool changeUserData(Writer& transaction, int track, const Edit& edit) {
    return change<PLXMediaItemUserData>(transaction, keyOf(track),
                                        PLXDatabaseCollectionMediaItemUserData, edit);
}

template <class Entity>
String putEntity(Writer& transaction, const std::string& name, std::string_view collection) {
    const auto entity = Entity::initWithName(name);
    // Not again: an artist that was renamed keeps the name.
    if (!transaction.hasObjectForKey(entity->uuid(), collection))
        put(transaction, entity, collection);
    return entity->uuid();
}

std::shared_ptr<PLXMediaItem> mediaItem(Writer& transaction, int number) {
    const auto item = PLXMediaItem::initWithTitleID(titleIDOf(number));
    item->setTitle("title " + std::to_string(number));
    item->setBpm(static_cast<float>(90 + number % 60));
    if (number % 3 != 0) item->setOriginSourceID("files");
    item->setArtistUUIDs(Keys{putEntity<PLXMediaArtist>(
        transaction, "artist " + std::to_string(number % 7), PLXDatabaseCollectionMediaArtists)});
    item->setAlbumUUID(putEntity<PLXMediaAlbum>(transaction, "album " + std::to_string(number % 11),
                                                PLXDatabaseCollectionMediaAlbums));
    item->setGenreUUIDs(Keys{putEntity<PLXMediaGenre>(
        transaction, "genre " + std::to_string(number % 3), PLXDatabaseCollectionMediaGenres)});
    item->setLabelUUID(putEntity<PLXMediaLabel>(transaction, "label " + std::to_string(number % 5),
                                                PLXDatabaseCollectionMediaLabels));
    return item;
}

std::shared_ptr<PLXMediaItemUserData> userData(Writer& transaction, int number) {
    const auto data = PLXMediaItemUserData::initWithTitleID(titleIDOf(number));
    data->setCuePoints(std::vector{PLXCuePoint::initWithNumber(0, 1.5F, "in"),
                                   PLXCuePoint::initWithNumber(1, 60, "drop")});
    data->setRating(number % 6);
    const auto tag = PLXMediaItemTag::initWithValue("tag " + std::to_string(number % 4));
    put(transaction, tag, PLXDatabaseCollectionMediaItemTags);
    data->setTagUUIDs(Keys{tag->uuid()});
    return data;
}

bool addItem(Writer& transaction, PLXMediaItemPlaylist& playlist, int track,
             const std::string& itemKey) {
    const auto item = PLXMediaItemPlaylistItem::initWithUUID(itemKey);
    item->setPlaylistUUID(playlist.uuid());
    item->setMediaItemUUID(keyOf(track));
    std::vector<String> items = playlist.itemUUIDs().value_or(Keys()).elements();
    items.emplace_back(itemKey);
    playlist.setItemUUIDs(Keys(std::move(items)));
    return put(transaction, item, PLXDatabaseCollectionMediaItemPlaylistItems);
}

bool addPlaylists(Writer& transaction, int tracks) {
    const auto root = PLXMediaItemPlaylist::initWithUUID(PLXRootMediaItemPlaylistUUID);
    root->setType(PLXMediaItemPlaylist::typeRoot);
    root->setChildUUIDs(Keys{"folder"});
    const auto folder = PLXMediaItemPlaylist::initWithUUID("folder");
    folder->setName("folder");
    folder->setParentUUID(PLXRootMediaItemPlaylistUUID);
    folder->setChildUUIDs(Keys{playlistKey(0), playlistKey(1), playlistKey(2)});
    bool isDone = put(transaction, root, PLXDatabaseCollectionMediaItemPlaylists) &&
                  put(transaction, folder, PLXDatabaseCollectionMediaItemPlaylists);
    for (int number = 0; number < 3; ++number) {
        const auto playlist = PLXMediaItemPlaylist::initWithUUID(playlistKey(number));
        playlist->setName("playlist " + std::to_string(number));
        playlist->setParentUUID("folder");
        for (int track = number; track < tracks; track += 3)
            isDone &= addItem(transaction, *playlist, track,
                              "item-" + std::to_string(number) + "-" + std::to_string(track));
        isDone &= put(transaction, playlist, PLXDatabaseCollectionMediaItemPlaylists);
    }
    return isDone;
}

bool addPack(Writer& transaction) {
    const auto pack = PLXTrackPack::initWithUUID("pack");
    pack->setName("pack");
    pack->setMediaItemUUIDs(Keys{"pack-item"});
    const auto item = PLXContentPackMediaItem::initWithUUID("pack-item");
    item->setName("pack item");
    item->setContentPackUUID("pack");
    return put(transaction, pack, PLXDatabaseCollectionContentPacks) &&
           put(transaction, item, PLXDatabaseCollectionContentPackMediaItems);
}

}  // namespace

std::shared_ptr<const PLXMediaItemTitleID> titleIDOf(int number) {
    return PLXMediaItemTitleID::initWithTitle("title " + std::to_string(number), "Band", 200,
                                              "ISRC" + std::to_string(number));
}

std::string keyOf(int number) { return titleIDOf(number)->internalID().str(); }

bool importTrack(Writer& transaction, int number) {
    const auto titleID = titleIDOf(number);
    const auto location = PLXMediaItemLocation::initWithTitleID(
        titleID, URL::withString("file:///music/" + std::to_string(number) + ".mp3"),
        PLXMediaItemLocationTypeLocal);
    location->setUrlBookmarkData(Data(std::vector<std::uint8_t>(400, 'b')));
    const auto analyzed = PLXMediaItemAnalyzedData::initWithTitleID(titleID);
    analyzed->setBpm(static_cast<float>(100 + number % 40));
    analyzed->setKeySignatureIndex(number % 24);
    return transaction.setObject(titleID, titleID->uuid(),
                                 PLXDatabaseCollectionMediaItemTitleIDs) &&
           put(transaction, mediaItem(transaction, number), PLXDatabaseCollectionMediaItems) &&
           put(transaction, location, PLXDatabaseCollectionLocalMediaItemLocations) &&
           put(transaction, userData(transaction, number),
               PLXDatabaseCollectionMediaItemUserData) &&
           put(transaction, analyzed, PLXDatabaseCollectionMediaItemAnalyzedData);
}

bool addLists(Writer& transaction, int tracks) {
    const auto queue = PLXQueue::initWithUUID(PLXDefaultQueueUUID);
    queue->setItemUUIDs(Keys{"queued"});
    const auto queued = PLXQueueItem::initWithUUID("queued");
    queued->setQueueUUID(PLXDefaultQueueUUID);
    queued->setTitleID(titleIDOf(0)->copy());
    const auto session = PLXHistorySession::initWithUUID("session");
    session->setStartDate(Date{700'000'000});
    const auto group = PLXMediaItemTagGroup::initWithUUID("group");
    group->setName("mood");
    group->setTags(Keys{"tag 0", "tag 1"});
    return addPlaylists(transaction, tracks) && addPack(transaction) &&
           put(transaction, queue, PLXDatabaseCollectionQueues) &&
           put(transaction, queued, PLXDatabaseCollectionQueueItems) &&
           put(transaction, session, PLXDatabaseCollectionHistorySessions) &&
           put(transaction, group, PLXDatabaseCollectionMediaItemTagGroups);
}

bool setCue(Writer& transaction, int track, int slot) {
    return changeUserData(transaction, track, [&](PLXMediaItemUserData& data) {
        auto cues = data.cuePoints().value_or(std::vector<std::shared_ptr<const PLXCuePoint>>());
        cues.push_back(PLXCuePoint::initWithNumber(slot, static_cast<float>(slot) * 8, "cue"));
        data.setCuePoints(cues);
    });
}

bool rate(Writer& transaction, int track, int rating) {
    return changeUserData(transaction, track,
                          [&](PLXMediaItemUserData& data) { data.setRating(rating); });
}

bool countPlay(Writer& transaction, int track) {
    std::uint64_t plays = 0;
    return changeUserData(transaction, track,
                          [&](PLXMediaItemUserData& data) {
                              plays = data.playCount() + 1;
                              data.setPlayCount(plays);
                          }) &&
           change<PLXMediaItem>(
               transaction, keyOf(track), PLXDatabaseCollectionMediaItems,
               [&](PLXMediaItem& item) { item.setYear(static_cast<std::int64_t>(plays)); });
}

bool retitle(Writer& transaction, int track, const std::string& title) {
    return change<PLXMediaItem>(transaction, keyOf(track), PLXDatabaseCollectionMediaItems,
                                [&](PLXMediaItem& item) { item.setTitle(title); });
}

bool renameArtist(Writer& transaction, int track, const std::string& name) {
    const auto artist = PLXMediaArtist::initWithName("artist " + std::to_string(track % 7));
    return change<PLXMediaArtist>(transaction, artist->uuid(), PLXDatabaseCollectionMediaArtists,
                                  [&](PLXMediaArtist& stored) { stored.setName(name); });
}

bool addToPlaylist(Writer& transaction, int playlist, int track, const std::string& itemKey) {
    bool isAdded = true;
    return change<PLXMediaItemPlaylist>(transaction, playlistKey(playlist),
                                        PLXDatabaseCollectionMediaItemPlaylists,
                                        [&](PLXMediaItemPlaylist& list) {
                                            isAdded = addItem(transaction, list, track, itemKey);
                                        }) &&
           isAdded;
}

bool moveToFront(Writer& transaction, int playlist) {
    return change<PLXMediaItemPlaylist>(
        transaction, playlistKey(playlist), PLXDatabaseCollectionMediaItemPlaylists,
        [&](PLXMediaItemPlaylist& list) {
            std::vector<String> order = list.itemUUIDs().value_or(Keys()).elements();
            if (!order.empty()) std::rotate(order.begin(), order.end() - 1, order.end());
            list.setItemUUIDs(Keys(std::move(order)));
        });
}

bool removeTrack(Writer& transaction, int number) {
    return transaction.removeObjectForKey(keyOf(number), PLXDatabaseCollectionMediaItems) &&
           transaction.removeObjectForKey(keyOf(number), PLXDatabaseCollectionMediaItemUserData);
}

bool removePlaylist(Writer& transaction, int number) {
    return transaction.removeObjectForKey(playlistKey(number),
                                          PLXDatabaseCollectionMediaItemPlaylists);
}

bool edit(Writer& transaction, int step, int tracks) {
    const int track = step * 7 % tracks, playlist = step % 3;
    const std::string number = std::to_string(step);
    switch (step % 10) {
        case 0:
            return setCue(transaction, track, step % 8);
        case 1:
            return rate(transaction, track, step % 6);
        case 2:
            return addToPlaylist(transaction, playlist, track, "added-" + number);
        case 3:
            return countPlay(transaction, track);
        case 4:
            return retitle(transaction, track, "renamed " + number);
        case 5:
            return moveToFront(transaction, playlist);
        case 6:
            return renameArtist(transaction, track, "renamed artist " + number);
        case 7:
            return importTrack(transaction, tracks + step);
        case 8:
            return removeTrack(transaction, track);
        default:
            return importTrack(transaction, track);
    }
}

}  // namespace qsml::sampleContent
