#pragma once
#include <cstdint>
#include <string>

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
/// "-" reads standard input.
int runArchive(const CommonOptions& common, const std::string& file);

}  // namespace qsml::app
