#include <QSMediaLibraryData/foundation/Date.h>
#include <QSMediaLibraryData/foundation/version.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <exception>
#include <functional>

#include "CommandFailure.h"
#include "CommandTree.h"
#include "commands.h"
#include "openLibrary.h"
#include "output.h"

namespace qsml::app {
namespace {

/// The command line as a tree, and the command that it named.
class CommandLine {
public:
    CommandLine() : app_("Keeps a DJ's media library in one file.", "qsml") {
        app_.set_version_flag("--version", QSMediaLibraryDataVersionString);
        app_.require_subcommand(1);
        app_.fallthrough();
        app_.add_option("--library", common_.library,
                        "The library file (default: $QSML_LIBRARY, else qsml/library.qsml in the "
                        "user's data folder)")
            ->type_name("FILE")
            ->check(CLI::Validator(notEmpty, ""));
        addImport();
        addTracks();
        addShow();
        command("stats", "Counts what the library holds", [this] { return runStats(common_); });
        command("check", "Verifies every record and index of the library",
                [this] { return runCheck(common_); });
        addArchive();
        command("tag-groups",
                "Lists the tag texts to choose from; a new library gets the default ones",
                [this] { return runTagGroups(common_); });
        addQueue();
        addHistory();
        addBrowsingCommands(tree());
        addUserDataCommands(tree());
        addPlaylistCommands(tree());
        addDoctorCommands(tree());
    }

    /// Throws CLI::ParseError.
    void parse(int count, char** arguments) { app_.parse(count, arguments); }
    int run() const { return run_(); }
    /// What --help and --version print.
    int exit(const CLI::ParseError& request) const { return app_.exit(request); }

private:
    CommandTree tree() { return {app_, common_, run_}; }

    static std::string isDeck(std::string& text) {
        return isWhole(text) ? std::string() : "\"" + text + "\" is no deck number";
    }
    static std::string isDate(std::string& text) {
        return dateFromISO8601(text) ? std::string() : "\"" + text + "\" is no ISO 8601 date";
    }

    CLI::App* command(const char* name, const char* description, std::function<int()> run) {
        return command(app_, name, description, std::move(run));
    }
    CLI::App* command(CLI::App& parent, const char* name, const char* description,
                      std::function<int()> run) {
        return tree().command(parent, name, description, std::move(run));
    }

    void addImport() {
        CLI::App* const made = command("import", "Brings audio files and folders into the library",
                                       [this] { return runImport(common_, import_); });
        made->add_option("PATH", import_.paths, "Files, and folders with all that is below them")
            ->required()
            ->check(CLI::Validator(notEmpty, ""));
        made->add_flag("--split", import_.tags.splitsNames,
                       "Split a text that names several artists or genres, at ; , / & feat. ft. "
                       "featuring vs.");
        made->add_option("--source", import_.store.originSourceID,
                         "Where new tracks come from, for \"qsml browse sources\"")
            ->type_name("NAME")
            ->check(CLI::Validator(notEmpty, ""));
        made->add_flag("--forget-missing", import_.store.forgetsMissing,
                       "Of the imported tracks, forget the places where no file is any more");
        made->add_option("--batch", import_.tracksPerCommit, "Tracks in one transaction")
            ->type_name("N")
            ->check(CLI::Range(1, 10000))
            ->capture_default_str();
    }

    void addTracks() {
        CLI::App* const made =
            command("tracks", "Lists the tracks", [this] { return runTracks(common_, tracks_); });
        const std::map<std::string, TrackOrder> orders = {
            {"title", TrackOrder::title}, {"artist", TrackOrder::artist},
            {"album", TrackOrder::album}, {"added", TrackOrder::added},
            {"bpm", TrackOrder::bpm},     {"duration", TrackOrder::duration}};
        made->add_option("--sort", tracks_.order, "title, artist, album, added, bpm or duration")
            ->type_name("ORDER")
            ->transform(CLI::CheckedTransformer(orders).description(""));
        made->add_option("--limit", tracks_.limit, "At most so many")
            ->type_name("N")
            ->check(CLI::NonNegativeNumber);
        made->add_option("--offset", tracks_.offset, "Leave out so many first")
            ->type_name("N")
            ->check(CLI::NonNegativeNumber);
    }

