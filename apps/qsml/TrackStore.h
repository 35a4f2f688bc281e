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
    /// Another file of the same run is this track already: of this one only the place is kept.
    bool isSecondFile = false;
};

/// What is stored with each track.
struct StoreOptions {
    /// Where new tracks come from, as the library's view of sources groups them; empty: unknown.
    std::string originSourceID = {};
    /// Of a track whose file is imported, forgets the places at which there is no file any more.
    bool forgetsMissing = false;
};

/// The identity under which the library keeps such a track: title, artists as tagged and length.
String identityOf(const TrackTags& tags);

/// Stores tracks, each whole or not at all: its title ID, the artists, albums, genres and labels
/// that are not there yet, the media item, the place of its file with a bookmark, and what its tags
/// say of tempo and key as analysed data. Of a track that is in the library already only a new
/// place is stored, beside those that are known. One thread at a time.
class TrackStore {
public:
    explicit TrackStore(std::shared_ptr<YapDatabaseConnection> connection,
                        StoreOptions options = {});

    struct Outcome {
        enum class Kind { added, alreadyThere, refused };
        Kind kind = Kind::alreadyThere;
        std::string uuid = {};    ///< of the media item
        std::string reason = {};  ///< why it was refused
        bool isPlaced = false;    ///< the place of the file is new to the library
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
    StoreOptions options_;
};

}  // namespace qsml::app
