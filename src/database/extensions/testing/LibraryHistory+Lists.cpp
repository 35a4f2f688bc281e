// Playlists, queues and sessions.
#include <algorithm>
#include <functional>

#include "database/extensions/testing/LibraryHistory.h"
#include "organisation/PLXHistorySession.h"
#include "organisation/PLXHistorySessionItem.h"
#include "organisation/PLXMediaItemPlaylist.h"
#include "organisation/PLXMediaItemPlaylistItem.h"
#include "organisation/PLXQueue.h"
#include "organisation/PLXQueueItem.h"

namespace qsml {
namespace {

using Writer = YapDatabaseReadWriteTransaction;
using UUIDs = std::optional<OrderedSet<String>>;
using Edit = std::function<void(std::vector<String>& keys)>;

constexpr std::string_view playlists = "mediaItemPlaylists", entries = "mediaItemPlaylistItems";

UUIDs edited(const UUIDs& uuids, const Edit& edit) {
    std::vector<String> keys = uuids ? uuids->elements() : std::vector<String>();
    edit(keys);
    return OrderedSet<String>(std::move(keys));
}

void editChildren(Writer& t, const String& playlistUUID, const Edit& edit) {
    const auto stored = t.object<PLXMediaItemPlaylist>(playlistUUID, playlists);
    if (!stored) return;
    const auto changed = stored->copy();
    changed->setChildUUIDs(edited(stored->childUUIDs(), edit));
    t.setObject(changed, playlistUUID, playlists);
}
void editEntries(Writer& t, const String& playlistUUID, const Edit& edit) {
    const auto stored = t.object<PLXMediaItemPlaylist>(playlistUUID, playlists);
    if (!stored) return;
    const auto changed = stored->copy();
    changed->setItemUUIDs(edited(stored->itemUUIDs(), edit));
    t.setObject(changed, playlistUUID, playlists);
}
void editQueue(Writer& t, const String& queueUUID, const Edit& edit) {
    auto queue = PLXQueue::initWithUUID(queueUUID);
    if (const auto stored = t.object<PLXQueue>(queueUUID, "queues")) queue = stored->copy();
    queue->setItemUUIDs(edited(queue->itemUUIDs(), edit));
    t.setObject(queue, queueUUID, "queues");
}

}  // namespace

/// The root of the tree is one of them.
std::string LibraryHistory::playlistKey() {
    const std::string drawn = key("p", 10 * scale_);
    return drawn == "p0" ? std::string(PLXRootMediaItemPlaylistUUID) : drawn;
}

/// A new playlist under some parent, or one made anew. Mostly the parent's list names it.
void LibraryHistory::writePlaylist(Writer& t) {
    const auto playlist = PLXMediaItemPlaylist::initWithUUID(playlistKey());
    playlist->setName(text());
    if (playlist->uuid() == PLXRootMediaItemPlaylistUUID)
        playlist->setType(PLXMediaItemPlaylist::typeRoot);
    else if (!oneOf(6))
        playlist->setParentUUID(playlistKey());
    const auto name = [&] {
        editChildren(t, playlist->parentUUID(),
                     [&](Keys& keys) { putAnywhere(keys, playlist->uuid()); });
    };
    const bool isNamedFirst = oneOf(2), isNamed = !oneOf(5);
    if (isNamed && isNamedFirst) name();
    t.setObject(playlist, playlist->uuid(), playlists);
    if (isNamed && !isNamedFirst) name();
}

/// To another parent, which may lie below it.
void LibraryHistory::movePlaylist(Writer& t) {
    const auto stored = t.object<PLXMediaItemPlaylist>(playlistKey(), playlists);
    if (!stored) return;
    const String uuid = stored->uuid(), to = playlistKey();
    std::vector<std::function<void()>> steps{
        [&] { editChildren(t, stored->parentUUID(), [&](Keys& keys) { std::erase(keys, uuid); }); },
        [&] { editChildren(t, to, [&](Keys& keys) { putAnywhere(keys, uuid); }); },
        [&] {
            const auto now = t.object<PLXMediaItemPlaylist>(uuid, playlists);
            const auto moved = now->copy();
            moved->setParentUUID(to);
            t.setObject(moved, uuid, playlists);
        }};
    std::shuffle(steps.begin(), steps.end(), random_);
    if (oneOf(8)) steps.pop_back();  // half done, as when it comes from two devices
    for (const auto& step : steps) step();
}

void LibraryHistory::changePlaylist(Writer& t) {
    const auto stored = t.object<PLXMediaItemPlaylist>(playlistKey(), playlists);
    if (!stored) return writePlaylist(t);
    const auto playlist = stored->copy();
    if (oneOf(4))
        playlist->setType(static_cast<std::int64_t>(draw(3)));
    else
        playlist->setName(text());
    t.setObject(playlist, playlist->uuid(), playlists);
}

void LibraryHistory::reorderPlaylist(Writer& t) {
    const auto reorder = [&](Keys& keys) {
        if (keys.size() > 1 && oneOf(2)) {
            std::swap(keys[draw(keys.size())], keys[draw(keys.size())]);
        } else if (keys.size() > 1 && oneOf(3)) {
            keys.erase(keys.begin() + static_cast<std::ptrdiff_t>(draw(keys.size())));
        } else {
            std::shuffle(keys.begin(), keys.end(), random_);
        }
    };
    const std::string playlist = playlistKey();
    if (oneOf(2))
        editChildren(t, playlist, reorder);
    else
        editEntries(t, playlist, reorder);
}

/// Into a list, which may name it before it is there, after, or not at all.
void LibraryHistory::writeEntry(Writer& t) {
    const auto entry = PLXMediaItemPlaylistItem::initWithUUID(entryKey());
    if (!oneOf(15)) entry->setPlaylistUUID(playlistKey());
    if (!oneOf(4)) entry->setMediaItemUUID(trackKey());
    const auto name = [&] {
        editEntries(t, entry->playlistUUID(),
                    [&](Keys& keys) { putAnywhere(keys, entry->uuid()); });
    };
    const std::size_t how = draw(8);
    if (how < 4) name();
    if (how != 0) t.setObject(entry, entry->uuid(), entries);
    if (how > 4) name();
}

void LibraryHistory::moveEntry(Writer& t) {
    const auto stored = t.object<PLXMediaItemPlaylistItem>(entryKey(), entries);
    if (!stored) return;
    const String uuid = stored->uuid(), to = playlistKey();
    const auto moved = stored->copy();
    moved->setPlaylistUUID(to);
    if (oneOf(2)) t.setObject(moved, uuid, entries);
    editEntries(t, stored->playlistUUID(), [&](Keys& keys) { std::erase(keys, uuid); });
    editEntries(t, to, [&](Keys& keys) { putAnywhere(keys, uuid); });
    t.setObject(moved, uuid, entries);
}

void LibraryHistory::writeQueue(Writer& t) {
    editQueue(t, queueKey(), [&](Keys& keys) {
        std::shuffle(keys.begin(), keys.end(), random_);
        if (keys.size() > 8) keys.resize(5);
    });
}

void LibraryHistory::writeQueued(Writer& t) {
    const auto entry = PLXQueueItem::initWithUUID(queuedKey());
    if (!oneOf(15)) entry->setQueueUUID(queueKey());
    const auto name = [&] {
        editQueue(t, oneOf(8) ? String(queueKey()) : String(entry->queueUUID()),
                  [&](Keys& keys) { putAnywhere(keys, entry->uuid()); });
    };
    const std::size_t how = draw(8);
    if (how < 4 && entry->queueUUID()) name();
    t.setObject(entry, entry->uuid(), "queueItems");
    if (how > 4 && entry->queueUUID()) name();
}

void LibraryHistory::writeSession(Writer& t) {
    const auto session = PLXHistorySession::initWithUUID(key("session", 6));
    if (!oneOf(5)) session->setStartDate(Date{static_cast<double>(draw(5)) * 1e8 - 1e8});
    t.setObject(session, session->uuid(), "historySessions");
    const auto played = PLXHistorySessionItem::initWithUUID(key("session", 6));
    played->setSessionUUID(key("session", 6));
    if (oneOf(2)) t.setObject(played, played->uuid(), "historySessionItems");
}

}  // namespace qsml
