#include "trackUserData.h"

#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/foundation/text.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemUserData.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemUserDataSource.h>

#include <algorithm>

#include "CommandFailure.h"
#include "findTrack.h"
#include "libraryTransactions.h"

namespace qsml::app {

namespace {

using TitleID = std::shared_ptr<const PLXMediaItemTitleID>;

/// A damaged record is not to be taken for a missing one, and written over.
void refuseDamage(const PLXMediaItem& track, const YapDatabaseReadTransaction& transaction) {
    const String key = track.titleID() ? track.titleID()->internalID() : String();
    if (!key)
        throw CommandFailure("the track " + track.uuid().str() +
                             " has no title ID, so nothing can be set up for it; \"qsml check\" "
                             "tells more");
    constexpr auto collection = PLXDatabaseCollectionMediaItemUserData;
    if (transaction.hasObjectForKey(key, collection) &&
        !transaction.object<PLXMediaItemUserData>(key, collection))
        throw CommandFailure("the user data of the track " + key.str() +
                             " is damaged and cannot be read; \"qsml check\" tells more");
}

/// What the source would do a little later, in a write of its own, which this process may not live
/// to see.
void addTitleID(PLXMediaItemUserData& userData, const TitleID& titleID) {
    auto titleIDs = userData.titleIDs().value_or(std::vector<TitleID>());
    const auto isIt = [&](const TitleID& known) {
        return known->isEqual(*titleID) && known->hash() == titleID->hash();
    };
    if (std::any_of(titleIDs.begin(), titleIDs.end(), isIt)) return;
    titleIDs.push_back(titleID);
    userData.setTitleIDs(titleIDs);
}

TrackUserData edited(const std::shared_ptr<const PLXMediaItem>& track, const UserDataEdit& edit,
                     YapDatabaseReadWriteTransaction& transaction) {
    refuseDamage(*track, transaction);
    auto& source = PLXMediaItemUserDataSource::sharedInstance();
    const auto stored = source.mediaItemUserDataForTitleID(track->titleID(), true, nullptr,
                                                           std::nullopt, transaction);
    if (!stored)
        throw CommandFailure("cannot make user data for the track; the library is as it was");
    const auto changed = stored->copy();
    if (!edit(*changed, transaction)) {
        transaction.rollback();
        return {track, changed};
    }
    addTitleID(*changed, track->titleID());
    if (!source.setMediaItemUserData(changed, transaction))
        throw CommandFailure("cannot store the user data of the track; the library is as it was");
    return {track, changed};
}

}  // namespace

TrackUserData userDataOfTrack(const std::string& which, YapDatabaseReadTransaction& transaction) {
    const auto track = findTrack(which, transaction);
    refuseDamage(*track, transaction);
    return {track, PLXMediaItemUserDataSource::sharedInstance().mediaItemUserDataForTitleID(
                       track->titleID(), transaction)};
}

TrackUserData readUserData(const CommonOptions& common, const std::string& which) {
    TrackUserData found;
    readLibrary(common, [&](YapDatabaseReadTransaction& transaction) {
        found = userDataOfTrack(which, transaction);
    });
    return found;
}

TrackUserData editUserData(const CommonOptions& common, const std::string& which,
                           const UserDataEdit& edit) {
    return editUserData(openLibrary(libraryPath(common.library), Opening::existing), which, edit);
}

TrackUserData editUserData(const std::shared_ptr<YapDatabaseConnection>& connection,
                           const std::string& which, const UserDataEdit& edit) {
    // Found by a read, because a title may take a walk over the library, and others want to write.
    std::string uuid;
    readLibrary(connection, [&](YapDatabaseReadTransaction& transaction) {
        uuid = findTrack(which, transaction)->uuid().str();
    });
    TrackUserData result;
    changeLibrary(connection, [&](YapDatabaseReadWriteTransaction& transaction) {
        result = edited(findTrack(uuid, transaction), edit, transaction);
    });
    return result;
}

String typedText(const std::string& text, const char* what) {
    if (!isValidUTF8(text))
        throw CommandFailure(std::string("the ") + what + " \"" + text + "\" is no UTF-8 text");
    return chuzzle(text);
}

}  // namespace qsml::app
