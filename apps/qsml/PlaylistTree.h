#pragma once
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <QSMediaLibraryData/organisation/PLXMediaItemPlaylist.h>

namespace qsml {
class YapDatabaseReadTransaction;
}

namespace qsml::app {

/// All playlists as one transaction sees them. A playlist stands below its parent, among its
/// siblings as the parent's list says; those missing from the list come last. A tree that is none
/// (loops, missing parents, lists that name what is gone) is told as it is: every playlist stands
/// in it once. Read in O(n log n), without recursion. Immutable.
class PlaylistTree {
public:
    using Playlist = std::shared_ptr<const PLXMediaItemPlaylist>;
    /// Where a playlist stands in the whole list: at the top the depth is 0.
    using Block = std::function<void(const Playlist& playlist, std::size_t depth)>;

    explicit PlaylistTree(const YapDatabaseReadTransaction& transaction);

    /// The root, which is not part of the list; null where there is none that can be read.
    Playlist root() const { return named(PLXRootMediaItemPlaylistUUID); }
    /// Null where there is none that can be read; the root too.
    Playlist named(const String& uuid) const;
    /// Without the root, in no stated order.
    const std::vector<Playlist>& all() const { return all_; }
    /// Of the root's UUID: the top of the tree. In order.
    const std::vector<Playlist>& childrenOf(const String& uuid) const;
    /// The keys of records that cannot be read, or that are those of another UUID.
    const std::vector<String>& damagedKeys() const { return damagedKeys_; }

    /// Each playlist once, those below it right after it: the top of the tree, those without a
    /// place in it, and then loops.
    void walk(const Block& block) const;

    /// What is wrong with its place; empty when nothing is.
    std::vector<std::string> faultsOf(const PLXMediaItemPlaylist& playlist) const;
    /// Playlists whose lists name the UUID, which should be its parent alone.
    std::vector<Playlist> ownersOf(const String& uuid) const;
    /// "A/B/C", for people to read. A walk up the tree, which ends in loops too.
    std::string pathOf(const PLXMediaItemPlaylist& playlist) const;

private:
    using Children = std::unordered_map<String, std::vector<Playlist>>;

    void sortChildren();
    void walkFrom(const Playlist& top, const Block& block, std::unordered_set<String>& met) const;

    std::vector<Playlist> all_;
    std::unordered_map<String, Playlist> byUUID_;
    Children children_;                   // by the parent's UUID
    std::vector<Playlist> withoutPlace_;  // no parent, or none that can be read
    std::unordered_set<String> belowATop_;
    std::vector<String> damagedKeys_;
};

/// The one playlist that a person means: by its UUID, a path from the top as "A/B" or "/A", its
/// name, or the start of a UUID. Names that differ in letter case count where no other fits.
/// Never null and never the root. Throws CommandFailure when there is none, naming the candidates
/// when there are several.
PlaylistTree::Playlist findPlaylist(const std::string& which, const PlaylistTree& tree);

/// The same; "/" and the empty text are the root. Throws when that cannot be read.
PlaylistTree::Playlist findParent(const std::string& which, const PlaylistTree& tree);

}  // namespace qsml::app
