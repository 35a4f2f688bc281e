// What a sorted list costs a write: texts as rows, written with and without a view on them. The
// rows are next to nothing, so that the difference is the view.
#include <random>

#include "Bench.h"
#include "FollowedLibrary.h"
#include "foundation/collation.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "store/views/YapDatabaseAutoView.h"

namespace qsml::bench {
namespace {

constexpr std::size_t edits = 5000;
constexpr std::string_view titles = "titles";

YapDatabaseObjectCallbacks textCallbacks() {
    YapDatabaseObjectCallbacks callbacks;
    callbacks.serializer = [](std::string_view, std::string_view, const Value& object, Error*) {
        thread_local std::vector<std::uint8_t> bytes;
        const std::string_view text = object.string();
        bytes.assign(text.begin(), text.end());
        return std::span<const std::uint8_t>(bytes);
    };
    callbacks.deserializer = [](std::string_view, std::string_view,
                                std::span<const std::uint8_t> bytes) {
        return Value(String(std::string(bytes.begin(), bytes.end())));
    };
    return callbacks;
}

std::shared_ptr<YapDatabaseAutoView> titleView() {
    YapDatabaseViewSorting sorting;
    sorting.sortKey = [](YapDatabaseReadTransaction&, std::string_view, const YapDatabaseRow& row) {
        return localizedCaseInsensitiveSortKey(row.object.string());
    };
    sorting.identity = collationIdentity();
    return std::make_shared<YapDatabaseAutoView>(
        [](YapDatabaseReadTransaction&, const YapDatabaseRow&) { return String(tracksGroup); },
        sorting, "1");
}

struct TitleEdit {
    String key;
    Value title;
};

/// Titles of tracks, a little changed: under new keys, or under those of other tracks.
std::vector<TitleEdit> titleEdits(const DataSet& data, bool isNew) {
    std::mt19937_64 random(20260101);
    std::vector<TitleEdit> made;
    for (std::size_t i = 0; i < edits; ++i) {
        const auto& track = data.tracks[random() % data.tracks.size()];
        const auto& place = data.tracks[random() % data.tracks.size()];
        made.push_back({isNew ? String("new " + std::to_string(i)) : place->uuid(),
                        Value(String(track->title().str() + "x"))});
    }
    return made;
}

/// Seconds of one edit in a transaction that is rolled back, the median of five; a view has worked
/// when it was asked.
double secondsAnEdit(YapDatabaseConnection& connection, const std::vector<TitleEdit>& all) {
    std::vector<double> samples;
    for (int round = 0; round < 5; ++round)
        connection.readWrite([&](YapDatabaseReadWriteTransaction& transaction) {
            samples.push_back(timed([&] {
                for (const TitleEdit& edit : all)
                    require(transaction.setObject(edit.title, edit.key, titles),
                            "a title was refused");
                auto* const view = transaction.ext<YapDatabaseViewTransaction>(titles);
                if (view) require(!view->isEmptyGroup(tracksGroup), "the view is empty");
            }));
            transaction.rollback();
        });
    return percentile(samples, 0.5) / static_cast<double>(all.size());
}

}  // namespace

void measureListEdits(const Bench& bench) {
    YapDatabaseOptions options;
    options.synchronous = YapDatabaseSynchronous::normal;
    options.pageCacheBytes = 64u << 20;
    const auto database = YapDatabase::initWithPath(bench.file("titles.qsml"), textCallbacks(),
                                                    textCallbacks(), options);
    require(database != nullptr, "the file of titles could not be made");
    const auto connection = database->newConnection();
    connection->readWrite([&](YapDatabaseReadWriteTransaction& transaction) {
        for (const auto& track : bench.data.tracks)
            transaction.setObject(Value(track->title()), track->uuid(), titles);
    });
    const auto added = titleEdits(bench.data, true), moved = titleEdits(bench.data, false);
    const double addingBare = secondsAnEdit(*connection, added);
    const double movingBare = secondsAnEdit(*connection, moved);
    require(database->registerExtension(titleView(), std::string(titles)),
            "the view of titles could not be made");
    const double adding = secondsAnEdit(*connection, added);
    const double moving = secondsAnEdit(*connection, moved);
    bench.report.figure("list.insert", "us", (adding - addingBare) * 1e6);
    bench.report.figure("list.rekey", "us", (moving - movingBare) * 1e6);
}

}  // namespace qsml::bench
