#include "SessionEdits.h"

#include "Bench.h"
#include "FollowedLibrary.h"
#include "foundation/KeyedArchiver.h"
#include "lines.h"
#include "store/YapDatabaseTransaction.h"
#include "tracks/PLXMediaItemUserDataSource.h"

namespace qsml::bench {
namespace {

void addCue(PLXMediaItemUserData& data, const Edit& edit) {
    auto cues = data.cuePoints().value_or(CopiedArray<PLXCuePoint>::Elements());
    cues.push_back(PLXCuePoint::initWithNumber(integer(edit[2]), single(edit[3]), {}));
    data.setCuePoints(cues);
}

void addLoop(PLXMediaItemUserData& data, const Edit& edit) {
    auto loops = data.loopRegions().value_or(CopiedArray<PLXLoopRegion>::Elements());
    const float start = single(edit[3]);
    loops.push_back(PLXLoopRegion::initWithNumber(integer(edit[2]), start, start + 2, {}));
    data.setLoopRegions(loops);
}

std::vector<String> itemsOf(const PLXMediaItemPlaylist& playlist) {
    return playlist.itemUUIDs() ? playlist.itemUUIDs()->elements() : std::vector<String>();
}

/// Two records that archive to the same bytes are the same to everybody who reads the library.
bool isStored(const PLXDatabaseObject& expected, const Value& stored) {
    if (!stored.object()) return false;
    KeyedArchiver archiver;
    const auto bytes = archiver.archive(expected);
    const std::vector<std::uint8_t> wanted(bytes.begin(), bytes.end());
    return std::ranges::equal(wanted, archiver.archive(stored));
}

}  // namespace

void SessionEdits::make(const Edit& edit, YapDatabaseReadWriteTransaction& transaction) {
    const std::string& what = edit[0];
    if (what == "title" || what == "bpm")
        editTrack(edit, transaction);
    else if (what == "pladd")
        addToPlaylist(edit, transaction);
    else if (what == "plmove")
        moveInPlaylist(edit, transaction);
    else
        editUserData(edit, transaction);
}

void SessionEdits::editUserData(const Edit& edit, YapDatabaseReadWriteTransaction& transaction) {
    const auto data = userDataToEdit(String(edit[1]));
    if (edit[0] == "played")
        data->setPlayCount(data->playCount() + 1);
    else if (edit[0] == "rate")
        data->setRating(integer(edit[2]));
    else if (edit[0] == "cue")
        addCue(*data, edit);
    else if (edit[0] == "loop")
        addLoop(*data, edit);
    else
        require(false, "an edit of an unknown kind: " + edit[0]);
    PLXMediaItemUserDataSource source(manager_);
    require(source.setMediaItemUserData(data, transaction), "user data was refused");
    userData_[data->uuid()] = data;
}

void SessionEdits::editTrack(const Edit& edit, YapDatabaseReadWriteTransaction& transaction) {
    const String uuid(edit[1]);
    const auto found = tracks_.find(uuid);
    const auto track = found == tracks_.end() ? data_.track(uuid)->copy() : found->second->copy();
    if (edit[0] == "title")
        track->setTitle(edit[2] + " 2");
    else
        track->setBpm(single(edit[2]));
    require(transaction.setObject(track, uuid, PLXDatabaseCollectionMediaItems),
            "a track was refused");
    tracks_[uuid] = track;
}

void SessionEdits::addToPlaylist(const Edit& edit, YapDatabaseReadWriteTransaction& transaction) {
    const auto playlist = playlistToEdit(String(edit[1]));
    const auto item = PLXMediaItemPlaylistItem::initWithUUID(String(edit[2]));
    item->setPlaylistUUID(playlist->uuid());
    item->setMediaItemUUID(String(edit[3]));
    auto items = itemsOf(*playlist);
    items.push_back(item->uuid());
    playlist->setItemUUIDs(OrderedSet<String>(std::move(items)));
    const bool isSet =
        transaction.setObject(item, item->uuid(), PLXDatabaseCollectionMediaItemPlaylistItems) &&
        transaction.setObject(playlist, playlist->uuid(), PLXDatabaseCollectionMediaItemPlaylists);
    require(isSet, "a playlist was refused");
    playlists_[playlist->uuid()] = playlist;
}

void SessionEdits::moveInPlaylist(const Edit& edit, YapDatabaseReadWriteTransaction& transaction) {
    const auto playlist = playlistToEdit(String(edit[1]));
    auto items = itemsOf(*playlist);
    if (items.size() > 1) {
        const auto n = static_cast<std::int64_t>(items.size());
        const auto from = items.begin() + integer(edit[2]) % n;
        const String moved = *from;
        items.erase(from);
        items.insert(items.begin() + integer(edit[3]) % n, moved);
        playlist->setItemUUIDs(OrderedSet<String>(std::move(items)));
    }
    require(
        transaction.setObject(playlist, playlist->uuid(), PLXDatabaseCollectionMediaItemPlaylists),
        "a playlist was refused");
    playlists_[playlist->uuid()] = playlist;
}

std::shared_ptr<PLXMediaItemUserData> SessionEdits::userDataToEdit(const String& uuid) const {
    if (const auto newest = userData_.find(uuid); newest != userData_.end())
        return newest->second->copy();
    if (const auto given = data_.userDataAt.find(uuid); given != data_.userDataAt.end())
        return data_.userData[given->second]->copy();
    return PLXMediaItemUserData::initWithTitleID(data_.track(uuid)->titleID());
}

std::shared_ptr<PLXMediaItemPlaylist> SessionEdits::playlistToEdit(const String& uuid) const {
    if (const auto newest = playlists_.find(uuid); newest != playlists_.end())
        return newest->second->copy();
    const auto given = data_.playlistAt.find(uuid);
    require(given != data_.playlistAt.end(), "an edit names a playlist that is not there");
    return data_.playlists[given->second]->copy();
}

void SessionEdits::requireStored(YapDatabaseReadTransaction& transaction) const {
    const auto check = [&](const auto& newest, std::string_view collection) {
        for (const auto& [uuid, record] : newest)
            require(isStored(*record, transaction.objectForKey(uuid, collection)),
                    "an edit of the session is not in the library");
    };
    check(userData_, PLXDatabaseCollectionMediaItemUserData);
    check(tracks_, PLXDatabaseCollectionMediaItems);
    check(playlists_, PLXDatabaseCollectionMediaItemPlaylists);

    auto& view = viewOf(transaction, PLXDatabaseExtensionMediaItemPlaylistView);
    for (const auto& [uuid, playlist] : playlists_) {
        std::vector<String> shown;
        view.enumerateKeysInGroup(uuid, [&](std::string_view, std::string_view key, std::uint64_t,
                                            bool&) { shown.emplace_back(key); });
        require(shown == itemsOf(*playlist), "a playlist shows its items in another order");
    }
}

}  // namespace qsml::bench
