#pragma once
#include "commands.h"

namespace qsml::app {

// The commands that look into a library's file and mend it; as those in commands.h.

struct DumpOptions {
    std::string collection;
    bool isAll = false;
};
int runDump(const CommonOptions& common, const DumpOptions& options);

struct EdgesOptions {
    std::string row;   ///< a key, COLLECTION/KEY, or what findTrack takes; empty: every edge
    std::string name;  ///< empty: edges of any name
};
int runEdges(const CommonOptions& common, const EdgesOptions& options);

struct RepairOptions {
    std::string aside;  ///< empty: beside the library
};
int runRepair(const CommonOptions& common, const RepairOptions& options);
int runCompact(const CommonOptions& common);
int runBackup(const CommonOptions& common, const std::string& file);

struct WatchOptions {
    std::string view;
    std::vector<std::string> groups;  ///< none: all that the view has
    std::uint64_t changes = 0;        ///< ends after so many; 0: never
    bool isInitialTold = false;       ///< the rows that are there at first are written too
};
int runWatch(const CommonOptions& common, const WatchOptions& options);

}  // namespace qsml::app
