#include "TrackList.h"

#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <fmt/format.h>

#include "output.h"
#include "recordValues.h"

namespace qsml::app {

namespace {

std::vector<Table::Column> columns() {
    return {{"Title", 40},     {"Artist", 30},   {"Album", 40},
            {"Time", 8, true}, {"BPM", 7, true}, {"ID", 8}};
}

Table::Row rowOf(const PLXMediaItem& track, const YapDatabaseReadTransaction& transaction) {
    const TrackNames names = namesOf(track, transaction);
    constexpr std::size_t shortIDLength = 8;
    return {track.title().str(),
            names.artists.str(),
            names.album.str(),
            playingTime(static_cast<double>(track.duration())),
            track.bpm() == 0 ? "" : fmt::format("{}", track.bpm()),
            std::string(track.uuid().view().substr(0, shortIDLength))};
}

}  // namespace

TrackList::TrackList(bool asJSON) {
    if (!asJSON) table_.emplace(columns());
}

void TrackList::add(const PLXMediaItem& track, const YapDatabaseReadTransaction& transaction) {
    if (table_)
        table_->add(rowOf(track, transaction));
    else
        putJSON(valuesOf(track, transaction));
}

}  // namespace qsml::app
