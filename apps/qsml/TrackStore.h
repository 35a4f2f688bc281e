#pragma once
#include <memory>
#include <string>
#include <vector>

#include "TrackTags.h"

namespace qsml {
class PLXMediaItemTitleID;
class YapDatabaseConnection;
class YapDatabaseReadTransaction;
class YapDatabaseReadWriteTransaction;
}  // namespace qsml

namespace qsml::app {

/// A file whose tags were read, on its way into the library.
struct ReadTrack {
    std::string path;
    TrackTags tags;
    std::vector<std::string> repairs;
};

/// The identity under which the library keeps such a track: title, artists as tagged and length.
String identityOf(const TrackTags& tags);

/// Stores tracks, each whole or not at all: its title ID, the artists, albums, genres and labels
/// that are not there yet, and the media item. What is in the library already is never written
/// again. One thread at a time.
class TrackStore {
public:
    explicit TrackStore(std::shared_ptr<YapDatabaseConnection> connection);

    struct Outcome {
        enum class Kind { added, alreadyThere, refused };
        Kind kind = Kind::alreadyThere;
        std::string uuid = {};    ///< of the media item
        std::string reason = {};  ///< why it was refused
    };
    /// Stores the batch in one transaction; one outcome a track, in order. A batch that is all
    /// there takes no write. Throws CommandFailure when the library cannot be read or written; of
    /// this batch then nothing is stored.
    std::vector<Outcome> store(const std::vector<ReadTrack>& batch);

private:
    using Range = std::pair<std::size_t, std::size_t>;

    std::vector<Outcome> lookUp(const std::vector<ReadTrack>& batch);
    bool write(const std::vector<ReadTrack>& batch, Range range, std::vector<Outcome>& outcomes);

    std::shared_ptr<YapDatabaseConnection> connection_;
};

}  // namespace qsml::app
