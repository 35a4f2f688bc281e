#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "commands.h"

namespace qsml::app {

/// A part of a list.
struct Page {
    std::uint64_t limit = UINT64_MAX;
    std::uint64_t offset = 0;
};

struct SearchOptions {
    std::string text;   ///< as a person types it; data, never query syntax
    std::string group;  ///< of the results view, the only one to list; empty: all
    Page page;
};
/// Leaves nothing behind in the file.
int runSearch(const CommonOptions& common, const SearchOptions& options);

enum class BrowsedKind { artists, albums, genres, labels, sources, keys };
struct BrowseOptions {
    BrowsedKind kind = BrowsedKind::artists;
    std::string name;  ///< whose tracks to list; empty: list the names
    Page page;
};
int runBrowse(const CommonOptions& common, const BrowseOptions& options);

struct LocateOptions {
    std::string track;
    bool missing = false;             ///< list the tracks whose file is out of reach
    std::vector<std::string> relink;  ///< the old and the new folder; else empty
    bool dryRun = false;
    Page page;
};
int runLocate(const CommonOptions& common, const LocateOptions& options);

struct RemoveOptions {
    std::vector<std::string> tracks;
    bool isSure = false;  ///< without it nothing is removed, only told
};
int runRemove(const CommonOptions& common, const RemoveOptions& options);

}  // namespace qsml::app
