#pragma once
#include <memory>
#include <set>
#include <vector>

#include "ListedEntries.h"

namespace qsml {
class PLXMediaItem;
class PLXMediaItemPlaylist;
class PLXMediaItemPlaylistItem;
class YapDatabaseReadTransaction;
class YapDatabaseReadWriteTransaction;
}  // namespace qsml

namespace qsml::app {

/// The entries of one playlist as the playlist view has them in one transaction, and the ways to
/// change them. UUIDs in the playlist's list that name no entry are left where they are: they may
/// be on their way from another device. Positions count from 0. O(entries) to read.
class PlaylistEntries {
public:
    using Item = std::shared_ptr<const PLXMediaItemPlaylistItem>;

    /// Throws CommandFailure when the library has no playlist view.
    PlaylistEntries(std::shared_ptr<const PLXMediaItemPlaylist> playlist,
                    YapDatabaseReadTransaction& transaction);

    const std::vector<Item>& items() const { return entries_.items(); }

    // Each throws CommandFailure when there is no such position; store() writes the list once.

    /// Before the entry at the position; at the end with items().size().
    Item add(const PLXMediaItem& track, std::size_t position,
             YapDatabaseReadWriteTransaction& transaction);
    void move(std::size_t from, std::size_t to);
    /// Answers what was removed, in its order.
    std::vector<Item> remove(const std::set<std::size_t>& positions,
                             YapDatabaseReadWriteTransaction& transaction);
    void store(YapDatabaseReadWriteTransaction& transaction) const;

private:
    std::shared_ptr<const PLXMediaItemPlaylist> playlist_;
    ListedEntries<PLXMediaItemPlaylistItem> entries_{"playlist", "qsml playlist add"};
};

}  // namespace qsml::app
