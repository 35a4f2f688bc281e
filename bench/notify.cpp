#include "Bench.h"
#include "FollowedLibrary.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"

namespace qsml::bench {
namespace {

struct Retitling {
    std::shared_ptr<PLXMediaItem> track;
    std::uint64_t rowBefore = 0;
};

std::uint64_t rowOf(FollowedLibrary& library, const String& uuid) {
    std::optional<YapDatabaseViewPlace> place;
    library.interface().read([&](YapDatabaseReadTransaction& transaction) {
        place = viewOf(transaction, PLXDatabaseExtensionMediaView)
                    .groupAndIndexForKey(uuid, PLXDatabaseCollectionMediaItems);
    });
    require(place.has_value(), "a track is not in the list");
    return place->index;
}

/// A retitled row is one move, or an update where it stays.
void requireShown(FollowedLibrary& library, const Retitling& edit) {
    const auto& changes = library.list().changes();
    require(changes.size() == 1 && changes[0].row.key == edit.track->uuid(),
            "the list was not told of the one row that changed");
    const std::uint64_t now = rowOf(library, edit.track->uuid());
    const auto& change = changes[0];
    require(change.indexPath && change.indexPath->row == edit.rowBefore, "the old row is wrong");
    require(change.newIndexPath ? change.newIndexPath->row == now : edit.rowBefore == now,
            "the new row is wrong");
}

/// Seconds from encoding to the list's knowledge of old and new row, for each title edit.
std::vector<double> retitleTracks(const Bench& bench, FollowedLibrary& library,
                                  std::string_view suffix) {
    std::vector<double> samples;
    for (const Edit& edit : bench.data.edits) {
        if (edit[0] != "title") continue;
        Retitling retitling{bench.data.track(edit[1])->copy()};
        retitling.track->setTitle(edit[2] + std::string(suffix));
        retitling.rowBefore = rowOf(library, retitling.track->uuid());
        const std::size_t observed = library.observed();
        samples.push_back(timed([&] {
            library.commit([&](YapDatabaseReadWriteTransaction& transaction) {
                transaction.setObject(retitling.track, retitling.track->uuid(),
                                      PLXDatabaseCollectionMediaItems);
            });
            library.follow();
        }));
        requireShown(library, retitling);
        require(library.observed() == observed + 1, "the observer was not told");
    }
    return samples;
}

/// A thousand observers of single tracks, those that are retitled among them.
std::size_t observeTracks(const Bench& bench, PLXDatabaseManager& manager, std::size_t& calls) {
    std::size_t observers = 0;
    const auto observe = [&](const String& uuid) {
        (void)manager.addChangeObserverForCollection(
            PLXDatabaseCollectionMediaItems, uuid,
            [&calls](std::string_view, std::string_view) { ++calls; });
        ++observers;
    };
    for (const Edit& edit : bench.data.edits)
        if (edit[0] == "title") observe(String(edit[1]));
    const std::size_t ofEdits = observers;
    for (std::size_t i = 0; observers < 1000; ++i)
        observe(bench.data.tracks[i % bench.trackCount()]->uuid());
    return ofEdits;
}

void measureFanOut(const Bench& bench, FollowedLibrary& library) {
    std::size_t calls = 0;
    const std::size_t least = observeTracks(bench, library.manager(), calls);
    std::vector<std::unique_ptr<OpenList>> lists;  // nine, with that of the library ten
    for (int i = 0; i < 9; ++i)
        lists.push_back(std::make_unique<OpenList>(
            library.manager(),
            i % 2 == 0 ? PLXDatabaseExtensionMediaItemsView : PLXDatabaseExtensionMediaView,
            tracksGroup));
    const auto samples = retitleTracks(bench, library, " Fan");
    for (const auto& list : lists)
        require(list->changes().size() == 1, "an open list was not told");
    require(calls >= least, "an observer of a track was not told");
    bench.report.latencies("notify.fanout", samples);
}

}  // namespace

void measureNotifications(const Bench& bench) {
    FollowedLibrary library(bench.file("one.qsml"), YapDatabaseSynchronous::normal);
    bench.report.latencies("notify.edit", retitleTracks(bench, library, ""));
    bench.report.latencies("notify.again", retitleTracks(bench, library, " Again"));
    measureFanOut(bench, library);
}

}  // namespace qsml::bench
