#pragma once
#include <memory>
#include <string>

namespace qsml {
class YapDatabaseConnection;
}

namespace qsml::app {

/// The file that --library named, else $QSML_LIBRARY, else qsml/library.qsml in the user's data
/// folder ($XDG_DATA_HOME, else ~/.local/share).
struct LibraryPath {
    std::string path;
    bool isDefault = false;  ///< its folder is ours to make
};
LibraryPath libraryPath(const std::string& named);

enum class Opening { existing, orNew };

/// Sets up the process's manager on the file and answers a connection of our own. The main queue is
/// run by whoever calls MainQueue::runPending(). Throws CommandFailure when the file cannot be
/// opened, or is not there and must be. To be called once.
std::shared_ptr<YapDatabaseConnection> openLibrary(const LibraryPath& library, Opening opening);

/// Before the program ends, on its main thread: what was committed since the opening goes from the
/// log into the file, so that a copy of that one file is the library. Does nothing where no library
/// was opened or nothing was committed. A failure is no error: the log keeps it just as safely.
void settleLibrary() noexcept;

}  // namespace qsml::app
