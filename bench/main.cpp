// qsml_bench --data FILE.tsv --dir WORKDIR [--quick]: whole jobs on a generated library, one JSON
// line per figure on standard output. It checks its own results and exits with 2 where one is
// wrong.
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

}  // namespace qsml::bench

int main(int count, char** arguments) {
    using namespace qsml::bench;
    std::string data, directory;
    bool quick = false;
    for (int i = 1; i < count; ++i) {
        const std::string_view argument = arguments[i];
        if (argument == "--data" && i + 1 < count)
            data = arguments[++i];
        else if (argument == "--dir" && i + 1 < count)
            directory = arguments[++i];
        else if (argument == "--quick")
            quick = true;
        else
            data.clear();
    }
    if (data.empty() || directory.empty()) {
        std::cerr << "usage: qsml_bench --data FILE.tsv --dir WORKDIR [--quick]\n";
        return 2;
    }
    directory += "/qsml_bench";
    std::filesystem::remove_all(directory);
    std::filesystem::create_directories(directory);

    const DataSet set = DataSet::load(data);
    const Report report(set.tracks.size());
    const Bench bench{set, report, directory, quick};
    measureCodec(bench);
    measureImport(bench);
    measureReads(bench);
    measureCommits(bench);
    std::filesystem::remove_all(directory);
    return 0;
}
