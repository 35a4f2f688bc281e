#pragma once
#include <memory>
#include <string>

#include <QSMediaLibraryData/tracks/URLSet.h>

namespace qsml {
class PLXMediaItemLocation;
class PLXMediaItemTitleID;
class YapDatabaseReadTransaction;
class YapDatabaseReadWriteTransaction;
}  // namespace qsml

namespace qsml::app {

/// The place of an imported file, against what the library knows of the track. Confined to one
/// thread.
class TrackPlace {
public:
    TrackPlace(std::shared_ptr<const PLXMediaItemTitleID> titleID, const std::string& path);

    enum class State { known, isNew, damaged };
    /// Known is a place under which the track is stored, unless places are to be forgotten with it.
    State state(bool forgetsMissing, const YapDatabaseReadTransaction& transaction);

    /// Adds the place to those that are stored, less what state() found to be forgotten. A track's
    /// own file gets the bookmark; a second one does not.
    bool store(bool isSecondFile, YapDatabaseReadWriteTransaction& transaction) const;

private:
    std::shared_ptr<const PLXMediaItemTitleID> titleID_;
    URL url_;
    std::vector<URL> gone_;
};

}  // namespace qsml::app
