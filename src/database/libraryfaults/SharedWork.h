#pragma once
#include <optional>

#include "database/PLXViewDataSource.h"
#include "database/libraryfaults/LibraryAtWork.h"

namespace qsml {

/// What a process does with a library that others use too or that is cut short: it edits, keeps
/// lists on screen and is served at once.
class SharedWork {
public:
    explicit SharedWork(std::string path) : library_(std::move(path)) {}
    ~SharedWork();

    LibraryAtWork& library() { return library_; }
    bool open(Error* error);

    /// One commit: the plays of the track in its user data and its media item, now and then with
    /// other edits. The plays; nothing when it was not committed.
    std::optional<std::uint64_t> countPlay(YapDatabaseConnection& connection, int track, int step);
    /// So many commits on tracks, playlists and names of the process. False when one failed.
    bool edit(const std::string& process, int commits);
    /// A text of all that this process sees: rows, views, a search, and what is on the screen.
    std::string seen();

private:
    LibraryAtWork library_;
    std::shared_ptr<PLXViewDataSource> list_, filtered_;
    std::shared_ptr<PLXViewDataSourceDelegate> delegate_;
};

}  // namespace qsml
