// Tracks, what they refer to, and packs.
#include "contentpacks/PLXContentPackMediaItem.h"
#include "contentpacks/PLXLooperPack.h"
#include "contentpacks/PLXSamplerPack.h"
#include "contentpacks/PLXTrackPack.h"
#include "contentpacks/PLXVisualizerPack.h"
#include "core/PLXMediaAlbum.h"
#include "core/PLXMediaArtist.h"
#include "core/PLXMediaGenre.h"
#include "core/PLXMediaLabel.h"
#include "database/extensions/testing/LibraryHistory.h"
#include "organisation/PLXMediaItemTag.h"
#include "tracks/PLXMediaItem.h"
#include "tracks/PLXMediaItemAnalyzedData.h"
#include "tracks/PLXMediaItemUserData.h"

namespace qsml {
namespace {

template <class Entity>
void putNamed(YapDatabaseReadWriteTransaction& t, const std::string& key,
              std::string_view collection, const String& name) {
    const auto entity = Entity::initWithUUID(key);
    entity->setName(name);
    t.setObject(entity, key, collection);
}

}  // namespace

void LibraryHistory::writeTrack(Writer& t) {
    const auto track = PLXMediaItem::initWithUUID(trackKey());
    track->setTitle(text());
    if (oneOf(2)) track->setGrouping(text());
    if (oneOf(3)) track->setComments(text());
    track->setArtistUUIDs(some(&LibraryHistory::artistKey));
    track->setGenreUUIDs(some(&LibraryHistory::genreKey));
    if (oneOf(3)) track->setAlbumArtistUUIDs(some(&LibraryHistory::artistKey));
    if (oneOf(2)) track->setAlbumUUID(key("album", 5));
    if (oneOf(3)) track->setLabelUUID(key("label", 4));
    if (!oneOf(3)) track->setOriginSourceID(oneOf(2) ? "disk" : "cloud");
    t.setObject(track, track->uuid(), "mediaItems");
}

/// One property of a track that is there.
void LibraryHistory::changeTrack(Writer& t) {
    const auto stored = t.object<PLXMediaItem>(trackKey(), "mediaItems");
    if (!stored) return writeTrack(t);
    const auto track = stored->copy();
    switch (draw(6)) {
        case 0:
            track->setTitle(text());
            break;
        case 1:
            track->setArtistUUIDs(some(&LibraryHistory::artistKey));
            break;
        case 2:
            track->setGenreUUIDs(some(&LibraryHistory::genreKey));
            break;
        case 3:
            track->setAlbumUUID(oneOf(3) ? String() : String(key("album", 5)));
            break;
        case 4:
            track->setOriginSourceID(oneOf(3) ? String() : String(oneOf(2) ? "disk" : "cloud"));
            break;
        default:
            track->setGrouping(text());
    }
    t.setObject(track, track->uuid(), "mediaItems");
}

/// Comes, or has another name.
void LibraryHistory::writeEntity(Writer& t) {
    switch (draw(5)) {
        case 0:
            return putNamed<PLXMediaAlbum>(t, key("album", 5), "mediaAlbums", text());
        case 1:
            return putNamed<PLXMediaGenre>(t, genreKey(), "mediaGenres", text());
        case 2:
            return putNamed<PLXMediaLabel>(t, key("label", 4), "mediaLabels", text());
        default:
            putNamed<PLXMediaArtist>(t, artistKey(), "mediaArtists", text());
    }
}

void LibraryHistory::writeUserData(Writer& t) {
    const auto data = PLXMediaItemUserData::initWithUUID(trackKey());
    data->setManualBPM(static_cast<float>(draw(4)) * 50);
    data->setTagUUIDs(some(&LibraryHistory::tagKey));
    if (oneOf(2))
        data->setTitleIDs(std::vector{
            PLXMediaItemTitleID::initWithTitle("One", "Band", 1, key("ISRC", 4)),
            PLXMediaItemTitleID::initWithTitle("Two", "Band", 2, oneOf(2) ? String() : "ISRC9")});
    t.setObject(data, data->uuid(), "mediaItemUserData");
    if (oneOf(2)) {
        const auto tag = PLXMediaItemTag::initWithUUID(tagKey());
        tag->setValue(text());
        t.setObject(tag, tag->uuid(), "mediaItemTags");
    }
}

void LibraryHistory::writeAnalyzedData(Writer& t) {
    const auto data = PLXMediaItemAnalyzedData::initWithUUID(trackKey());
    data->setBpm(static_cast<float>(draw(3)) * 64);
    data->setKeySignatureIndex(static_cast<std::int64_t>(draw(5)) - 1);
    t.setObject(data, data->uuid(), "mediaItemAnalyzedData");
}

std::shared_ptr<PLXContentPack> LibraryHistory::newPack(const std::string& key) {
    switch (draw(6)) {
        case 0:
            return PLXVisualizerPack::initWithUUID(key);
        case 1:
            return PLXSamplerPack::initWithUUID(key);
        case 2:
            return PLXTrackPack::initWithUUID(key);
        case 3:
            return oneOf(3) ? PLXContentPack::initWithUUID(key) : PLXTrackPack::initWithUUID(key);
        default:
            return PLXLooperPack::initWithUUID(key);
    }
}

void LibraryHistory::writePack(Writer& t) {
    const auto pack = newPack(packKey());
    pack->setName(text());
    pack->setSortOrder(static_cast<std::int64_t>(draw(4)) - 1);
    pack->setState(static_cast<std::int64_t>(draw(4)));
    pack->setOwner(static_cast<std::int64_t>(draw(2)));
    t.setObject(pack, pack->uuid(), oneOf(2) ? "contentPacks" : "userContentPacks");
}

void LibraryHistory::writePackFile(Writer& t) {
    const auto file = PLXContentPackMediaItem::initWithUUID(key("file", 12));
    file->setName(text());
    if (!oneOf(5)) file->setContentPackUUID(packKey());
    t.setObject(file, file->uuid(),
                oneOf(2) ? "contentPackMediaItems" : "userContentPackMediaItems");
}

}  // namespace qsml
