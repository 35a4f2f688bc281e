#include <malloc.h>

#include <random>

#include "Bench.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"

namespace qsml::bench {
namespace {

void measureGet(const Bench& bench, YapDatabaseConnection& connection, std::string_view op,
                bool cached) {
    const std::size_t n = bench.data.tracks.size();
    const std::size_t reads = std::min<std::size_t>(200000, 4 * n);
    std::mt19937_64 random(20260101);
    std::vector<std::size_t> picks(reads);
    for (auto& pick : picks) pick = random() % n;
    connection.setObjectCacheEnabled(cached);
    const auto pass = [&] {
        connection.read([&](YapDatabaseReadTransaction& transaction) {
            for (const std::size_t pick : picks)
                require(!transaction
                             .objectForKey(bench.data.tracks[pick]->uuid(),
                                           PLXDatabaseCollectionMediaItems)
                             .isNil(),
                        "a track is missing");
        });
    };
    pass();
    bench.report.figure(op, "us", timed(pass) / static_cast<double>(reads) * 1e6);
}

/// Single reads of a library that is not in the page cache.
void measureColdGet(const Bench& bench, const std::string& path) {
    evict(path);
    const auto manager = openLibrary(path, YapDatabaseSynchronous::normal);
    std::mt19937_64 random(20260101);
    std::vector<double> samples;
    for (int i = 0; i < 300; ++i) {
        const String& uuid = bench.data.tracks[random() % bench.trackCount()]->uuid();
        bool isFound = false;
        samples.push_back(timed([&] {
            manager->bgDatabaseConnection()->read([&](YapDatabaseReadTransaction& transaction) {
                isFound = transaction.object<PLXMediaItem>(uuid, PLXDatabaseCollectionMediaItems) !=
                          nullptr;
            });
        }));
        require(isFound, "a track is missing");
    }
    bench.report.latencies("get.cold.ka", samples);
}

std::size_t scan(YapDatabaseConnection& connection, std::vector<Value>* kept) {
    std::size_t found = 0;
    connection.read([&](YapDatabaseReadTransaction& transaction) {
        transaction.enumerateKeysAndObjectsInCollection(
            PLXDatabaseCollectionMediaItems, [&](std::string_view, const Value& object, bool&) {
                found += object.isNil() ? 0u : 1u;
                if (kept) kept->push_back(object);
            });
    });
    return found;
}

void measureScan(const Bench& bench, YapDatabaseConnection& connection) {
    const std::size_t n = bench.data.tracks.size();
    connection.setObjectCacheEnabled(false);
    std::vector<double> rates;
    for (int round = 0; round < 3; ++round)
        rates.push_back(static_cast<double>(n) / timed([&] {
                            require(scan(connection, nullptr) == n, "a scan missed tracks");
                        }));
    bench.report.figure("scan.decode.ka", "items/s", percentile(rates, 0.5));
}

/// Heap bytes per track when every media item is held decoded.
void measureMemory(const Bench& bench, YapDatabaseConnection& connection) {
    const auto used = [] {
        const auto info = ::mallinfo2();
        return static_cast<double>(info.uordblks + info.hblkhd);
    };
    const double before = used();
    std::vector<Value> kept;
    kept.reserve(bench.data.tracks.size());
    scan(connection, &kept);
    bench.report.figure("mem.per_track", "bytes",
                        (used() - before) / static_cast<double>(bench.data.tracks.size()));
}

}  // namespace

void measureReads(const Bench& bench) {
    const std::string path = bench.file("one.qsml");
    measureColdGet(bench, path);
    auto manager = openLibrary(path, YapDatabaseSynchronous::normal);
    auto& connection = *manager->bgDatabaseConnection();
    measureScan(bench, connection);
    measureMemory(bench, connection);
    measureGet(bench, connection, "get.hot.ka", false);
    measureGet(bench, connection, "get.hot.cached", true);
}

}  // namespace qsml::bench
