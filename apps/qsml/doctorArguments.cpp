#include <memory>

#include "CommandTree.h"
#include "doctorCommands.h"

namespace qsml::app {

namespace {

/// The options live as long as the command does.
template <class Options>
CLI::App* add(const CommandTree& tree, const char* name, const char* description,
              int (*run)(const CommonOptions& common, const Options& options),
              const std::shared_ptr<Options>& options) {
    return CommandTree(tree).command(
        tree.app, name, description,
        [&common = tree.common, options, run] { return run(common, *options); });
}

void addDump(const CommandTree& tree, const CLI::Validator& text) {
    const auto options = std::make_shared<DumpOptions>();
    CLI::App* const made =
        add(tree, "dump", "Writes all records of a collection as JSON, one a line, in key order",
            runDump, options);
    CLI::Option* const collection =
        made->add_option("COLLECTION", options->collection, "As \"mediaItems\"")->check(text);
    CLI::Option* const all = made->add_flag("--all", options->isAll, "Every collection");
    collection->excludes(all);
    made->parse_complete_callback([options] {
        if (!options->isAll && options->collection.empty())
            throw CLI::RequiredError("COLLECTION or --all");
    });
}

void addEdges(const CommandTree& tree, const CLI::Validator& text) {
    const auto options = std::make_shared<EdgesOptions>();
    CLI::App* const made =
        add(tree, "edges", "Lists the links between records, and what they do when one is deleted",
            runEdges, options);
    made->add_option("ROW", options->row,
                     "Only those from and to it: a key, COLLECTION/KEY, or a track")
        ->check(text);
    made->add_option("--name", options->name, "Only edges of that name")
        ->type_name("NAME")
        ->check(text);
}

void addFileCommands(CommandTree tree, const CLI::Validator& text) {
    const auto repair = std::make_shared<RepairOptions>();
    add(tree, "repair",
        "Builds all lists and indexes anew and sets records that cannot be read aside", runRepair,
        repair)
        ->add_option("--aside", repair->aside,
                     "Gets what is set aside (default: the library's name with .aside.jsonl)")
        ->type_name("FILE")
        ->check(text);
    tree.command(tree.app, "compact", "Makes the file as small as it can be",
                 [&common = tree.common] { return runCompact(common); });
    const auto file = std::make_shared<std::string>();
    add(tree, "backup", "Copies the library, which may be in use, into a new file", runBackup, file)
        ->add_option("FILE", *file, "The copy; it must not be there yet")
        ->required()
        ->check(text);
}

void addWatch(const CommandTree& tree, const CLI::Validator& text) {
    const auto options = std::make_shared<WatchOptions>();
    CLI::App* const made =
        add(tree, "watch", "Writes what changes in a view while others change the library",
            runWatch, options);
    made->add_option("VIEW", options->view, "As \"mediaView\"")->required()->check(text);
    made->add_option("--group", options->groups, "Only this group of the view; may be repeated")
        ->type_name("GROUP")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->check(text);
    made->add_option("--changes", options->changes, "End after so many changes")
        ->type_name("N")
        ->check(CLI::Range(1, 1'000'000'000));
    made->add_flag("--initial", options->isInitialTold, "Write the rows that are there first");
}

}  // namespace

void addDoctorCommands(CommandTree tree) {
    const CLI::Validator text(notEmpty, "");
    addDump(tree, text);
    addEdges(tree, text);
    addFileCommands(tree, text);
    addWatch(tree, text);
}

}  // namespace qsml::app
