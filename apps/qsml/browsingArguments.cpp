#include <map>
#include <memory>

#include "CommandTree.h"
#include "browsingCommands.h"

namespace qsml::app {

namespace {

void addPage(CLI::App* command, Page& page) {
    command->add_option("--limit", page.limit, "At most so many")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);
    command->add_option("--offset", page.offset, "Leave out so many first")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);
}

void addSearch(CommandTree tree) {
    const auto options = std::make_shared<SearchOptions>();
    CLI::App* const made =
        tree.command(tree.app, "search",
                     "Finds tracks, artists, albums and playlists by the words of their texts",
                     [&common = tree.common, options] { return runSearch(common, *options); });
    made->add_option("TEXT", options->text, "Words; of the last one the beginning is enough")
        ->required();
    const std::map<std::string, std::string> groups = {{"track", "mediaItem"},
                                                       {"mediaItem", "mediaItem"},
                                                       {"artist", "artist"},
                                                       {"album", "album"},
                                                       {"playlist", "playlist"}};
    made->add_option("--group", options->group, "Only these: track, artist, album or playlist")
        ->type_name("GROUP")
        ->transform(CLI::CheckedTransformer(groups).description(""));
    addPage(made, options->page);
}

void addBrowse(CommandTree tree) {
    const auto options = std::make_shared<BrowseOptions>();
    CLI::App& group = tree.group("browse", "What tracks are filed under, with their number");
    struct Command {
        const char* name;
        const char* description;
        BrowsedKind kind;
    };
    constexpr Command commands[] = {
        {"artists", "Lists artists, or the tracks of one", BrowsedKind::artists},
        {"albums", "Lists albums, or the tracks of one", BrowsedKind::albums},
        {"genres", "Lists genres, or the tracks of one", BrowsedKind::genres},
        {"labels", "Lists labels, or the tracks of one", BrowsedKind::labels},
        {"sources", "Lists where tracks came from, or the tracks of one", BrowsedKind::sources},
        {"keys", "Lists the analysed musical keys, or the tracks of one", BrowsedKind::keys}};
    for (const Command& command : commands) {
        const auto run = [&common = tree.common, options, kind = command.kind] {
            options->kind = kind;
            return runBrowse(common, *options);
        };
        CLI::App* const made = tree.command(group, command.name, command.description, run);
        made->add_option("NAME", options->name, "Whose tracks to list (default: list the names)")
            ->check(CLI::Validator(notEmpty, ""));
        addPage(made, options->page);
    }
}

void addLocate(CommandTree tree) {
    const auto options = std::make_shared<LocateOptions>();
    CLI::App* const made =
        tree.command(tree.app, "locate", "Tells where files are, and follows a folder that moved",
                     [&common = tree.common, options] { return runLocate(common, *options); });
    auto* const track =
        made->add_option("TRACK", options->track, "An ID, the start of one, or a title");
    track->check(CLI::Validator(notEmpty, ""));
    auto* const missing =
        made->add_flag("--missing", options->missing, "List the tracks whose file is out of reach");
    auto* const relink = made->add_option("--relink", options->relink,
                                          "Give tracks below the first folder their places below "
                                          "the second, where their files are now");
    relink->type_name("OLD NEW")->expected(2)->check(CLI::Validator(notEmpty, ""));
    made->add_flag("--dry-run", options->dryRun, "Only tell what --relink would do")->needs(relink);
    addPage(made, options->page);
    made->get_option("--limit")->needs(missing);
    made->get_option("--offset")->needs(missing);
    track->excludes(missing)->excludes(relink);
    missing->excludes(relink);
}

void addRemove(CommandTree tree) {
    const auto options = std::make_shared<RemoveOptions>();
    CLI::App* const made = tree.command(
        tree.app, "remove", "Removes tracks with all that is known of them; their files stay",
        [&common = tree.common, options] { return runRemove(common, *options); });
    made->add_option("TRACK", options->tracks, "IDs, starts of IDs, or titles")
        ->required()
        ->check(CLI::Validator(notEmpty, ""));
    made->add_flag("--yes", options->isSure, "Without it, it is only told what would go");
}

}  // namespace

void addBrowsingCommands(CommandTree tree) {
    addSearch(tree);
    addBrowse(tree);
    addLocate(tree);
    addRemove(tree);
}

}  // namespace qsml::app
