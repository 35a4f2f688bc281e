#include <filesystem>

#include "Bench.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"

namespace qsml::bench {
namespace {

using Copies = std::pair<std::vector<std::pair<std::string_view, std::shared_ptr<PLXMediaEntity>>>,
                         std::vector<std::shared_ptr<PLXMediaItem>>>;

/// Storing freezes a record, so every import writes copies of its own.
Copies copiesOf(const DataSet& data) {
    Copies copies;
    for (const auto& [collection, entity] : data.entities)
        copies.first.emplace_back(collection,
                                  std::static_pointer_cast<PLXMediaEntity>(entity->copyObject()));
    for (const auto& track : data.tracks) copies.second.push_back(track->copy());
    return copies;
}

void storeTrack(const std::shared_ptr<PLXMediaItem>& track,
                YapDatabaseReadWriteTransaction& transaction) {
    transaction.setObject(track->titleID().get(), track->uuid(),
                          PLXDatabaseCollectionMediaItemTitleIDs);
    transaction.setObject(track, track->uuid(), PLXDatabaseCollectionMediaItems);
}

/// A commit after every `batch` tracks.
void import(const Bench& bench, std::string_view op, const std::string& path, std::size_t batch) {
    const Copies copies = copiesOf(bench.data);
    const auto& [entities, tracks] = copies;
    auto manager = openLibrary(path, YapDatabaseSynchronous::normal);
    auto& connection = *manager->bgDatabaseConnection();
    // An import writes every record once and reads none: what it wrote need not stay in memory.
    connection.setObjectCacheEnabled(false);

    const double took = timed([&] {
        for (std::size_t next = 0; next < tracks.size();) {
            const bool stored =
                connection.readWrite([&](YapDatabaseReadWriteTransaction& transaction) {
                    if (next == 0)
                        for (const auto& [collection, entity] : entities)
                            transaction.setObject(entity, entity->uuid(), collection);
                    const std::size_t end = std::min(tracks.size(), next + batch);
                    while (next < end) storeTrack(tracks[next++], transaction);
                });
            require(stored, "an import transaction failed");
        }
        require(manager->database()->checkpoint(), "the checkpoint failed");
    });
    bench.report.figure(op, "tracks/s", static_cast<double>(tracks.size()) / took);

    std::uint64_t rows = 0;
    connection.read([&](auto& transaction) { rows = transaction.numberOfKeysInAllCollections(); });
    require(rows == entities.size() + 2 * tracks.size(), "the import lost or doubled rows");
}

}  // namespace

void measureImport(const Bench& bench) {
    if (!bench.quick) {
        import(bench, "import.batch500", bench.file("batch.qsml"), 500);
        std::filesystem::remove(bench.file("batch.qsml"));
    }
    const std::string path = bench.file("one.qsml");
    import(bench, "import.one_txn", path, bench.data.tracks.size());
    bench.report.figure("file.per_track", "bytes",
                        static_cast<double>(std::filesystem::file_size(path)) /
                            static_cast<double>(bench.data.tracks.size()));
}

}  // namespace qsml::bench
