#include <QSMediaLibraryData/store/YapDatabase.h>
#include <QSMediaLibraryData/store/YapDatabaseConnection.h>

#include "commands.h"
#include "output.h"

namespace qsml::app {

int runImport(const CommonOptions& common, const ImportOptions& options) {
    const LibraryPath library = libraryPath(common.library);
    const auto connection = openLibrary(library, Opening::orNew);
    ImportReport report(common.asJSON);
    TrackStore store(connection, options.store);
    Importer(options, store, report).run();
    report.summary(library.path, connection->database()->snapshot());
    return report.counts().failedPaths > 0 ? 1 : 0;
}

}  // namespace qsml::app
