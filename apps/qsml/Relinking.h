#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ProgressBar.h"

namespace qsml {
class PLXMediaItemLocation;
class YapDatabaseConnection;
class YapDatabaseReadWriteTransaction;
}  // namespace qsml

namespace qsml::app {

/// Gives the local locations below a folder that was moved the places below its new one, as far as
/// the files are there: new URIs for the old ones, and a new bookmark. Some hundred tracks are
/// changed in one transaction; a run that was stopped is completed by running it again. Tells what
/// it does on standard output. Confined to one thread.
class Relinking {
public:
    struct Folders {
        std::string old, current;
    };
    /// Throws CommandFailure when the new folder is none.
    Relinking(std::shared_ptr<YapDatabaseConnection> connection, const Folders& folders,
              bool isDryRun, bool asJSON);
    /// Throws CommandFailure when the library cannot be read or changed.
    void run();

private:
    /// A file of a location below the old folder.
    struct Move {
        std::string from, to;
    };

    void collect();
    void relinkAll();
    /// What was moved of that location.
    std::vector<Move> relink(const std::string& key,
                             YapDatabaseReadWriteTransaction& transaction) const;
    std::vector<Move> movesOf(const PLXMediaItemLocation& location) const;
    std::optional<std::string> movedPath(const std::string& path) const;
    void tell(const char* event, const std::string& uuid, const Move& move);
    void tellSummary();

    std::shared_ptr<YapDatabaseConnection> connection_;
    Folders folders_;
    bool isDryRun_;
    bool asJSON_;
    ProgressBar bar_;
    std::vector<std::string> keys_;  // of the locations that can be relinked
    std::uint64_t below_ = 0, relinked_ = 0, missing_ = 0;
};

}  // namespace qsml::app
