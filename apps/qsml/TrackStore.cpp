#include "TrackStore.h"

#include <QSMediaLibraryData/core/PLXMediaAlbum.h>
#include <QSMediaLibraryData/core/PLXMediaArtist.h>
#include <QSMediaLibraryData/core/PLXMediaGenre.h>
#include <QSMediaLibraryData/core/PLXMediaLabel.h>
#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/foundation/Environment.h>
#include <QSMediaLibraryData/store/YapDatabaseConnection.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemTitleIDSource.h>

#include "CommandFailure.h"

namespace qsml::app {

namespace {

using Outcome = TrackStore::Outcome;
using Kind = Outcome::Kind;

std::shared_ptr<PLXMediaItemTitleID> titleIDOf(const TrackTags& tags) {
    return PLXMediaItemTitleID::titleIDWithTitle(tags.title, tags.artistText, tags.durationSeconds,
                                                 tags.isrc);
}

/// Whether the track is there; one whose stored title ID is damaged is refused, not overwritten.
Outcome lookUp(const TrackTags& tags, YapDatabaseReadTransaction& transaction,
               std::shared_ptr<const PLXMediaItemTitleID>& titleID) {
    titleID = PLXMediaItemTitleIDSource::sharedInstance().titleIDWithTitle(
        tags.title, tags.artistText, tags.durationSeconds, tags.isrc, transaction);
    const String uuid = titleID->internalID();
    if (transaction.hasObjectForKey(uuid, PLXDatabaseCollectionMediaItems))
        return {Kind::alreadyThere, uuid.str()};
    const bool isNew = !transaction.object<PLXMediaItemTitleID>(
        titleID->uuid(), PLXDatabaseCollectionMediaItemTitleIDs);
    if (isNew &&
        transaction.hasObjectForKey(titleID->uuid(), PLXDatabaseCollectionMediaItemTitleIDs))
        return {Kind::refused, uuid.str(),
                "is known to the library by a damaged title ID; run \"qsml check\""};
    return {Kind::added, uuid.str()};
}

/// Writes rows until one cannot be written; then all further ones are skipped.
class Writing {
public:
    explicit Writing(YapDatabaseReadWriteTransaction& transaction) : transaction_(transaction) {}

    bool isGood() const { return isGood_; }

    template <class Record>
    void set(const std::shared_ptr<Record>& record, std::string_view collection) {
        isGood_ = isGood_ && transaction_.setObject(record, record->uuid(), collection);
    }

    /// The key of the entity of that name, which is stored if it is not there.
    template <class Entity>
    String entity(const String& name, std::string_view collection) {
        const auto entity = Entity::initWithName(name);
        if (!entity) return {};
        if (!transaction_.hasObjectForKey(entity->uuid(), collection)) set(entity, collection);
        return entity->uuid();
    }

