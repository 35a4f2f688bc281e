#include <memory>

#include "CommandTree.h"
#include "playlistCommands.h"

namespace qsml::app {

namespace {

/// Hangs the group in; the options live as long as the commands do.
class PlaylistArguments {
public:
    explicit PlaylistArguments(CommandTree tree)
        : tree_(tree),
          playlist_(tree.group("playlist", "The playlists: a tree of them, and what is in each")),
          options_(std::make_shared<PlaylistOptions>()) {}

    void add() {
        addTreeCommands();
        addEntryCommands();
    }

private:
    using Run = int (*)(const CommonOptions& common, const PlaylistOptions& options);

    CLI::App* command(const char* name, const char* description, Run run) {
        return tree_.command(
            playlist_, name, description,
            [&common = tree_.common, options = options_, run] { return run(common, *options); });
    }
    /// One that acts on a playlist.
    CLI::App* commandOn(const char* name, const char* description, Run run) {
        CLI::App* const made = command(name, description, run);
        made->add_option("PLAYLIST", options_->playlist,
                         "A path from the top as A/B, a name, an ID, or the start of one")
            ->required()
            ->check(notEmpty_);
        return made;
    }
    void addTracks(CLI::App& command) {
        command.add_option("TRACK", options_->tracks, "IDs, starts of IDs, or titles")
            ->required()
            ->check(notEmpty_);
    }

    void addTreeCommands() {
        command("tree", "Lists all playlists, each below the one that it stands in",
                [](const CommonOptions& common, const PlaylistOptions&) {
                    return runPlaylistTree(common);
                });
        CLI::App* made = command("create", "Makes a playlist", runPlaylistCreate);
        made->add_option("NAME", options_->name, "Its name (default: the next free \"Playlist N\")")
            ->check(notEmpty_);
        made->add_option("--parent", options_->parent,
                         "The playlist to make it in; / is the top of the tree (default: /)")
            ->type_name("PLAYLIST")
            ->check(notEmpty_);
        made = commandOn("rename", "Gives a playlist another name", runPlaylistRename);
        made->add_option("NAME", options_->name, "The new name")->required()->check(notEmpty_);
        made = commandOn("move", "Puts a playlist, with all below it, into another one",
                         runPlaylistMove);
        made->add_option("--to", options_->parent,
                         "The playlist to put it into; / is the top of the tree")
            ->type_name("PLAYLIST")
            ->required()
            ->check(notEmpty_);
        made->add_option("--at", options_->at, "Where it is to stand there (default: at the end)")
            ->type_name("POSITION")
            ->check(position_);
        commandOn("delete", "Deletes a playlist and all below it; the tracks stay in the library",
                  runPlaylistDelete);
    }

    void addEntryCommands() {
        addTracks(*commandOn("add", "Puts tracks at the end of a playlist", runPlaylistInsert));
        CLI::App* made = commandOn("insert", "Puts tracks into a playlist", runPlaylistInsert);
        made->add_option("POSITION", options_->at, "Where the first is to stand")
            ->required()
            ->check(position_);
        addTracks(*made);
        made = commandOn("reorder", "Gives an entry another position", runPlaylistReorder);
        made->add_option("FROM", options_->from, "Where it stands")->required()->check(position_);
        made->add_option("TO", options_->to, "Where it is to stand")->required()->check(position_);
        made = commandOn("remove", "Takes entries out of a playlist", runPlaylistRemove);
        made->add_option("POSITION", options_->positions, "Where they stand")
            ->required()
            ->check(position_);
        commandOn("show", "Lists the tracks of a playlist in their order", runPlaylistShow);
    }

    CommandTree tree_;
    CLI::App& playlist_;
    std::shared_ptr<PlaylistOptions> options_;
    CLI::Validator notEmpty_{notEmpty, ""}, position_{isPosition, ""};
};

}  // namespace

void addPlaylistCommands(CommandTree tree) { PlaylistArguments(tree).add(); }

}  // namespace qsml::app
