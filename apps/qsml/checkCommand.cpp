#include <QSMediaLibraryData/store/YapDatabase.h>
#include <QSMediaLibraryData/store/YapDatabaseConnection.h>
#include <fmt/format.h>

#include "CommandFailure.h"
#include "ProgressBar.h"
#include "commands.h"
#include "output.h"
#include "printable.h"

namespace qsml::app {

namespace {

void putFault(const YapDatabase::Fault& fault, bool asJSON) {
    if (asJSON) {
        const auto unlessEmpty = [](const std::string& text) {
            return text.empty() ? String() : String(text);
        };
        putJSON({{"event", "fault"},
                 {"collection", unlessEmpty(fault.collection)},
                 {"key", unlessEmpty(fault.key)},
                 {"extension", unlessEmpty(fault.extension)},
                 {"description", String(fault.description)}});
        return;
    }
    std::string where = fault.extension.empty() ? "" : "extension " + fault.extension + " ";
    if (!fault.collection.empty() || !fault.key.empty())
        where += fault.collection + " " + fault.key;
    if (where.empty()) where = "the file";
    putLine(fmt::format("fault in {}: {}", printable(where), printable(fault.description)));
}

void putResult(std::uint64_t rows, std::uint64_t faults, bool asJSON) {
    if (asJSON)
        putJSON({{"event", "summary"}, {"rows", rows}, {"faults", faults}});
    else if (faults == 0)
        putLine(fmt::format("no faults in {} records", grouped(rows)));
    else
        putLine(fmt::format(
            "{} faults in {} records; \"qsml repair\" mends lists and sets damaged records aside",
            grouped(faults), grouped(rows)));
}

}  // namespace

int runCheck(const CommonOptions& common) {
    const auto connection = openLibrary(libraryPath(common.library), Opening::existing);
    ProgressBar bar("records");
    std::uint64_t faults = 0, rows = 0;
    Error error;
    const bool isGood = connection->database()->check(
        [&](const YapDatabase::Fault& fault) {
            ++faults;
            bar.clear();
            putFault(fault, common.asJSON);
        },
        [&](std::uint64_t done, std::uint64_t total) {
            rows = done;
            bar.update(done, total);
        },
        &error);
    bar.clear();
    if (error) throw CommandFailure("cannot check the library to the end", error);
    putResult(rows, faults, common.asJSON);
    return isGood && faults == 0 ? 0 : 1;
}

}  // namespace qsml::app