    /// Nothing without names.
    template <class Entity>
    std::optional<OrderedSet<String>> entities(const std::vector<std::string>& names,
                                               std::string_view collection) {
        std::vector<String> uuids;
        uuids.reserve(names.size());
        for (const std::string& name : names) uuids.push_back(entity<Entity>(name, collection));
        if (uuids.empty()) return std::nullopt;
        return OrderedSet<String>(std::move(uuids));
    }

private:
    YapDatabaseReadWriteTransaction& transaction_;
    bool isGood_ = true;
};

void setTexts(PLXMediaItem& item, const TrackTags& tags) {
    item.setTitle(tags.title);
    item.setModifiedDate(tags.modifiedDate);
    item.setReleaseDate(tags.releaseDate);
    item.setYear(tags.year);
    item.setComposer(tags.composer);
    item.setGrouping(tags.grouping);
    item.setComments(tags.comments);
    item.setLyrics(tags.lyrics);
    item.setContentType(tags.contentType);
}

void setNumbers(PLXMediaItem& item, const TrackTags& tags) {
    item.setAlbumType(tags.albumType);
    item.setAlbumTrackNumber(tags.albumTrackNumber);
    item.setAlbumTrackCount(tags.albumTrackCount);
    item.setAlbumDiscNumber(tags.albumDiscNumber);
    item.setAlbumDiscCount(tags.albumDiscCount);
    item.setBpm(tags.bpm);
    item.setExplicitContent(tags.explicitContent);
    item.setDuration(tags.durationSeconds);
    item.setChannelCount(tags.channelCount);
    item.setSampleRate(tags.sampleRate);
    item.setBitRate(tags.bitRate);
    item.setMusicalKeySignatureIndex(tags.musicalKeySignatureIndex);
}

void write(const TrackTags& tags, const std::shared_ptr<const PLXMediaItemTitleID>& titleID,
           Date now, Writing& writing) {
    const auto item = PLXMediaItem::initWithTitleID(titleID);
    item->setAddedDate(now);
    setTexts(*item, tags);
    setNumbers(*item, tags);
    item->setArtistUUIDs(
        writing.entities<PLXMediaArtist>(tags.artists, PLXDatabaseCollectionMediaArtists));
    item->setAlbumArtistUUIDs(
        writing.entities<PLXMediaArtist>(tags.albumArtists, PLXDatabaseCollectionMediaArtists));
    item->setGenreUUIDs(
        writing.entities<PLXMediaGenre>(tags.genres, PLXDatabaseCollectionMediaGenres));
    item->setAlbumUUID(writing.entity<PLXMediaAlbum>(tags.album, PLXDatabaseCollectionMediaAlbums));
    item->setLabelUUID(writing.entity<PLXMediaLabel>(tags.label, PLXDatabaseCollectionMediaLabels));
    writing.set(titleID, PLXDatabaseCollectionMediaItemTitleIDs);
    writing.set(item, PLXDatabaseCollectionMediaItems);
}

[[noreturn]] void failToWrite(const Error& error) {
    throw CommandFailure(
        "cannot store tracks; those added before stay, and the same import goes on "
        "from there once this is mended",
        error);
}

}  // namespace

String identityOf(const TrackTags& tags) { return titleIDOf(tags)->uuid(); }

TrackStore::TrackStore(std::shared_ptr<YapDatabaseConnection> connection)
    : connection_(std::move(connection)) {}

std::vector<Outcome> TrackStore::store(const std::vector<ReadTrack>& batch) {
    auto outcomes = lookUp(batch);
    std::size_t firstNew = 0;
    while (firstNew < outcomes.size() && outcomes[firstNew].kind != Kind::added) ++firstNew;
    if (firstNew == outcomes.size()) return outcomes;
    if (write(batch, {firstNew, batch.size()}, outcomes)) return outcomes;
    // Some track cannot be archived: one by one, the others are stored.
    for (std::size_t i = firstNew; i < batch.size(); ++i)
        if (!write(batch, {i, i + 1}, outcomes))
            outcomes[i] = {Kind::refused, {}, "holds tags that cannot be stored"};
    return outcomes;
}

std::vector<Outcome> TrackStore::lookUp(const std::vector<ReadTrack>& batch) {
    std::vector<Outcome> outcomes;
    Error error;
    const bool isRead = connection_->read(
        [&](YapDatabaseReadTransaction& transaction) {
            std::shared_ptr<const PLXMediaItemTitleID> titleID;
            for (const ReadTrack& track : batch)
                outcomes.push_back(app::lookUp(track.tags, transaction, titleID));
            error = transaction.error();
        },
        &error);
    if (!isRead || error) throw CommandFailure("cannot read the library", error);
    return outcomes;
}

/// False, with nothing stored, when a track of the range cannot be archived.
bool TrackStore::write(const std::vector<ReadTrack>& batch, Range range,
                       std::vector<Outcome>& outcomes) {
    Error error;
    bool isGood = true;
    const bool isCommitted = connection_->readWrite(
        [&](YapDatabaseReadWriteTransaction& transaction) {
            Writing writing(transaction);
            const Date now = Clock::shared().now();
            for (std::size_t i = range.first; i < range.second; ++i) {
                // Looked up again: another process may have stored it in the meantime.
                std::shared_ptr<const PLXMediaItemTitleID> titleID;
                outcomes[i] = app::lookUp(batch[i].tags, transaction, titleID);
                if (outcomes[i].kind == Kind::added)
                    app::write(batch[i].tags, titleID, now, writing);
            }
            isGood = writing.isGood();
            if (!isGood) transaction.rollback();
        },
        &error);
    if (!isCommitted) failToWrite(error);
    return isGood;
}

}  // namespace qsml::app
