#include <QSMediaLibraryData/foundation/text.h>
#include <fmt/format.h>

#include "CommandFailure.h"
#include "PlaylistTree.h"

namespace qsml::app {

namespace {

using Playlist = PlaylistTree::Playlist;
using Playlists = std::vector<Playlist>;
using IsName = bool (*)(const PLXMediaItemPlaylist& playlist, const std::string& text);

bool isSame(const PLXMediaItemPlaylist& playlist, const std::string& text) {
    return playlist.name() == text;
}
bool isSameInAnyCase(const PLXMediaItemPlaylist& playlist, const std::string& text) {
    return playlist.name() && localizedCaseInsensitiveCompare(playlist.name(), text) == 0;
}

/// Those at the end of the path from the top; names may have slashes of their own.
void addAtPath(const std::string& path, IsName isName, const PlaylistTree& tree, Playlists& found) {
    std::vector<std::pair<String, std::size_t>> ahead = {{PLXRootMediaItemPlaylistUUID, 0}};
    while (!ahead.empty()) {
        const auto [parent, start] = ahead.back();
        ahead.pop_back();
        for (std::size_t end = start; end != path.size();) {
            end = std::min(path.find('/', end + 1), path.size());
            const std::string name = path.substr(start, end - start);
            for (const Playlist& child : tree.childrenOf(parent)) {
                if (!isName(*child, name)) continue;
                if (end == path.size())
                    found.push_back(child);
                else if (end + 1 < path.size())
                    ahead.emplace_back(child->uuid(), end + 1);
            }
        }
    }
}

/// By path or name.
Playlists candidates(const std::string& which, IsName isName, const PlaylistTree& tree) {
    Playlists found;
    const bool isFromTop = which.starts_with('/') && which.size() > 1;
    addAtPath(which.substr(isFromTop ? 1 : 0), isName, tree, found);
    // A path from the top is as exact as can be; a name can be anywhere.
    if (!found.empty() && (isFromTop || which.find('/') != which.npos)) return found;
    found.clear();
    for (const Playlist& playlist : tree.all())
        if (isName(*playlist, which)) found.push_back(playlist);
    return found;
}

Playlists withUUIDsThatStart(const std::string& start, const PlaylistTree& tree) {
    constexpr std::size_t shortest = 4;  // so that the name of no playlist is taken for one
    Playlists found;
    if (start.size() < shortest) return found;
    for (const Playlist& playlist : tree.all())
        if (playlist->uuid().view().starts_with(start)) found.push_back(playlist);
    return found;
}

[[noreturn]] void failAmbiguous(const std::string& which, const Playlists& found,
                                const PlaylistTree& tree) {
    constexpr std::size_t mostNamed = 5;
    std::string list;
    for (std::size_t i = 0; i < std::min(found.size(), mostNamed); ++i)
        list += fmt::format("{}{} ({})", i == 0 ? "" : ", ", found[i]->uuid().view(),
                            tree.pathOf(*found[i]));
    if (found.size() > mostNamed) list += ", ...";
    throw CommandFailure(fmt::format("\"{}\" means {} playlists; name one by its path or ID: {}",
                                     which, found.size(), list));
}

}  // namespace

Playlist findPlaylist(const std::string& which, const PlaylistTree& tree) {
    if (which == "/" || which == PLXRootMediaItemPlaylistUUID)
        throw CommandFailure(
            "/ is the top of all playlists and is none itself; \"qsml playlist "
            "tree\" lists them");
    if (Playlist playlist = tree.named(which)) return playlist;
    Playlists found = candidates(which, isSame, tree);
    if (found.empty()) found = candidates(which, isSameInAnyCase, tree);
    if (found.empty()) found = withUUIDsThatStart(which, tree);
    if (found.empty())
        throw CommandFailure("no playlist has the path, the name or the ID \"" + which +
                             "\"; \"qsml playlist tree\" lists them all");
    if (found.size() > 1) failAmbiguous(which, found, tree);
    return found.front();
}

Playlist findParent(const std::string& which, const PlaylistTree& tree) {
    if (!which.empty() && which != "/" && which != PLXRootMediaItemPlaylistUUID)
        return findPlaylist(which, tree);
    if (Playlist root = tree.root()) return root;
    throw CommandFailure("the top of the playlists cannot be read; \"qsml check\" tells more");
}

}  // namespace qsml::app
