#pragma once
#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <utility>

#include "commands.h"

namespace qsml::app {

/// The command line while it is put together: commands, and groups of commands. Of those that were
/// added the one that is named sets `run`.
struct CommandTree {
    CLI::App& app;
    CommonOptions& common;
    std::function<int()>& run;

    CLI::App* command(CLI::App& parent, const char* name, const char* description,
                      std::function<int()> runCommand) {
        CLI::App* const made = parent.add_subcommand(name, description);
        made->add_flag("--json", common.asJSON, "Write one JSON object a line");
        made->callback([&run = run, runCommand = std::move(runCommand)] { run = runCommand; });
        return made;
    }
    CLI::App& group(const char* name, const char* description) {
        CLI::App* const made = app.add_subcommand(name, description);
        made->require_subcommand(1);
        made->fallthrough();
        return *made;
    }
};

// What options refuse, with the reason; empty for what is taken.

inline std::string notEmpty(std::string& text) {
    return text.empty() ? "the name is empty" : std::string();
}
inline bool isWhole(const std::string& text) {
    constexpr std::size_t mostDigits = 9;
    return !text.empty() && text.size() <= mostDigits &&
           text.find_first_not_of("0123456789") == text.npos;
}
inline std::string isPosition(std::string& text) {
    const bool isOne = isWhole(text) && text.find_first_not_of('0') != text.npos;
    return isOne ? std::string() : "\"" + text + "\" is no position; the first is 1";
}

/// search, browse, locate, remove.
void addBrowsingCommands(CommandTree tree);
/// cue, loop, rate, energy, bpm, key, tag, played.
void addUserDataCommands(CommandTree tree);
/// playlist tree|create|rename|move|delete|add|insert|reorder|remove|show.
void addPlaylistCommands(CommandTree tree);
/// dump, edges, repair, compact, backup, watch.
void addDoctorCommands(CommandTree tree);

}  // namespace qsml::app
