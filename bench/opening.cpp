#include "Bench.h"
#include "FollowedLibrary.h"
#include "store/YapDatabaseConnection.h"

namespace qsml::bench {
namespace {

/// Until the first screen of the list of all tracks is known.
void openToFirstScreen(const Bench& bench, const std::string& path) {
    const auto manager = openLibrary(path, YapDatabaseSynchronous::normal);
    std::size_t rows = 0;
    manager->uiDatabaseConnection()->read([&](YapDatabaseReadTransaction& transaction) {
        auto& view = viewOf(transaction, PLXDatabaseExtensionMediaView);
        while (rows < 50 && view.rowidAtIndex(rows, tracksGroup)) ++rows;
    });
    require(rows == std::min<std::size_t>(50, bench.trackCount()), "the first rows are missing");
}

/// Until one track was read.
void openToFirstTrack(const Bench& bench, const std::string& path) {
    const auto manager = openLibrary(path, YapDatabaseSynchronous::normal);
    bool isFound = false;
    manager->bgDatabaseConnection()->read([&](YapDatabaseReadTransaction& transaction) {
        isFound = transaction.object<PLXMediaItem>(bench.data.tracks[0]->uuid(),
                                                   PLXDatabaseCollectionMediaItems) != nullptr;
    });
    require(isFound, "a track is missing after opening");
}

template <class Open>
void measure(const Bench& bench, std::string_view warm, std::string_view cold, Open open) {
    const std::string path = bench.file("one.qsml");
    const auto milliseconds = [&] { return timed([&] { open(bench, path); }) * 1e3; };
    evict(path);
    bench.report.figure(cold, "ms", milliseconds());
    std::vector<double> samples;
    for (int i = 0; i < 5; ++i) samples.push_back(milliseconds());
    bench.report.figure(warm, "ms", percentile(samples, 0.5));
}

}  // namespace

void measureOpening(const Bench& bench) {
    measure(bench, "open.all", "open.all.cold", openToFirstScreen);
    measure(bench, "open.warm", "open.cold", openToFirstTrack);
}

}  // namespace qsml::bench
