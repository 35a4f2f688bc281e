#pragma once
#include <string>

#include <QSMediaLibraryData/foundation/Value.h>

namespace qsml {
class PLXMediaItem;
class YapDatabaseReadTransaction;
}  // namespace qsml

namespace qsml::app {

/// The texts that stand for a track's references.
struct TrackNames {
    String artists;  ///< in credit order, joined with ", "; nil without any
    String album, label, genres;
};
TrackNames namesOf(const PLXMediaItem& track, const YapDatabaseReadTransaction& transaction);

/// Every property of the track under its name, the title ID as a dictionary of its own, and the
/// names of its artists, album artists, album, genres, label and musical key beside their keys.
Dictionary valuesOf(const PLXMediaItem& track, const YapDatabaseReadTransaction& transaction);

}  // namespace qsml::app
