#include <unordered_set>

#include "database/PLXDatabaseManager.h"
#include "organisation/PLXMediaItemPlaylist.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "tracks/detail/backgroundTransactions.h"

// Walks step by step over what they have met, so that neither depth nor loops matter.

namespace qsml {
namespace {

using Playlists = std::vector<std::shared_ptr<const PLXMediaItemPlaylist>>;
using Met = std::unordered_set<String>;

void addNewChildren(const PLXMediaItemPlaylist& playlist, Met& met, std::vector<String>& keys) {
    if (!playlist.childUUIDs()) return;
    for (const String& uuid : *playlist.childUUIDs())
        if (uuid && met.insert(uuid).second) keys.push_back(uuid);
}

}  // namespace

bool PLXMediaItemPlaylist::isDecendantOf(std::string_view playlistUUID,
                                         const YapDatabaseReadTransaction& transaction) const {
    Met met;
    for (String above = parentUUID(); above && met.insert(above).second;) {
        if (above == playlistUUID) return true;
        const auto parent = transaction.object<PLXMediaItemPlaylist>(
            above, PLXDatabaseCollectionMediaItemPlaylists);
        above = parent ? parent->parentUUID() : String();
    }
    return false;
}

bool PLXMediaItemPlaylist::isDecendantOf(std::string_view playlistUUID,
                                         PLXDatabaseManager& manager) const {
    bool isBelow = parentUUID() == playlistUUID;
    if (isBelow || !parentUUID()) return isBelow;
    detail::read(manager, [&](YapDatabaseReadTransaction& transaction) {
        isBelow = isDecendantOf(playlistUUID, transaction);
    });
    return isBelow;
}

bool PLXMediaItemPlaylist::isDecendantOf(std::string_view playlistUUID) const {
    return isDecendantOf(playlistUUID, PLXDatabaseManager::sharedManager());
}

Playlists PLXMediaItemPlaylist::allDecendants(const YapDatabaseReadTransaction& transaction) const {
    Playlists found;
    Met met;
    std::vector<String> keys;
    addNewChildren(*this, met, keys);
    while (!keys.empty()) {
        const std::size_t known = found.size();
        const auto take = [&](std::size_t, const Value& child, bool&) {
            if (auto playlist =
                    std::dynamic_pointer_cast<const PLXMediaItemPlaylist>(child.object()))
                found.push_back(std::move(playlist));
        };
        transaction.enumerateObjectsForKeys(keys, PLXDatabaseCollectionMediaItemPlaylists, take);
        keys.clear();
        for (std::size_t i = known; i < found.size(); ++i) addNewChildren(*found[i], met, keys);
    }
    return found;
}

Playlists PLXMediaItemPlaylist::allDecendants(PLXDatabaseManager& manager) const {
    Playlists found;
    detail::read(manager, [&](YapDatabaseReadTransaction& transaction) {
        found = allDecendants(transaction);
    });
    return found;
}

Playlists PLXMediaItemPlaylist::allDecendants() const {
    return allDecendants(PLXDatabaseManager::sharedManager());
}

}  // namespace qsml
