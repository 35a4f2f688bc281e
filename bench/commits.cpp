#include <random>

#include "Bench.h"
#include "FollowedLibrary.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"

namespace qsml::bench {
namespace {

/// One more play of one track per transaction: encode to durable. The list and the observer follow
/// each commit off its clock; OP.followed has both.
void commits(const Bench& bench, const std::string& op, YapDatabaseSynchronous synchronous,
             int count) {
    FollowedLibrary library(bench.file("one.qsml"), synchronous);
    std::mt19937_64 random(20260101);
    std::vector<double> took, followed;
    std::unordered_map<String, std::uint64_t> plays;
    for (int i = 0; i < count; ++i) {
        const auto& data = bench.data.userData[random() % bench.data.userData.size()];
        std::uint64_t& played = plays.try_emplace(data->uuid(), data->playCount()).first->second;
        const auto changed = data->copy();
        changed->setPlayCount(++played);
        took.push_back(timed([&] {
            library.commit([&](YapDatabaseReadWriteTransaction& transaction) {
                transaction.setObject(changed, changed->uuid(),
                                      PLXDatabaseCollectionMediaItemUserData);
            });
        }));
        followed.push_back(took.back() + timed([&] { library.follow(); }));
    }
    bench.report.latencies(op, took);
    bench.report.latencies(op + ".followed", followed);

    library.background().flushMemory();
    library.background().read([&](YapDatabaseReadTransaction& transaction) {
        for (const auto& [uuid, expected] : plays) {
            const auto stored = transaction.object<PLXMediaItemUserData>(
                uuid, PLXDatabaseCollectionMediaItemUserData);
            require(stored && stored->playCount() == expected, "a play was not stored");
        }
    });
}

}  // namespace

void measureCommits(const Bench& bench) {
    commits(bench, "commit.normal", YapDatabaseSynchronous::normal, 3000);
    commits(bench, "commit.full", YapDatabaseSynchronous::full, 500);
}

}  // namespace qsml::bench
