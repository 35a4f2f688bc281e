// A view built anew from the rows of a filled library, as after a change of its version.
#include "Bench.h"
#include "FollowedLibrary.h"
#include "core/PLXMediaEntity.h"
#include "foundation/collation.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/views/YapDatabaseAutoView.h"

namespace qsml::bench {
namespace {

constexpr std::string_view playlistsGroup = "playlist";

String nameOf(const Value& object) {
    const Object* const record = object.object().get();
    if (const auto* item = dynamic_cast<const PLXMediaItem*>(record)) return item->title();
    if (const auto* entity = dynamic_cast<const PLXMediaEntity*>(record)) return entity->name();
    const auto* playlist = dynamic_cast<const PLXMediaItemPlaylist*>(record);
    return playlist ? playlist->name() : String();
}

String groupOf(YapDatabaseReadTransaction&, const YapDatabaseRow& row) {
    if (row.collection == PLXDatabaseCollectionMediaItems) return String(tracksGroup);
    if (row.collection != PLXDatabaseCollectionMediaItemPlaylists) return String(row.collection);
    const auto* playlist = dynamic_cast<const PLXMediaItemPlaylist*>(row.object.object().get());
    const bool isListed = playlist && playlist->type() != PLXMediaItemPlaylist::typeRoot;
    return isListed ? String(playlistsGroup) : String();
}

/// Rows and order of the media view.
std::shared_ptr<YapDatabaseAutoView> mediaView() {
    YapDatabaseViewSorting sorting;
    sorting.sortKey = [](YapDatabaseReadTransaction&, std::string_view, const YapDatabaseRow& row) {
        const String name = nameOf(row.object);
        return name ? localizedCaseInsensitiveSortKey(name) : std::string("\xff");
    };
    sorting.identity = collationIdentity();
    YapDatabaseViewOptions options;
    options.allowedCollections = {{std::string(PLXDatabaseCollectionMediaItems),
                                   std::string(PLXDatabaseCollectionMediaArtists),
                                   std::string(PLXDatabaseCollectionMediaAlbums),
                                   std::string(PLXDatabaseCollectionMediaGenres),
                                   std::string(PLXDatabaseCollectionMediaLabels),
                                   std::string(PLXDatabaseCollectionMediaItemPlaylists)}};
    return std::make_shared<YapDatabaseAutoView>(groupOf, sorting, "1", options);
}

std::vector<std::int64_t> rowsOf(PLXDatabaseManager& manager, std::string_view name) {
    std::vector<std::int64_t> rows;
    manager.bgDatabaseConnection()->read([&](YapDatabaseReadTransaction& transaction) {
        auto& view = viewOf(transaction, name);
        const std::uint64_t count = view.numberOfItemsInGroup(tracksGroup);
        for (std::uint64_t i = 0; i < count; ++i)
            rows.push_back(view.rowidAtIndex(i, tracksGroup).value_or(0));
    });
    return rows;
}

}  // namespace

void measureRebuild(const Bench& bench) {
    const auto manager = openLibrary(bench.file("one.qsml"), YapDatabaseSynchronous::normal);
    const std::string name = "rebuiltMediaView";
    std::vector<double> samples;
    for (int round = 0; round < 3; ++round) {
        Error error;
        bool isReady = false;
        samples.push_back(timed(
            [&] { isReady = manager->database()->registerExtension(mediaView(), name, &error); }));
        require(isReady, "the view could not be built: " + error.description);
        require(rowsOf(*manager, name) == rowsOf(*manager, PLXDatabaseExtensionMediaView),
                "the view that was built anew holds other rows, or in another order");
        require(manager->database()->unregisterExtension(name), "the view could not be removed");
    }
    bench.report.figure("views.rebuild", "ms", percentile(samples, 0.5) * 1e3);
}

}  // namespace qsml::bench
