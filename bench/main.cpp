// qsml_bench --data FILE.tsv --dir WORKDIR [--quick] [--only JOB,...]: whole jobs on a generated
// library, one JSON line per figure on standard output. It checks its own results and exits with 2
// where one is wrong. --quick leaves out the import in batches; --only does the named jobs and the
// import, which they need.
//
// The library is the whole one: every extension is registered, a list of all tracks by title is
// open and one observer watches the tracks. Where a figure is of storing alone (import, commit,
// cascade), the list follows each commit off its clock, and OP.followed is both together; a session
// and a notification include the list.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "Bench.h"
#include "foundation/Error.h"

namespace qsml::bench {

void require(bool holds, std::string_view message) {
    if (holds) return;
    std::cerr << "qsml_bench: " << message << "\n";
    std::exit(2);
}

std::unique_ptr<PLXDatabaseManager> openLibrary(const std::string& path,
                                                YapDatabaseSynchronous synchronous) {
    auto manager = std::make_unique<PLXDatabaseManager>();
    YapDatabaseOptions options;
    options.synchronous = synchronous;
    options.pageCacheBytes = 64u << 20;  // as the anchors have it
    manager->setDatabaseOptions(options);
    Error error;
    require(manager->setupDatabaseWithFileURL(URL::fileURLWithPath(path), &error),
            error.description);
    return manager;
}

void evict(const std::string& path) {
    for (const auto* suffix : {"", "-wal", "-shm"}) {
        const int file = ::open((path + suffix).c_str(), O_RDONLY | O_CLOEXEC);
        if (file < 0) continue;
        ::fdatasync(file);
        ::posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED);
        ::close(file);
    }
}

namespace {

struct Job {
    std::string_view name;
    void (*measure)(const Bench&);
};

constexpr Job jobs[] = {{"codec", measureCodec},     {"import", measureImport},
                        {"opening", measureOpening}, {"reads", measureReads},
                        {"lists", measureLists},     {"search", measureSearch},
                        {"rebuild", measureRebuild}, {"notify", measureNotifications},
                        {"session", measureSession}, {"commits", measureCommits},
                        {"cascade", measureCascade}, {"list-edits", measureListEdits}};

bool isWanted(std::string_view job, const std::string& only) {
    return only.empty() || job == "import" ||
           ("," + only + ",").find("," + std::string(job) + ",") != std::string::npos;
}

}  // namespace
}  // namespace qsml::bench

int main(int count, char** arguments) {
    using namespace qsml::bench;
    std::string data, directory, only;
    bool quick = false;
    for (int i = 1; i < count; ++i) {
        const std::string_view argument = arguments[i];
        if (argument == "--data" && i + 1 < count)
            data = arguments[++i];
        else if (argument == "--dir" && i + 1 < count)
            directory = arguments[++i];
        else if (argument == "--only" && i + 1 < count)
            only = arguments[++i];
        else if (argument == "--quick")
            quick = true;
        else
            data.clear();
    }
    if (data.empty() || directory.empty()) {
        std::cerr << "usage: qsml_bench --data FILE.tsv --dir WORKDIR [--quick] [--only JOB,...]\n";
        return 2;
    }
    directory += "/qsml_bench";
    std::filesystem::remove_all(directory);
    std::filesystem::create_directories(directory);

    qsml::MainQueue::setManual();  // this thread is the one of the user interface
    const DataSet set = DataSet::load(data);
    const Report report(set.tracks.size());
    const Bench bench{set, report, directory, quick};
    for (const Job& job : jobs)
        if (isWanted(job.name, only)) job.measure(bench);
    std::filesystem::remove_all(directory);
    return 0;
}
