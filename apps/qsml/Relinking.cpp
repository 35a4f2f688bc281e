#include "Relinking.h"

#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/foundation/URLBookmark.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemLocation.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemLocationSource.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>

#include "CommandFailure.h"
#include "libraryTransactions.h"
#include "output.h"
#include "printable.h"
#include "trackLocations.h"

namespace qsml::app {

namespace {

constexpr std::size_t tracksPerCommit = 256;
constexpr auto collection = PLXDatabaseCollectionLocalMediaItemLocations;

/// With one slash at the end.
std::string folderPath(const std::string& path) {
    std::string absolute = absolutePath(path);
    while (absolute.ends_with('/')) absolute.pop_back();
    return absolute + "/";
}

}  // namespace

Relinking::Relinking(std::shared_ptr<YapDatabaseConnection> connection, const Folders& folders,
                     bool isDryRun, bool asJSON)
    : connection_(std::move(connection)),
      folders_{folderPath(folders.old), folderPath(folders.current)},
      isDryRun_(isDryRun),
      asJSON_(asJSON),
      bar_("tracks") {
    struct stat status = {};
    if (::stat(folders_.current.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        throw CommandFailure("there is no folder " + folders_.current +
                             "; name the one where the files are now");
    if (folders_.old == folders_.current)
        throw CommandFailure("both folders are " + folders_.old + "; name the old and the new one");
}

void Relinking::run() {
    collect();
    if (!isDryRun_) relinkAll();
    bar_.clear();
    tellSummary();
}

/// The path below the new folder; nothing for one that was not below the old.
std::optional<std::string> Relinking::movedPath(const std::string& path) const {
    if (!path.starts_with(folders_.old)) return std::nullopt;
    return folders_.current + path.substr(folders_.old.size());
}

/// Of its URIs, or where it has none, of its bookmark.
std::vector<Relinking::Move> Relinking::movesOf(const PLXMediaItemLocation& location) const {
    std::vector<Move> moves;
    for (const std::string& path : pathsOf(location))
        if (auto moved = movedPath(path)) moves.push_back({path, std::move(*moved)});
    if (moves.empty() && location.urlBookmarkData())
        if (const auto path = pathStoredInBookmarkData(*location.urlBookmarkData()))
            if (auto moved = movedPath(*path)) moves.push_back({*path, std::move(*moved)});
    return moves;
}

/// Looks at files outside of write transactions, so that others can write meanwhile.
void Relinking::collect() {
    readLibrary(connection_, [&](YapDatabaseReadTransaction& transaction) {
        const std::uint64_t total = transaction.numberOfKeysInCollection(collection);
        std::uint64_t done = 0;
        const auto look = [&](std::string_view key, const Value& object, bool&) {
            bar_.update(++done, total);
            const auto* location = dynamic_cast<const PLXMediaItemLocation*>(object.object().get());
            const auto moves = location ? movesOf(*location) : std::vector<Move>();
            if (moves.empty()) return;
            ++below_;
            bool isThere = false;
            for (const Move& move : moves) {
                const bool isMoved = isReadableFile(move.to);
                isThere = isThere || isMoved;
                if (!isMoved || isDryRun_)
                    tell(isMoved ? "relinked" : "missing", std::string(key), move);
            }
            if (isThere) keys_.emplace_back(key);
            ++(isThere ? relinked_ : missing_);
        };
        transaction.enumerateKeysAndObjectsInCollection(collection, look);
    });
}

/// Some hundred tracks in one transaction.
void Relinking::relinkAll() {
    relinked_ = 0;
    for (std::size_t first = 0; first < keys_.size(); first += tracksPerCommit) {
        const std::size_t last = std::min(keys_.size(), first + tracksPerCommit);
        std::vector<std::pair<std::string, std::vector<Move>>> done;
        changeLibrary(connection_, [&](YapDatabaseReadWriteTransaction& transaction) {
            for (std::size_t i = first; i < last; ++i)
                if (auto moves = relink(keys_[i], transaction); !moves.empty())
                    done.emplace_back(keys_[i], std::move(moves));
        });
        relinked_ += done.size();
        for (const auto& [uuid, moves] : done)
            for (const Move& move : moves) tell("relinked", uuid, move);
        bar_.update(last, keys_.size());
    }
}

/// Reads the location again: another process may have changed it in the meantime.
std::vector<Relinking::Move> Relinking::relink(const std::string& key,
                                               YapDatabaseReadWriteTransaction& transaction) const {
    const auto stored = transaction.object<PLXMediaItemLocation>(key, collection);
    auto moves = stored ? movesOf(*stored) : std::vector<Move>();
    std::erase_if(moves, [](const Move& move) { return !isReadableFile(move.to); });
    if (moves.empty()) return moves;
    std::vector<URL> added, stale;
    for (const Move& move : moves) added.push_back(URL::fileURLWithPath(move.to));
    for (const URL& uri : stored->sourceURIs().value_or(URLSet())) {
        const auto isFrom = [&](const Move& move) { return uri.path() == move.from; };
        if (uri.isFileURL() && std::any_of(moves.begin(), moves.end(), isFrom))
            stale.push_back(uri);
    }
    const URL file = added.front();
    const auto location = stored->copy();
    location->setSourceURIs(URLSet(std::move(added)));
    if (!PLXMediaItemLocationSource::sharedInstance().setMediaItemLocation(
            location, file, URLSet(std::move(stale)), transaction))
        throw CommandFailure("cannot store the location of the track " + key +
                             "; those relinked before stay");
    return moves;
}

void Relinking::tell(const char* event, const std::string& uuid, const Move& move) {
    if (!asJSON_ && !isDryRun_ && std::string_view(event) == "relinked") return;
    bar_.clear();
    if (asJSON_)
        putJSON({{"event", event},
                 {"uuid", String(uuid)},
                 {"from", String(move.from)},
                 {"to", String(move.to)}});
    else
        putLine(fmt::format("{:<9} {} -> {}", event, printable(move.from), printable(move.to)));
}

void Relinking::tellSummary() {
    if (asJSON_) {
        putJSON({{"event", "summary"},
                 {"below", below_},
                 {"relinked", relinked_},
                 {"missing", missing_},
                 {"dryRun", isDryRun_}});
        return;
    }
    putLine(fmt::format("{} tracks below {}", grouped(below_), printable(folders_.old)));
    putLine(
        fmt::format("  {} {}", grouped(relinked_), isDryRun_ ? "would be relinked" : "relinked"));
    putLine(fmt::format("  {} not below {}", grouped(missing_), printable(folders_.current)));
}

}  // namespace qsml::app
