// Views of entries in the order of the lists that hold them, and of history sessions.
#include "core/Copied.h"
#include "database/PLXDatabaseManager.h"
#include "database/extensions/registerAutoView.h"
#include "database/extensions/sortKeys.h"
#include "organisation/PLXHistorySession.h"
#include "organisation/PLXMediaItemPlaylist.h"
#include "organisation/PLXMediaItemPlaylistItem.h"
#include "organisation/PLXQueue.h"
#include "organisation/PLXQueueItem.h"

namespace qsml {
namespace {

using UUIDs = std::optional<OrderedSet<String>>;

/// Groups are named by the record that holds their list; the function gives the list.
template <class Holder, class List>
YapDatabaseViewSorting listedIn(std::string_view collection, List list) {
    YapDatabaseViewSorting sorting;
    sorting.list.collections = {std::string(collection)};
    sorting.list.groups = [](const YapDatabaseRow& holder) {
        return std::vector<String>{holder.key};
    };
    sorting.list.keys = [collection, list](YapDatabaseReadTransaction& transaction,
                                           std::string_view group,
                                           const std::function<void(std::string_view)>& block) {
        const auto holder = transaction.object<Holder>(group, collection);
        if (!holder) return;
        const UUIDs& uuids = list(*holder);
        if (!uuids) return;
        for (const String& uuid : *uuids) block(uuid);
    };
    return sorting;
}

}  // namespace

void PLXDatabaseManager::setupMediaItemPlaylistsViewExtension() {
    detail::registerAutoView(
        *this,
        {PLXDatabaseExtensionMediaItemPlaylistsView,
         "1",
         {PLXDatabaseCollectionMediaItemPlaylists}},
        [](YapDatabaseReadTransaction&, const YapDatabaseRow& row) {
            const auto playlist = objectOfClass<PLXMediaItemPlaylist>(row.object);
            if (!playlist) return String();
            return playlist->parentUUID() ? String(playlist->parentUUID()) : String("root");
        },
        listedIn<PLXMediaItemPlaylist>(PLXDatabaseCollectionMediaItemPlaylists,
                                       [](const PLXMediaItemPlaylist& playlist) -> const UUIDs& {
                                           return playlist.childUUIDs();
                                       }));
}

void PLXDatabaseManager::setupMediaItemPlaylistViewExtension() {
    detail::registerAutoView(
        *this,
        {PLXDatabaseExtensionMediaItemPlaylistView,
         "1",
         {PLXDatabaseCollectionMediaItemPlaylistItems}},
        [](YapDatabaseReadTransaction&, const YapDatabaseRow& row) {
            const auto item = objectOfClass<PLXMediaItemPlaylistItem>(row.object);
            return item ? String(item->playlistUUID()) : String();
        },
        listedIn<PLXMediaItemPlaylist>(PLXDatabaseCollectionMediaItemPlaylists,
                                       [](const PLXMediaItemPlaylist& playlist) -> const UUIDs& {
                                           return playlist.itemUUIDs();
                                       }));
}

void PLXDatabaseManager::setupQueueViewExtension() {
    detail::registerAutoView(
        *this, {PLXDatabaseExtensionQueueView, "1", {PLXDatabaseCollectionQueueItems}},
        [](YapDatabaseReadTransaction&, const YapDatabaseRow& row) {
            const auto item = objectOfClass<PLXQueueItem>(row.object);
            return item ? String(item->queueUUID()) : String();
        },
        listedIn<PLXQueue>(PLXDatabaseCollectionQueues, [](const PLXQueue& queue) -> const UUIDs& {
            return queue.itemUUIDs();
        }));
}

void PLXDatabaseManager::setupHistorySessionViewExtension() {
    detail::registerAutoView(
        *this,
        {PLXDatabaseExtensionHistorySessionView, "1", {PLXDatabaseCollectionHistorySessions}},
        [](YapDatabaseReadTransaction&, const YapDatabaseRow& row) {
            return objectOfClass<PLXHistorySession>(row.object) ? String("sessions") : String();
        },
        detail::sortedBy([](const Value& object) {
            return detail::newestFirstSortKeyOf(
                objectOfClass<PLXHistorySession>(object)->startDate());
        }));
}

}  // namespace qsml
