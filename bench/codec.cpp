#include <algorithm>

#include "Bench.h"
#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"

namespace qsml::bench {
namespace {

using Archives = std::vector<std::vector<std::uint8_t>>;

double medianRate(std::size_t items, const std::function<void()>& pass) {
    std::vector<double> rates;
    for (int round = 0; round < 3; ++round)
        rates.push_back(static_cast<double>(items) / timed(pass));
    return percentile(rates, 0.5);
}

Archives archivesOf(const DataSet& data, std::size_t count) {
    KeyedArchiver archiver;
    Archives archives;
    for (std::size_t i = 0; i < count; ++i) {
        const auto bytes = archiver.archive(*data.tracks[i]);
        require(!bytes.empty(), "a track could not be archived");
        archives.emplace_back(bytes.begin(), bytes.end());
    }
    return archives;
}

void measureEncodeOnly(const Bench& bench) {
    KeyedArchiver archiver;
    const std::vector<StoredRecord> records = bench.data.inImportOrder();
    std::size_t bytes = 0;
    const double took = timed([&] {
        for (const StoredRecord& stored : records) bytes += archiver.archive(*stored.record).size();
    });
    const auto n = static_cast<double>(bench.data.tracks.size());
    bench.report.figure("import.encode_only", "tracks/s", n / took);
    bench.report.figure("import.archive_bytes", "bytes", static_cast<double>(bytes) / n);
}

}  // namespace

void measureCodec(const Bench& bench) {
    const std::size_t count = std::min<std::size_t>(bench.data.tracks.size(), 20000);
    const Archives archives = archivesOf(bench.data, count);

    KeyedArchiver archiver;
    std::size_t written = 0;
    bench.report.figure("codec.encode", "items/s", medianRate(count, [&] {
                            for (std::size_t i = 0; i < count; ++i)
                                written += archiver.archive(*bench.data.tracks[i]).size();
                        }));

    KeyedUnarchiver unarchiver;
    std::size_t read = 0;
    bench.report.figure("codec.decode", "items/s", medianRate(count, [&] {
                            for (const auto& archive : archives)
                                read += unarchiver.unarchive(archive).isNil() ? 0u : 1u;
                        }));
    std::size_t titles = 0;
    const auto readTitle = [&](const std::vector<std::uint8_t>& archive) {
        const Value decoded = unarchiver.unarchive(archive);
        const auto* track = dynamic_cast<const PLXMediaItem*>(decoded.object().get());
        titles += track && track->title() ? 1u : 0u;
    };
    bench.report.figure("codec.decode_one_field", "items/s", medianRate(count, [&] {
                            for (const auto& archive : archives) readTitle(archive);
                        }));
    require(titles == 3 * count, "a decoded track has no title");
    require(written > 0 && read == 3 * count, "an archive did not decode");

    for (std::size_t i = 0; i < std::min<std::size_t>(count, 5000); ++i) {
        const Value decoded = unarchiver.unarchive(archives[i]);
        const auto again = archiver.archive(decoded);
        require(std::ranges::equal(again, archives[i]),
                "a decoded track does not encode to the same archive");
    }
    measureEncodeOnly(bench);
}

}  // namespace qsml::bench
