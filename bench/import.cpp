#include <filesystem>

#include "Bench.h"
#include "FollowedLibrary.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"

namespace qsml::bench {
namespace {

/// Storing freezes a record, so every import writes copies of its own.
std::vector<StoredRecord> copiesOf(const DataSet& data) {
    std::vector<StoredRecord> records = data.inImportOrder();
    for (StoredRecord& stored : records)
        stored.record =
            std::static_pointer_cast<const PLXDatabaseObject>(stored.record->copyObject());
    return records;
}

/// Stores the units, so many a transaction; the list follows each commit off the clock of the
/// import. Answers the seconds that the storing took and those that the list took.
std::pair<double, double> store(const std::vector<StoredRecord>& records, std::size_t batch,
                                FollowedLibrary& library) {
    double storing = 0, following = 0;
    for (auto next = records.begin(); next != records.end();) {
        storing += timed([&] {
            library.commit([&](YapDatabaseReadWriteTransaction& transaction) {
                for (std::size_t units = 0; next != records.end() && units < batch; ++next) {
                    const bool isSet =
                        transaction.setObject(next->record, next->record->uuid(), next->collection);
                    require(isSet, "a record was refused");
                    units += next->endsUnit ? 1u : 0u;
                }
            });
        });
        following += timed([&] { library.follow(); });
    }
    storing += timed(
        [&] { require(library.manager().database()->checkpoint(), "the checkpoint failed"); });
    return {storing, following};
}

void requireWhole(const Bench& bench, const std::vector<StoredRecord>& records,
                  FollowedLibrary& library) {
    std::uint64_t rows = 0;
    library.background().read(
        [&](auto& transaction) { rows = transaction.numberOfKeysInAllCollections(); });
    require(rows == records.size(), "the import lost or doubled rows");
    require(library.list().mappings().numberOfItemsInAllGroups() == bench.trackCount(),
            "the list of all tracks does not hold them");
    require(library.observed() == bench.trackCount(), "the observer was not told of every track");
}

/// A commit after every `batch` units.
void import(const Bench& bench, std::string_view op, const std::string& path, std::size_t batch) {
    const std::vector<StoredRecord> records = copiesOf(bench.data);
    FollowedLibrary library(path, YapDatabaseSynchronous::normal);
    // An import writes every record once and reads none: what it wrote need not stay in memory.
    library.background().setObjectCacheEnabled(false);
    const auto [storing, following] = store(records, batch, library);
    const auto n = static_cast<double>(bench.trackCount());
    bench.report.figure(op, "tracks/s", n / storing);
    bench.report.figure(std::string(op) + ".followed", "tracks/s", n / (storing + following));
    requireWhole(bench, records, library);
}

/// Of the file and what SQLite keeps beside it.
double bytesOnDisk(const std::string& path) {
    double bytes = 0;
    for (const auto* suffix : {"", "-wal", "-shm"})
        if (std::filesystem::exists(path + suffix))
            bytes += static_cast<double>(std::filesystem::file_size(path + suffix));
    return bytes;
}

}  // namespace

void measureImport(const Bench& bench) {
    if (!bench.quick) {
        import(bench, "import.batch500", bench.file("batch.qsml"), 500);
        std::filesystem::remove(bench.file("batch.qsml"));
    }
    const std::string path = bench.file("one.qsml");
    import(bench, "import.one_txn", path, std::numeric_limits<std::size_t>::max());
    bench.report.figure("file.per_track", "bytes",
                        bytesOnDisk(path) / static_cast<double>(bench.trackCount()));
}

}  // namespace qsml::bench