    void addShow() {
        CLI::App* const made = command("show", "Shows all that is known of one track",
                                       [this] { return runShow(common_, argument_); });
        made->add_option("ID", argument_, "An ID, the start of one, or a title")
            ->required()
            ->check(CLI::Validator(notEmpty, ""));
    }

    void addArchive() {
        CLI::App* const made = command("archive", "Shows what a stored record's archive holds",
                                       [this] { return runArchive(common_, argument_); });
        made->add_option("FILE", argument_, "The archive's bytes; - reads standard input")
            ->required();
    }

    void addQueue() {
        CLI::App& queue = tree().group("queue", "The titles that are lined up to play next");
        const CLI::Validator position(isPosition, "");
        command(queue, "list", "Lists the queue", [this] { return runQueueList(common_); });
        CLI::App* made = command(queue, "add", "Puts tracks into the queue",
                                 [this] { return runQueueAdd(common_, queue_); });
        made->add_option("TRACK", queue_.tracks, "IDs, starts of IDs, or titles")
            ->required()
            ->check(CLI::Validator(notEmpty, ""));
        made->add_option("--at", queue_.at, "Where the first is to stand (default: at the end)")
            ->type_name("POSITION")
            ->check(position);
        made = command(queue, "move", "Gives an entry another position",
                       [this] { return runQueueMove(common_, queue_); });
        made->add_option("FROM", queue_.from, "Where it stands")->required()->check(position);
        made->add_option("TO", queue_.to, "Where it is to stand")->required()->check(position);
        made = command(queue, "remove", "Takes entries out of the queue",
                       [this] { return runQueueRemove(common_, queue_); });
        made->add_option("POSITION", queue_.positions, "Where they stand")
            ->required()
            ->check(position);
        command(queue, "clear", "Takes all entries out", [this] { return runQueueClear(common_); });
    }

    void addHistory() {
        CLI::App& history = tree().group("history", "What was played, by session");
        command(history, "start", "Opens a session, and ends the one that is open",
                [this] { return runHistoryStart(common_); });
        CLI::App* made = command(history, "add", "Records a title as played in the open session",
                                 [this] { return runHistoryAdd(common_, history_); });
        made->add_option("TRACK", history_.track, "An ID, the start of one, or a title")
            ->required()
            ->check(CLI::Validator(notEmpty, ""));
        made->add_option("--deck", history_.deck, "The deck on which it was started")
            ->type_name("N")
            ->check(CLI::Validator(isDeck, ""))
            ->capture_default_str();
        made->add_option("--time", history_.time, "When it was started, ISO 8601 (default: now)")
            ->type_name("DATE")
            ->check(CLI::Validator(isDate, ""));
        command(history, "end", "Ends the open session", [this] { return runHistoryEnd(common_); });
        command(history, "list", "Lists the sessions, newest first",
                [this] { return runHistoryList(common_); });
        made = command(history, "show", "Shows what was played in a session",
                       [this] { return runHistoryShow(common_, history_); });
        made->add_option("SESSION", history_.session,
                         "Its ID or the start of it (default: the newest)");
    }

    CLI::App app_;
    CommonOptions common_;
    ImportOptions import_;
    TracksOptions tracks_;
    QueueOptions queue_;
    HistoryOptions history_;
    std::string argument_;
    std::function<int()> run_;
};

enum ExitStatus { failed = 1, wrongUsage = 2 };

int run(const CommandLine& line) {
    int status = failed;
    try {
        status = line.run();
        flushOutput();
    } catch (const std::exception& exception) {
        std::fflush(stdout);
        complain(exception.what());
        status = failed;
    }
    settleLibrary();
    return status;
}

/// The whole program; answers its exit status.
int runProgram(int count, char** arguments) {
    // A reader that has seen enough (`| head`) ends us quietly; a file that may not grow is an
    // error.
    std::signal(SIGPIPE, SIG_DFL);
    std::signal(SIGXFSZ, SIG_IGN);
    CommandLine line;
    try {
        line.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return line.exit(error);
        complain(std::string(error.what()) + "; see \"qsml --help\"");
        return wrongUsage;
    }
    return run(line);
}

}  // namespace
}  // namespace qsml::app

int main(int count, char** arguments) { return qsml::app::runProgram(count, arguments); }
