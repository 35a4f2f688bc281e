#include "DataSet.h"

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>

#include "core/PLXMediaAlbum.h"
#include "core/PLXMediaArtist.h"
#include "core/PLXMediaGenre.h"
#include "core/PLXMediaLabel.h"
#include "database/collectionNames.h"

namespace qsml::bench {
namespace {

using Fields = std::vector<std::string_view>;

Fields split(std::string_view line, char separator) {
    Fields fields;
    if (line.empty()) return fields;
    for (std::size_t start = 0;;) {
        const auto end = line.find(separator, start);
        fields.push_back(line.substr(start, end == line.npos ? line.npos : end - start));
        if (end == line.npos) return fields;
        start = end + 1;
    }
}

String text(std::string_view field) { return field.empty() ? String() : String(field); }
double real(std::string_view field) { return std::strtod(std::string(field).c_str(), nullptr); }
std::int64_t integer(std::string_view field) {
    return std::strtoll(std::string(field).c_str(), nullptr, 10);
}
std::optional<Date> date(std::string_view field) {
    if (field.empty()) return std::nullopt;
    return Date{real(field)};
}

/// The keys of the file are those of the records; equal ones share their text as they do in a
/// library that was read from disk.
class Keys {
public:
    String operator()(std::string_view key) {
        if (key.empty()) return {};
        return known_.try_emplace(std::string(key), key).first->second;
    }
    std::optional<OrderedSet<String>> list(std::string_view field) {
        if (field.empty()) return std::nullopt;
        std::vector<String> keys;
        for (auto key : split(field, ',')) keys.push_back((*this)(key));
        return OrderedSet<String>(std::move(keys));
    }

private:
    std::unordered_map<std::string, String> known_;
};

void describe(PLXMediaItem& item, const Fields& x, Keys& keys) {
    item.setAddedDate(date(x[6]));
    item.setModifiedDate(date(x[7]));
    item.setReleaseDate(date(x[8]));
    item.setPurchasedDate(date(x[9]));
    item.setYear(integer(x[10]));
    item.setComposer(text(x[11]));
    item.setGrouping(text(x[12]));
    item.setComments(text(x[13]));
    item.setLyrics(text(x[14]));
    item.setAlbumType(integer(x[15]));
    item.setAlbumTrackNumber(integer(x[16]));
    item.setAlbumTrackCount(integer(x[17]));
    item.setAlbumDiscNumber(integer(x[18]));
    item.setAlbumDiscCount(integer(x[19]));
    item.setBpm(static_cast<float>(real(x[20])));
    item.setExplicitContent(x[21] == "1");
    item.setArtistUUIDs(keys.list(x[22]));
    item.setAlbumUUID(keys(x[23]));
    item.setGenreUUIDs(keys.list(x[24]));
    item.setLabelUUID(keys(x[25]));
    item.setAlbumArtistUUIDs(keys.list(x[26]));
}

std::shared_ptr<PLXMediaItem> track(const Fields& x, Keys& keys) {
    const auto titleID = PLXMediaItemTitleID::titleIDWithTitle(
        text(x[2]), text(x[3]), static_cast<float>(real(x[4])), text(x[5]));
    titleID->setUuid(keys(x[1]));
    auto item = PLXMediaItem::initWithTitleID(titleID);
    item->setTitle(titleID->title());
    describe(*item, x, keys);
    item->setContentType(text(x[27]));
    item->setDrmProtected(x[28] == "1");
    item->setDuration(titleID->duration());
    item->setChannelCount(integer(x[29]));
    item->setSampleRate(integer(x[30]));
    item->setBitRate(integer(x[31]));
    item->setOriginSourceID(keys(x[32]));
    item->setMusicalKeySignatureIndex(integer(x[33]));
    return item;
}

template <class Entity>
void addEntity(DataSet& set, std::string_view collection, const Fields& x, Keys& keys) {
    auto entity = Entity::initWithUUID(keys(x[1]));
    entity->setName(text(x[2]));
    set.entities.emplace_back(collection, std::move(entity));
}

}  // namespace

DataSet DataSet::load(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::cerr << "qsml_bench: cannot read " << path << "\n";
        std::exit(1);
    }
    DataSet set;
    Keys keys;
    for (std::string line; std::getline(file, line);) {
        if (line.empty()) continue;
        const Fields x = split(line, '\t');
        switch (line[0]) {
            case 'A':
                addEntity<PLXMediaArtist>(set, PLXDatabaseCollectionMediaArtists, x, keys);
                break;
            case 'B':
                addEntity<PLXMediaAlbum>(set, PLXDatabaseCollectionMediaAlbums, x, keys);
                break;
            case 'G':
                addEntity<PLXMediaGenre>(set, PLXDatabaseCollectionMediaGenres, x, keys);
                break;
            case 'L':
                addEntity<PLXMediaLabel>(set, PLXDatabaseCollectionMediaLabels, x, keys);
                break;
            case 'T':
                set.tracks.push_back(track(x, keys));
                break;
            default:
                break;
        }
    }
    return set;
}

}  // namespace qsml::bench
