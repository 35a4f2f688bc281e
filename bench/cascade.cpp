#include "Bench.h"
#include "FollowedLibrary.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"

namespace qsml::bench {
namespace {

struct Rows {
    std::uint64_t playlists = 0;
    std::uint64_t items = 0;
    friend bool operator==(const Rows&, const Rows&) = default;
};

Rows rowsIn(YapDatabaseReadTransaction& transaction) {
    return {transaction.numberOfKeysInCollection(PLXDatabaseCollectionMediaItemPlaylists),
            transaction.numberOfKeysInCollection(PLXDatabaseCollectionMediaItemPlaylistItems)};
}

std::uint64_t itemsOf(const PLXMediaItemPlaylist& playlist) {
    return playlist.itemUUIDs() ? playlist.itemUUIDs()->size() : 0;
}

/// What goes with a playlist, itself among it.
Rows rowsUnder(const String& uuid, YapDatabaseReadTransaction& transaction) {
    const auto root =
        transaction.object<PLXMediaItemPlaylist>(uuid, PLXDatabaseCollectionMediaItemPlaylists);
    require(root != nullptr, "the tree is absent");
    Rows rows{1, itemsOf(*root)};
    for (const auto& playlist : root->allDecendants(transaction)) {
        ++rows.playlists;
        rows.items += itemsOf(*playlist);
    }
    return rows;
}

String treeIn(const DataSet& data) {
    for (const auto& playlist : data.playlists)
        if (playlist->name() == "CASCADE") return playlist->uuid();
    return {};
}

}  // namespace

void measureCascade(const Bench& bench) {
    FollowedLibrary library(bench.file("one.qsml"), YapDatabaseSynchronous::normal);
    const String tree = treeIn(bench.data);
    Rows before, gone;
    library.background().read([&](YapDatabaseReadTransaction& transaction) {
        before = rowsIn(transaction);
        gone = rowsUnder(tree, transaction);
    });
    require(gone.items >= 10000 && gone.playlists == 111, "the tree is another one");
    library.background().flushMemory();  // what was looked at above is not known beforehand

    const double took = timed([&] {
        library.commit([&](YapDatabaseReadWriteTransaction& transaction) {
            transaction.removeObjectForKey(tree, PLXDatabaseCollectionMediaItemPlaylists);
        });
    });
    bench.report.figure("cascade.delete10k", "ms", took * 1e3);
    bench.report.figure("cascade.follow", "ms", timed([&] { library.follow(); }) * 1e3);

    library.interface().read([&](YapDatabaseReadTransaction& transaction) {
        const Rows left{before.playlists - gone.playlists, before.items - gone.items};
        require(rowsIn(transaction) == left, "the cascade left rows, or took too many");
        const auto root = transaction.object<PLXMediaItemPlaylist>(
            PLXRootMediaItemPlaylistUUID, PLXDatabaseCollectionMediaItemPlaylists);
        require(root && root->childUUIDs() && !root->childUUIDs()->contains(tree),
                "the root still names the tree");
    });
}

}  // namespace qsml::bench
