#include <QSMediaLibraryData/database/PLXDatabaseManager.h>
#include <QSMediaLibraryData/store/YapDatabase.h>
#include <QSMediaLibraryData/store/YapDatabaseConnection.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include "AsideFile.h"
#include "CommandFailure.h"
#include "ProgressBar.h"
#include "doctorCommands.h"
#include "output.h"
#include "printable.h"

namespace qsml::app {

namespace {

std::shared_ptr<YapDatabase> openDatabase(const CommonOptions& common) {
    return openLibrary(libraryPath(common.library), Opening::existing)->database();
}

/// Bytes, with the write-ahead log.
std::uint64_t sizeOf(const std::string& path) {
    std::uint64_t size = 0;
    for (const char* const suffix : {"", "-wal"}) {
        struct stat status = {};
        if (::stat((path + suffix).c_str(), &status) == 0)
            size += static_cast<std::uint64_t>(status.st_size);
    }
    return size;
}

void setAside(YapDatabase& database, AsideFile& aside, std::uint64_t& count) {
    Error error;
    const auto keep = [&](const YapDatabase::DamagedRow& row) { return aside.keep(row); };
    if (database.setAsideDamagedRows(keep, &count, &error)) return;
    if (!aside.fault().empty()) throw CommandFailure(aside.fault() + "; the library is as it was");
    throw CommandFailure("cannot set damaged records aside; the library is as it was", error);
}

}  // namespace

int runRepair(const CommonOptions& common, const RepairOptions& options) {
    ProgressBar bar("records");
    // Every build runs over the rows: the longest one tells how many were read.
    std::uint64_t rows = 0;
    YapDatabaseOptions databaseOptions;
    databaseOptions.rebuildProgress = [&](std::string_view, std::uint64_t done,
                                          std::uint64_t total) {
        rows = std::max(rows, done);
        bar.update(done, total);
    };
    PLXDatabaseManager::sharedManager().setDatabaseOptions(databaseOptions);
    const auto database = openDatabase(common);
    AsideFile aside(options.aside, libraryPath(common.library).path);
    std::uint64_t count = 0;
    setAside(*database, aside, count);
    // Setting rows aside has built those anew that are there, and none of the missing ones.
    Error error;
    if (!database->rebuildExtensions(&error))
        throw CommandFailure("cannot build all lists and indexes anew", error);
    bar.clear();
    const std::uint64_t extensions = database->registeredExtensionNames().size();
    if (common.asJSON) {
        putJSON({{"event", "summary"},
                 {"setAside", count},
                 {"file", count > 0 ? String(aside.path()) : String()},
                 {"extensions", extensions},
                 {"records", rows}});
        return 0;
    }
    if (count > 0)
        putLine(fmt::format("{} records that cannot be read were set aside in {}", grouped(count),
                            printable(aside.path())));
    else
        putLine("no record is damaged");
    putLine(fmt::format("built {} lists and indexes anew", extensions));
    return 0;
}

int runCompact(const CommonOptions& common) {
    const auto database = openDatabase(common);
    auto& manager = PLXDatabaseManager::sharedManager();
    MainQueue::runPending();
    // Nobody looks at lists here, and what a reader needs cannot be cleared away.
    manager.uiDatabaseConnection()->endLongLivedReadTransaction();
    const std::string& path = database->databasePath();
    const std::uint64_t before = sizeOf(path);
    Error error;
    if (!database->compact(&error)) throw CommandFailure("cannot compact the library", error);
    const std::uint64_t after = sizeOf(path);
    if (common.asJSON)
        putJSON({{"bytesBefore", before}, {"bytesAfter", after}});
    else
        putLine(fmt::format("{} bytes before, {} bytes now", grouped(before), grouped(after)));
    return 0;
}

int runBackup(const CommonOptions& common, const std::string& file) {
    const auto database = openDatabase(common);
    ProgressBar bar("pages");
    Error error;
    const auto progress = [&](std::uint64_t done, std::uint64_t total) { bar.update(done, total); };
    if (!database->backup(file, progress, &error))
        throw CommandFailure("cannot back the library up; it is as it was", error);
    bar.clear();
    const std::uint64_t bytes = sizeOf(file);
    if (common.asJSON)
        putJSON({{"file", String(file)}, {"bytes", bytes}});
    else
        putLine(fmt::format("copied {} bytes to {}", grouped(bytes), printable(file)));
    return 0;
}

}  // namespace qsml::app
