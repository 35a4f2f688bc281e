#pragma once
#include <functional>
#include <memory>
#include <string>

#include "commands.h"

namespace qsml {
class PLXMediaItem;
class PLXMediaItemUserData;
class YapDatabaseConnection;
class YapDatabaseReadTransaction;
class YapDatabaseReadWriteTransaction;
}  // namespace qsml

namespace qsml::app {

/// A track and what the user has set up for it, which is null where that is nothing.
struct TrackUserData {
    std::shared_ptr<const PLXMediaItem> track;
    std::shared_ptr<const PLXMediaItemUserData> userData;
};

/// The track that a person means. Throws CommandFailure as findTrack() does, and when the user data
/// is damaged.
TrackUserData userDataOfTrack(const std::string& which, YapDatabaseReadTransaction& transaction);
TrackUserData readUserData(const CommonOptions& common, const std::string& which);

/// Changes a mutable record in the transaction that stores it, and answers whether that is worth
/// storing: the library otherwise stays as it is.
using UserDataEdit =
    std::function<bool(PLXMediaItemUserData& userData, YapDatabaseReadWriteTransaction&)>;

/// Reads, edits and stores the user data of one track in one transaction, so that nothing that
/// others write in the meantime is lost; a track without any gets a record. Answers what is stored
/// now. Throws CommandFailure when that could not be done; the library is then as it was.
TrackUserData editUserData(const CommonOptions& common, const std::string& which,
                           const UserDataEdit& edit);
/// The same in a library that is open.
TrackUserData editUserData(const std::shared_ptr<YapDatabaseConnection>& connection,
                           const std::string& which, const UserDataEdit& edit);

/// The text without the blanks around it; nil when nothing is left. Throws CommandFailure when it
/// is no UTF-8. `what` names it, as "comment".
String typedText(const std::string& text, const char* what);

}  // namespace qsml::app
