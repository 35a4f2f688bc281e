#pragma once
#include "commands.h"

namespace qsml::app {

// The commands of the playlists; as those in commands.h. A playlist is named as findPlaylist.h
// says. Positions count from 1.

struct PlaylistOptions {
    std::string playlist;
    std::string name;    ///< empty: the next free one
    std::string parent;  ///< empty: the top of the tree
    std::vector<std::string> tracks;
    std::size_t at = 0;  ///< 0: at the end
    std::size_t from = 1, to = 1;
    std::vector<std::size_t> positions;
};

int runPlaylistTree(const CommonOptions& common);
int runPlaylistCreate(const CommonOptions& common, const PlaylistOptions& options);
int runPlaylistRename(const CommonOptions& common, const PlaylistOptions& options);
int runPlaylistMove(const CommonOptions& common, const PlaylistOptions& options);
int runPlaylistDelete(const CommonOptions& common, const PlaylistOptions& options);

int runPlaylistShow(const CommonOptions& common, const PlaylistOptions& options);
/// At options.at.
int runPlaylistInsert(const CommonOptions& common, const PlaylistOptions& options);
int runPlaylistReorder(const CommonOptions& common, const PlaylistOptions& options);
int runPlaylistRemove(const CommonOptions& common, const PlaylistOptions& options);

}  // namespace qsml::app
