#pragma once
#include <string>

#include "DataSet.h"
#include "Report.h"
#include "database/PLXDatabaseManager.h"

namespace qsml::bench {

/// What every measurement gets.
struct Bench {
    const DataSet& data;
    const Report& report;
    std::string directory;  ///< ours; files may be left in it
    bool quick = false;

    std::string file(std::string_view name) const { return directory + "/" + std::string(name); }
    std::size_t trackCount() const { return data.tracks.size(); }
};

/// Ends the program with status 2 and the message: a figure of a wrong result is worth nothing.
void require(bool holds, std::string_view message);

/// A library opened for a measurement, everything registered.
std::unique_ptr<PLXDatabaseManager> openLibrary(const std::string& path,
                                                YapDatabaseSynchronous synchronous);

/// Drops the library's files from the page cache.
void evict(const std::string& path);

void measureCodec(const Bench& bench);
/// Leaves the library of the one-transaction import at file("one.qsml"); the others work on it, in
/// this order.
void measureImport(const Bench& bench);
void measureOpening(const Bench& bench);
void measureReads(const Bench& bench);
void measureLists(const Bench& bench);
void measureSearch(const Bench& bench);
void measureRebuild(const Bench& bench);
/// Retitles the tracks of the title edits.
void measureNotifications(const Bench& bench);
/// Makes the edits of a session, deletes left out.
void measureSession(const Bench& bench);
void measureCommits(const Bench& bench);
/// Deletes the tree "CASCADE".
void measureCascade(const Bench& bench);
/// On a file of its own.
void measureListEdits(const Bench& bench);

}  // namespace qsml::bench
