#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include "findTrack.h"
#include "libraryTransactions.h"
#include "output.h"

namespace qsml::app {

namespace {

struct Stats {
    std::string library;
    std::uint64_t fileSize = 0;  ///< bytes, with the write-ahead log
    std::uint64_t snapshot = 0;
    std::uint64_t tracks = 0, damagedTracks = 0, artists = 0, albums = 0, genres = 0, labels = 0;
    std::uint64_t playlists = 0, allRecords = 0;
    double playingSeconds = 0;
};

std::uint64_t sizeOf(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

void count(Stats& stats, const YapDatabaseReadTransaction& transaction) {
    const auto rows = [&](std::string_view collection) {
        return transaction.numberOfKeysInCollection(collection);
    };
    std::uint64_t readable = 0;
    enumerateTracks(transaction, [&](const PLXMediaItem& track) {
        ++readable;
        stats.playingSeconds += static_cast<double>(track.duration());
    });
    stats.snapshot = transaction.snapshot();
    stats.tracks = rows(PLXDatabaseCollectionMediaItems);
    stats.damagedTracks = stats.tracks - readable;
    stats.artists = rows(PLXDatabaseCollectionMediaArtists);
    stats.albums = rows(PLXDatabaseCollectionMediaAlbums);
    stats.genres = rows(PLXDatabaseCollectionMediaGenres);
    stats.labels = rows(PLXDatabaseCollectionMediaLabels);
    stats.playlists = rows(PLXDatabaseCollectionMediaItemPlaylists);
    stats.allRecords = transaction.numberOfKeysInAllCollections();
}

void putStatsJSON(const Stats& stats) {
    putJSON({{"library", String(stats.library)},
             {"fileSize", stats.fileSize},
             {"snapshot", stats.snapshot},
             {"tracks", stats.tracks},
             {"damagedTracks", stats.damagedTracks},
             {"artists", stats.artists},
             {"albums", stats.albums},
             {"genres", stats.genres},
             {"labels", stats.labels},
             {"playlists", stats.playlists},
             {"allRecords", stats.allRecords},
             {"playingSeconds", stats.playingSeconds}});
}

void putStatsText(const Stats& stats) {
    const auto line = [](const char* name, const std::string& text) {
        putLine(fmt::format("{:<14}{}", name, text));
    };
    line("library", stats.library);
    line("file size", grouped(stats.fileSize) + " bytes");
    line("tracks", grouped(stats.tracks));
    if (stats.damagedTracks > 0)
        line("", grouped(stats.damagedTracks) + " of them cannot be read: run \"qsml check\"");
    line("artists", grouped(stats.artists));
    line("albums", grouped(stats.albums));
    line("genres", grouped(stats.genres));
    line("labels", grouped(stats.labels));
    line("playlists", grouped(stats.playlists));
    line("all records", grouped(stats.allRecords));
    line("playing time", playingTime(stats.playingSeconds));
}

}  // namespace

int runStats(const CommonOptions& common) {
    Stats stats;
    stats.library = libraryPath(common.library).path;
    readLibrary(common, [&](YapDatabaseReadTransaction& transaction) {
        count(stats, transaction);
        stats.fileSize = sizeOf(stats.library) + sizeOf(stats.library + "-wal");
    });
    if (common.asJSON)
        putStatsJSON(stats);
    else
        putStatsText(stats);
    return 0;
}

}  // namespace qsml::app
