#include "openLibrary.h"

#include <QSMediaLibraryData/database/PLXDatabaseManager.h>
#include <QSMediaLibraryData/foundation/Bundle.h>
#include <QSMediaLibraryData/foundation/DispatchQueue.h>
#include <QSMediaLibraryData/store/YapDatabase.h>
#include <QSMediaLibraryData/store/YapDatabaseConnection.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <system_error>

#include "CommandFailure.h"
#include "trackLocations.h"

namespace qsml::app {

namespace {

std::uint64_t snapshotAtOpening = 0;

/// The variable's value; empty when it is not set.
std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value ? value : "";
}

/// Makes the folder and those above it, for nobody else to look into.
void makeFolder(const std::string& folder) {
    for (std::size_t slash = 1; slash != std::string::npos;) {
        slash = folder.find('/', slash + 1);
        const std::string part = folder.substr(0, slash);
        if (::mkdir(part.c_str(), S_IRWXU) != 0 && errno != EEXIST)
            throw CommandFailure("cannot make the folder " + part + ": " +
                                 std::generic_category().message(errno) +
                                 "; name another file with --library");
    }
}

void requireLibrary(const std::string& path) {
    struct stat status = {};
    if (::stat(path.c_str(), &status) == 0 || errno != ENOENT) return;
    throw CommandFailure("there is no library at " + path +
                         "; make one with \"qsml import FOLDER\", or name another with --library");
}

}  // namespace

LibraryPath libraryPath(const std::string& named) {
    if (!named.empty()) return {named};
    if (std::string path = environment("QSML_LIBRARY"); !path.empty()) return {std::move(path)};
    std::string folder = environment("XDG_DATA_HOME");
    if (!folder.starts_with('/')) {  // relative ones do not count
        folder = environment("HOME");
        if (folder.empty())
            throw CommandFailure("no home folder is known; name the library with --library");
        folder += "/.local/share";
    }
    return {folder + "/qsml/library.qsml", true};
}

std::shared_ptr<YapDatabaseConnection> openLibrary(const LibraryPath& library, Opening opening) {
    if (opening == Opening::existing) requireLibrary(library.path);
    if (opening == Opening::orNew && library.isDefault)
        makeFolder(library.path.substr(0, library.path.rfind('/')));
    MainQueue::setManual();
    // A library that is moved together with its music finds it again.
    const std::string path = absolutePath(library.path);
    Bundle::main().setInfoValue("QSMediaLibraryBundlePath", path.substr(0, path.rfind('/') + 1));
    auto& manager = PLXDatabaseManager::sharedManager();
    Error error;
    if (!manager.setupDatabaseWithFileURL(URL::fileURLWithPath(library.path), &error))
        throw CommandFailure("cannot open the library", error);
    auto connection = manager.database()->newConnection(&error);
    if (!connection) throw CommandFailure("cannot open the library", error);
    connection->setName("qsml");
    snapshotAtOpening = manager.database()->snapshot();
    return connection;
}

void settleLibrary() noexcept {
    try {
        const auto& database = PLXDatabaseManager::sharedManager().database();
        if (!database || database->snapshot() == snapshotAtOpening) return;
        MainQueue::runPending();  // the user interface's connection lets go of what it rests on
        (void)database->checkpoint();
    } catch (const std::exception&) {  // then it stays in the log
    }
}

}  // namespace qsml::app
