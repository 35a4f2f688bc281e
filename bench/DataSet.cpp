#include "DataSet.h"

#include <fstream>

#include "Bench.h"
#include "core/PLXMediaAlbum.h"
#include "core/PLXMediaArtist.h"
#include "core/PLXMediaGenre.h"
#include "core/PLXMediaLabel.h"
#include "lines.h"
#include "organisation/PLXMediaItemTag.h"

namespace qsml::bench {
namespace {

template <class Entity>
void addEntity(Loading& loading, std::string_view collection, const Fields& x) {
    auto entity = Entity::initWithUUID(loading.keys(x[1]));
    entity->setName(text(x[2]));
    loading.set.entities.push_back({collection, std::move(entity)});
}

void addTag(Loading& loading, const Fields& x) {
    auto tag = PLXMediaItemTag::initWithUUID(loading.keys(x[1]));
    tag->setValue(text(x[2]));
    loading.set.entities.push_back({PLXDatabaseCollectionMediaItemTags, std::move(tag)});
}

void addLine(Loading& loading, char kind, const Fields& x) {
    switch (kind) {
        case 'A':
            return addEntity<PLXMediaArtist>(loading, PLXDatabaseCollectionMediaArtists, x);
        case 'B':
            return addEntity<PLXMediaAlbum>(loading, PLXDatabaseCollectionMediaAlbums, x);
        case 'G':
            return addEntity<PLXMediaGenre>(loading, PLXDatabaseCollectionMediaGenres, x);
        case 'L':
            return addEntity<PLXMediaLabel>(loading, PLXDatabaseCollectionMediaLabels, x);
        case 'K':
            return addTag(loading, x);
        case 'T':
            return addTrack(loading, x);
        case 'U':
            return addUserData(loading, x);
        case 'P':
            return addPlaylist(loading, x);
        case 'I':
            return addPlaylistItem(loading, x);
        case 'H':
            return addSession(loading, x);
        case 'Q':
            return loading.set.queries.push_back({x[1] == "prefix", std::string(x[2])});
        case 'E':
            loading.set.edits.emplace_back(x.begin() + 1, x.end());
            return;
        default:
            return;
    }
}

}  // namespace

DataSet DataSet::load(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    require(file.is_open(), "cannot read " + path);
    Loading loading;
    for (std::string line; std::getline(file, line);)
        if (!line.empty()) addLine(loading, line[0], split(line, '\t'));

    DataSet& set = loading.set;
    for (std::size_t i = 0; i < set.playlists.size(); ++i)
        if (!loading.itemsOfPlaylists[i].empty())
            set.playlists[i]->setItemUUIDs(OrderedSet<String>(loading.itemsOfPlaylists[i]));
    require(!set.tracks.empty(), "no track in " + path);
    return std::move(set);
}

std::vector<StoredRecord> DataSet::inImportOrder() const {
    std::vector<StoredRecord> all = entities;
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        all.push_back({PLXDatabaseCollectionMediaItemTitleIDs, tracks[i]->titleID()});
        all.push_back({PLXDatabaseCollectionMediaItems, tracks[i]});
        all.push_back({PLXDatabaseCollectionLocalMediaItemLocations, locations[i]});
        if (const auto found = userDataAt.find(tracks[i]->uuid()); found != userDataAt.end())
            all.push_back({PLXDatabaseCollectionMediaItemUserData, userData[found->second]});
        if (analyzedData[i])
            all.push_back({PLXDatabaseCollectionMediaItemAnalyzedData, analyzedData[i]});
        all.back().endsUnit = true;
    }
    for (const auto& playlist : playlists)
        all.push_back({PLXDatabaseCollectionMediaItemPlaylists, playlist});
    for (std::size_t i = 0; i < playlistItems.size(); ++i)
        all.push_back(
            {PLXDatabaseCollectionMediaItemPlaylistItems, playlistItems[i], i % 500 == 499});
    all.insert(all.end(), history.begin(), history.end());
    return all;
}

const std::shared_ptr<PLXMediaItem>& DataSet::track(std::string_view uuid) const {
    const auto found = trackAt.find(String(uuid));
    require(found != trackAt.end(), "an edit names a track that is not there");
    return tracks[found->second];
}

}  // namespace qsml::bench
