#include <random>

#include "Bench.h"
#include "FollowedLibrary.h"
#include "store/YapDatabaseConnection.h"

namespace qsml::bench {
namespace {

/// The list of all tracks by localised title, on the user interface's connection.
class TitleList {
public:
    explicit TitleList(const Bench& bench)
        : bench_(bench), library_(bench.file("one.qsml"), YapDatabaseSynchronous::normal) {}

    void measureScreens();
    void measureCount();
    void measurePlaces();

private:
    template <class Ask>
    void ask(Ask&& question) {
        library_.interface().read([&](YapDatabaseReadTransaction& transaction) {
            question(viewOf(transaction, PLXDatabaseExtensionMediaView));
        });
    }
    std::size_t screen() const { return std::min<std::size_t>(50, bench_.trackCount()); }
    /// Microseconds, the median of so many.
    template <class Work>
    double median(int times, const Work& work);
    void decodeScreen();

    const Bench& bench_;
    FollowedLibrary library_;
};

template <class Work>
double TitleList::median(int times, const Work& work) {
    std::vector<double> samples;
    for (int i = 0; i < times; ++i) samples.push_back(timed(work));
    return percentile(samples, 0.5) * 1e6;
}

void TitleList::decodeScreen() {
    ask([&](YapDatabaseViewTransaction& view) {
        std::size_t decoded = 0;
        const auto count = [&](std::string_view, std::string_view, const Value& object,
                               std::uint64_t, bool&) { decoded += object.isNil() ? 0u : 1u; };
        view.enumerateKeysAndObjectsInGroup(tracksGroup, count, {.first = 0, .length = 50});
        require(decoded == screen(), "rows of the first screen did not decode");
    });
}

void TitleList::measureScreens() {
    const auto firstRows = [&] {
        ask([&](YapDatabaseViewTransaction& view) {
            std::uint64_t rows = 0;
            while (rows < 50 && view.rowidAtIndex(rows, tracksGroup)) ++rows;
            require(rows == screen(), "the first rows are missing");
        });
    };
    bench_.report.figure("list.open50", "us", median(200, firstRows));
    std::vector<double> cold;
    for (int i = 0; i < 50; ++i) {
        library_.interface().flushMemory();
        cold.push_back(timed([&] { decodeScreen(); }));
    }
    bench_.report.figure("list.open50.cold", "us", percentile(cold, 0.5) * 1e6);
    bench_.report.figure("list.open50.cached", "us", median(200, [&] { decodeScreen(); }));
}

void TitleList::measureCount() {
    bench_.report.figure("list.count", "us", median(1000, [&] {
                             ask([&](YapDatabaseViewTransaction& view) {
                                 require(
                                     view.numberOfItemsInGroup(tracksGroup) == bench_.trackCount(),
                                     "the list does not hold every track");
                             });
                         }));
}

/// Each question a hundred thousand times, in one transaction; the second round counts.
void TitleList::measurePlaces() {
    constexpr std::size_t times = 100000;
    std::mt19937_64 random(20260101);
    std::vector<std::uint64_t> picks(times);
    for (auto& pick : picks) pick = random() % bench_.trackCount();
    std::vector<std::int64_t> rowids(times);
    const auto mean = [&](std::string_view op, const auto& question) {
        double took = 0;
        ask([&](YapDatabaseViewTransaction& view) {
            for (int round = 0; round < 2; ++round)
                took = timed([&] {
                    for (std::size_t i = 0; i < times; ++i) question(view, i);
                });
        });
        bench_.report.figure(op, "us", took / static_cast<double>(times) * 1e6);
    };
    mean("list.row_at", [&](YapDatabaseViewTransaction& view, std::size_t i) {
        rowids[i] = view.rowidAtIndex(picks[i], tracksGroup).value_or(0);
    });
    mean("list.rank_of.rowid", [&](YapDatabaseViewTransaction& view, std::size_t i) {
        const auto place = view.placeOfRow(rowids[i]);
        require(place && place->index == picks[i], "a row stands elsewhere than it was found");
    });
    mean("list.rank_of", [&](YapDatabaseViewTransaction& view, std::size_t i) {
        const auto& track = bench_.data.tracks[picks[i]];
        const auto place = view.groupAndIndexForKey(track->uuid(), PLXDatabaseCollectionMediaItems);
        require(place.has_value(), "a track is not in the list");
    });
}

}  // namespace

void measureLists(const Bench& bench) {
    TitleList list(bench);
    list.measureScreens();
    list.measureCount();
    list.measurePlaces();
}

}  // namespace qsml::bench
