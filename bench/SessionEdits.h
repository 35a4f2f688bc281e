#pragma once
#include <unordered_map>

#include "DataSet.h"

namespace qsml {
class YapDatabaseReadTransaction;
class YapDatabaseReadWriteTransaction;
class PLXDatabaseManager;
}  // namespace qsml

namespace qsml::bench {

/// The edits of a session, made as an application makes them: copy the record, change the copy,
/// store it. Knows what the library holds after them. The data set and the manager outlive it.
class SessionEdits {
public:
    SessionEdits(const DataSet& data, PLXDatabaseManager& manager)
        : data_(data), manager_(manager) {}

    /// One edit; its transaction is the caller's. Ends the program when something is refused.
    void make(const Edit& edit, YapDatabaseReadWriteTransaction& transaction);
    /// Ends the program when the library holds something else.
    void requireStored(YapDatabaseReadTransaction& transaction) const;

private:
    template <class Record>
    using Newest = std::unordered_map<String, std::shared_ptr<const Record>>;

    void editUserData(const Edit& edit, YapDatabaseReadWriteTransaction& transaction);
    void editTrack(const Edit& edit, YapDatabaseReadWriteTransaction& transaction);
    void addToPlaylist(const Edit& edit, YapDatabaseReadWriteTransaction& transaction);
    void moveInPlaylist(const Edit& edit, YapDatabaseReadWriteTransaction& transaction);
    std::shared_ptr<PLXMediaItemUserData> userDataToEdit(const String& uuid) const;
    std::shared_ptr<PLXMediaItemPlaylist> playlistToEdit(const String& uuid) const;

    const DataSet& data_;
    PLXDatabaseManager& manager_;
    Newest<PLXMediaItemUserData> userData_;
    Newest<PLXMediaItem> tracks_;
    Newest<PLXMediaItemPlaylist> playlists_;
};

}  // namespace qsml::bench
