#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "Importer.h"
#include "openLibrary.h"

namespace qsml::app {

// The commands of qsml, one source each. Each answers the exit status, 0 or 1, and throws
// CommandFailure when it cannot do its work.

struct CommonOptions {
    std::string library;  ///< as given; empty: the default one
    bool asJSON = false;
};

int runImport(const CommonOptions& common, const ImportOptions& options);

enum class TrackOrder { title, artist, album, added, bpm, duration };
struct TracksOptions {
    TrackOrder order = TrackOrder::title;
    std::uint64_t limit = UINT64_MAX;
    std::uint64_t offset = 0;
};
int runTracks(const CommonOptions& common, const TracksOptions& options);

/// `which` is a UUID, the start of one that only one track has, or a title.
int runShow(const CommonOptions& common, const std::string& which);
int runStats(const CommonOptions& common);
int runCheck(const CommonOptions& common);
int runTagGroups(const CommonOptions& common);

/// Positions count from 1, as people see them.
struct QueueOptions {
    std::vector<std::string> tracks;
    std::size_t at = 0;  ///< 0: at the end
    std::size_t from = 1, to = 1;
    std::vector<std::size_t> positions;
};
int runQueueList(const CommonOptions& common);
int runQueueAdd(const CommonOptions& common, const QueueOptions& options);
int runQueueMove(const CommonOptions& common, const QueueOptions& options);
int runQueueRemove(const CommonOptions& common, const QueueOptions& options);
int runQueueClear(const CommonOptions& common);

struct HistoryOptions {
    std::string track;
    std::int64_t deck = 1;
    std::string time;     ///< when the title was started, ISO 8601; empty: now
    std::string session;  ///< a UUID or the start of one; empty: the newest
};
int runHistoryStart(const CommonOptions& common);
int runHistoryAdd(const CommonOptions& common, const HistoryOptions& options);
int runHistoryEnd(const CommonOptions& common);
int runHistoryList(const CommonOptions& common);
int runHistoryShow(const CommonOptions& common, const HistoryOptions& options);

/// "-" reads standard input.
int runArchive(const CommonOptions& common, const std::string& file);

}  // namespace qsml::app
