#include "PlaylistTree.h"

#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <fmt/format.h>

#include <algorithm>

namespace qsml::app {

namespace {

using Playlist = PlaylistTree::Playlist;

/// Where the parent's list has it; the largest number where it has not.
std::size_t placeIn(const Playlist& parent, const PLXMediaItemPlaylist& child) {
    if (!parent || !parent->childUUIDs()) return OrderedSet<String>::npos;
    return parent->childUUIDs()->indexOf(child.uuid());
}

bool hasLowerUUID(const Playlist& a, const Playlist& b) { return a->uuid() < b->uuid(); }

}  // namespace

PlaylistTree::PlaylistTree(const YapDatabaseReadTransaction& transaction) {
    const auto collection = PLXDatabaseCollectionMediaItemPlaylists;
    for (const String& key : transaction.allKeysInCollection(collection)) {
        auto playlist = transaction.object<PLXMediaItemPlaylist>(key, collection);
        if (!playlist || playlist->uuid() != key) {
            damagedKeys_.push_back(key);
            continue;
        }
        if (key != PLXRootMediaItemPlaylistUUID) all_.push_back(playlist);
        byUUID_.emplace(key, std::move(playlist));
    }
    std::sort(damagedKeys_.begin(), damagedKeys_.end());
    std::sort(all_.begin(), all_.end(), hasLowerUUID);
    for (const Playlist& playlist : all_) {
        const String& parent = playlist->parentUUID();
        // What names the root stands at the top, also while the root itself cannot be read.
        if (parent && (parent == PLXRootMediaItemPlaylistUUID || named(parent)))
            children_[parent].push_back(playlist);
        else
            withoutPlace_.push_back(playlist);
    }
    sortChildren();
}

void PlaylistTree::sortChildren() {
    for (auto& [uuid, children] : children_) {
        const Playlist parent = named(uuid);
        std::stable_sort(children.begin(), children.end(),
                         [&](const Playlist& a, const Playlist& b) {
                             return placeIn(parent, *a) < placeIn(parent, *b);
                         });
    }
    const auto ignore = [](const Playlist&, std::size_t) {};
    for (const Playlist& top : childrenOf(PLXRootMediaItemPlaylistUUID))
        walkFrom(top, ignore, belowATop_);
    for (const Playlist& top : withoutPlace_) walkFrom(top, ignore, belowATop_);
}

Playlist PlaylistTree::named(const String& uuid) const {
    const auto found = byUUID_.find(uuid);
    return found == byUUID_.end() ? nullptr : found->second;
}

const std::vector<Playlist>& PlaylistTree::childrenOf(const String& uuid) const {
    static const std::vector<Playlist>& none = *new std::vector<Playlist>();
    const auto found = children_.find(uuid);
    return found == children_.end() ? none : found->second;
}

void PlaylistTree::walkFrom(const Playlist& top, const Block& block,
                            std::unordered_set<String>& met) const {
    std::vector<std::pair<Playlist, std::size_t>> ahead = {{top, 0}};
    while (!ahead.empty()) {
        const auto [playlist, depth] = std::move(ahead.back());
        ahead.pop_back();
        if (!met.insert(playlist->uuid()).second) continue;
        block(playlist, depth);
        const auto& children = childrenOf(playlist->uuid());
        for (auto child = children.rbegin(); child != children.rend(); ++child)
            ahead.emplace_back(*child, depth + 1);
    }
}

void PlaylistTree::walk(const Block& block) const {
    std::unordered_set<String> met;
    for (const Playlist& top : childrenOf(PLXRootMediaItemPlaylistUUID)) walkFrom(top, block, met);
    for (const Playlist& top : withoutPlace_) walkFrom(top, block, met);
    for (const Playlist& playlist : all_) walkFrom(playlist, block, met);  // what is left: loops
}

std::vector<std::string> PlaylistTree::faultsOf(const PLXMediaItemPlaylist& playlist) const {
    std::vector<std::string> faults;
    const String& parentUUID = playlist.parentUUID();
    const Playlist parent = named(parentUUID);
    if (!parentUUID)
        faults.emplace_back("it has no place in the tree");
    else if (!parent)
        faults.push_back("its parent " + parentUUID.str() + " is missing");
    else if (placeIn(parent, playlist) == OrderedSet<String>::npos)
        faults.emplace_back("its parent does not list it");
    if (!belowATop_.contains(playlist.uuid()))
        faults.emplace_back("it stands in a loop or below one");
    std::size_t missing = 0, others = 0;
    if (playlist.childUUIDs())
        for (const String& uuid : *playlist.childUUIDs()) {
            const Playlist child = named(uuid);
            if (!child)
                ++missing;
            else if (child->parentUUID() != playlist.uuid())
                ++others;
        }
    if (missing > 0) faults.push_back(fmt::format("it lists {} that are missing", missing));
    if (others > 0) faults.push_back(fmt::format("it lists {} that stand elsewhere", others));
    return faults;
}

std::vector<Playlist> PlaylistTree::ownersOf(const String& uuid) const {
    std::vector<Playlist> owners;
    for (const auto& [key, playlist] : byUUID_)
        if (playlist->childUUIDs() && playlist->childUUIDs()->contains(uuid))
            owners.push_back(playlist);
    return owners;
}

std::string PlaylistTree::pathOf(const PLXMediaItemPlaylist& playlist) const {
    constexpr std::size_t mostSteps = 20;  // of what people read
    std::string path = playlist.name().str();
    Playlist above = named(playlist.parentUUID());
    for (std::size_t step = 0; above && above->uuid() != PLXRootMediaItemPlaylistUUID; ++step) {
        if (step == mostSteps) return ".../" + path;
        path.insert(0, above->name().str() + "/");
        above = named(above->parentUUID());
    }
    return path;
}

}  // namespace qsml::app
