#include <random>

#include "Bench.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"

namespace qsml::bench {
namespace {

/// One track changed per transaction, encode to durable.
void commits(const Bench& bench, std::string_view op, YapDatabaseSynchronous synchronous,
             int count) {
    auto manager = openLibrary(bench.file("one.qsml"), synchronous);
    auto& connection = *manager->bgDatabaseConnection();
    std::mt19937_64 random(20260101);
    std::vector<double> took;
    for (int i = 0; i < count; ++i) {
        const auto& track = bench.data.tracks[random() % bench.data.tracks.size()];
        const auto changed = track->copy();
        changed->setYear(track->year() + 1 + i);
        took.push_back(timed([&] {
            require(connection.readWrite([&](YapDatabaseReadWriteTransaction& transaction) {
                transaction.setObject(changed, changed->uuid(), PLXDatabaseCollectionMediaItems);
            }),
                    "a commit failed");
        }));
    }
    bench.report.latencies(op, took);
}

}  // namespace

void measureCommits(const Bench& bench) {
    commits(bench, "commit.normal", YapDatabaseSynchronous::normal, 3000);
    commits(bench, "commit.full", YapDatabaseSynchronous::full, 500);
}

}  // namespace qsml::bench
