#pragma once
#include <memory>
#include <string>

#include <QSMediaLibraryData/foundation/Value.h>

namespace qsml {
class PLXDatabaseObject;
class PLXMediaItem;
class PLXMediaItemTitleID;
class YapDatabaseReadTransaction;
}  // namespace qsml

namespace qsml::app {

/// The texts that stand for a track's references.
struct TrackNames {
    String artists;  ///< in credit order, joined with ", "; nil without any
    String album, label, genres;
};
TrackNames namesOf(const PLXMediaItem& track, const YapDatabaseReadTransaction& transaction);

/// What lists of played and queued titles show of one; empty texts where it has none.
struct TitleTexts {
    std::string title, artist, time;
};
TitleTexts textsOf(const std::shared_ptr<const PLXMediaItemTitleID>& titleID);

/// The UUID and the properties that the record's class declares under their names; a record that it
/// holds by value, a cue point and a loop as dictionaries of their own.
Dictionary valuesOf(const PLXDatabaseObject& record);

/// Every property of the track under its name, the title ID as a dictionary of its own, and the
/// names of its artists, album artists, album, genres, label and musical key beside their keys.
Dictionary valuesOf(const PLXMediaItem& track, const YapDatabaseReadTransaction& transaction);

}  // namespace qsml::app
