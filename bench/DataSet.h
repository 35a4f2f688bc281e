#pragma once
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/PLXMediaEntity.h"
#include "tracks/PLXMediaItem.h"
#include "tracks/PLXMediaItemTitleID.h"

namespace qsml::bench {

/// A generated library as records in memory, not yet frozen: tracks with their title IDs, and the
/// entities that they refer to. Reads the `A B G L T` lines of the TSV and passes over those whose
/// record kinds the library does not have yet.
struct DataSet {
    std::vector<std::shared_ptr<PLXMediaItem>> tracks;
    /// With their collections.
    std::vector<std::pair<std::string_view, std::shared_ptr<PLXMediaEntity>>> entities;

    /// Ends the program with a message when the file cannot be read.
    static DataSet load(const std::string& path);
};

}  // namespace qsml::bench
