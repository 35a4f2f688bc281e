#include <charconv>
#include <cmath>
#include <memory>

#include "CommandTree.h"
#include "userDataCommands.h"

namespace qsml::app {

namespace {

CLI::App* withTrack(CLI::App* command, std::string& track) {
    command->add_option("TRACK", track, "An ID, the start of one, or a title")
        ->required()
        ->check(CLI::Validator(notEmpty, ""));
    return command;
}

/// Seconds as the record keeps them: finite and not before the start.
std::string isTime(std::string& text) {
    float time = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, time);
    const bool isOne =
        failure == std::errc() && stop == end && std::isfinite(time) && !text.starts_with('-');
    return isOne ? std::string() : "\"" + text + "\" is no time in seconds";
}

std::string isNumber(std::string& text) {
    return isWhole(text) ? std::string() : "\"" + text + "\" is no number of a cue or loop";
}

/// Others may have stored any number, also one below 0.
std::string isStoredNumber(std::string& text) {
    std::int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number);
    return failure == std::errc() && stop == end ? std::string()
                                                 : "\"" + text + "\" is no number of a cue or loop";
}

/// The four commands of a kind of mark.
struct MarkCommands {
    const char* name;
    const char* description;
    const char* plural;
    int (*add)(const CommonOptions&, const MarkOptions&);
    int (*list)(const CommonOptions&, const MarkOptions&);
    int (*remove)(const CommonOptions&, const MarkOptions&);
    int (*clear)(const CommonOptions&, const MarkOptions&);
};

void addTimes(CLI::App* add, MarkOptions& options, bool isLoop) {
    const CLI::Validator time(isTime, "");
    add->add_option(isLoop ? "--start" : "--time", options.time, "Where it stands, in seconds")
        ->type_name("SECONDS")
        ->required()
        ->check(time);
    if (isLoop)
        add->add_option("--end", options.endTime, "Where it ends, in seconds")
            ->type_name("SECONDS")
            ->required()
            ->check(time);
}

void addMarks(CommandTree tree, const MarkCommands& commands, bool isLoop) {
    const auto options = std::make_shared<MarkOptions>();
    CLI::App& group = tree.group(commands.name, commands.description);
    const auto command = [&](const char* name, const std::string& description, const auto& run) {
        CLI::App* const made =
            tree.command(group, name, description.c_str(),
                         [&common = tree.common, options, run] { return run(common, *options); });
        return withTrack(made, options->track);
    };
    const std::string plural = commands.plural;
    CLI::App* made = command("add", std::string("Sets a ") + commands.name, commands.add);
    made->add_option("--number", options->number, "Its slot (default: the first free one)")
        ->type_name("N")
        ->check(CLI::Validator(isNumber, ""));
    addTimes(made, *options, isLoop);
    made->add_option("--comment", options->comment, "A label")->type_name("TEXT");
    made->add_flag("--replace", options->replaces, "Overwrite what has that number");
    command("list", "Lists the " + plural + " of a track", commands.list);
    made = command("remove", "Removes some " + plural, commands.remove);
    made->add_option("NUMBER", options->numbers, "Their slots")
        ->required()
        ->check(CLI::Validator(isStoredNumber, ""));
    command("clear", "Removes all " + plural + " of a track", commands.clear);
}

void addSetting(CommandTree tree, const char* name, const char* description, const char* value,
                int (*run)(const CommonOptions&, const SettingOptions&)) {
    const auto options = std::make_shared<SettingOptions>();
    CLI::App* const made =
        tree.command(tree.app, name, description,
                     [&common = tree.common, options, run] { return run(common, *options); });
    withTrack(made, options->track);
    made->add_option("VALUE", options->value, value)->check(CLI::Validator(notEmpty, ""));
    made->add_flag("--clear", options->clears, "Unset it");
}

void addTags(CommandTree tree) {
    const auto options = std::make_shared<TagOptionsOfTrack>();
    CLI::App& group = tree.group("tag", "Tags of a track");
    const auto command = [&](const char* name, const char* description, const auto& run) {
        CLI::App* const made =
            tree.command(group, name, description,
                         [&common = tree.common, options, run] { return run(common, *options); });
        return withTrack(made, options->track);
    };
    CLI::App* made = command("add", "Tags a track", runTagAdd);
    made->add_option("TAG", options->tags,
                     "Texts; one that a tag group has is taken as it is there")
        ->required();
    made->add_option("--group", options->group, "Take only texts of this tag group")
        ->type_name("NAME")
        ->check(CLI::Validator(notEmpty, ""));
    made = command("remove", "Takes tags off a track", runTagRemove);
    made->add_option("TAG", options->tags, "Their texts")->required();
    command("list", "Lists the tags of a track", runTagList);
}

}  // namespace

void addUserDataCommands(CommandTree tree) {
    addMarks(tree,
             {"cue", "Cue points of a track", "cue points", runCueAdd, runCueList, runCueRemove,
              runCueClear},
             false);
    addMarks(tree,
             {"loop", "Saved loops of a track", "loops", runLoopAdd, runLoopList, runLoopRemove,
              runLoopClear},
             true);
    addSetting(tree, "rate", "Shows or sets the rating of a track",
               "A whole number above 0 (default: show it)", runRate);
    addSetting(tree, "energy", "Shows or sets the energy of a track",
               "A whole number above 0 (default: show it)", runEnergy);
    addSetting(tree, "bpm", "Shows or sets the tempo that goes over the analysed one",
               "Beats per minute (default: show it)", runBPM);
    addSetting(tree, "key", "Shows or sets the musical key that goes over the analysed one",
               "A name as Am, F#, 8A or 1m, or an index (default: show it)", runKey);
    addTags(tree);
    const auto track = std::make_shared<std::string>();
    withTrack(tree.command(tree.app, "played", "Counts that a track was played once more",
                           [&common = tree.common, track] { return runPlayed(common, *track); }),
              *track);
}

}  // namespace qsml::app
