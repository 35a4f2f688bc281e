#pragma once
#include "organisation/PLXMediaItemPlaylist.h"
#include "organisation/PLXMediaItemPlaylistItem.h"

namespace qsml {

inline std::shared_ptr<PLXMediaItemPlaylist> playlist(
    std::string_view uuid, const String& parent,
    const std::optional<OrderedSet<String>>& children = {},
    const std::optional<OrderedSet<String>>& itemUUIDs = {}) {
    auto made = PLXMediaItemPlaylist::initWithUUID(uuid);
    made->setParentUUID(parent);
    made->setChildUUIDs(children);
    made->setItemUUIDs(itemUUIDs);
    return made;
}

/// An entry of the playlist "list", unless another one is named.
inline std::shared_ptr<PLXMediaItemPlaylistItem> item(std::string_view uuid,
                                                      const String& playlistUUID = "list",
                                                      const String& mediaItemUUID = {}) {
    auto made = PLXMediaItemPlaylistItem::initWithUUID(uuid);
    made->setPlaylistUUID(playlistUUID);
    made->setMediaItemUUID(mediaItemUUID);
    return made;
}

}  // namespace qsml
