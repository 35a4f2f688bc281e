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
};

/// Ends the program with status 2 and the message: a figure of a wrong result is worth nothing.
void require(bool holds, std::string_view message);

/// A library opened for a measurement.
std::unique_ptr<PLXDatabaseManager> openLibrary(const std::string& path,
                                                YapDatabaseSynchronous synchronous);

void measureCodec(const Bench& bench);
/// Leaves the library of the one-transaction import at file("one.qsml").
void measureImport(const Bench& bench);
void measureReads(const Bench& bench);
void measureCommits(const Bench& bench);

}  // namespace qsml::bench
