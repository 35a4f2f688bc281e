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
#include <QSMediaLibraryData/tracks/PLXMediaItemAnalyzedData.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemTitleIDSource.h>

#include "CommandFailure.h"
#include "TrackPlace.h"

namespace qsml::app {

namespace {

using Outcome = TrackStore::Outcome;
using Kind = Outcome::Kind;

std::shared_ptr<PLXMediaItemTitleID> titleIDOf(const TrackTags& tags) {
    return PLXMediaItemTitleID::titleIDWithTitle(tags.title, tags.artistText, tags.durationSeconds,
                                                 tags.isrc);
}

using TitleID = std::shared_ptr<const PLXMediaItemTitleID>;

TitleID storedTitleID(const TrackTags& tags, YapDatabaseReadTransaction& transaction) {
    return PLXMediaItemTitleIDSource::sharedInstance().titleIDWithTitle(
        tags.title, tags.artistText, tags.durationSeconds, tags.isrc, transaction);
}

Outcome damaged(const String& uuid, const char* record) {
    return {Kind::refused, uuid.str(),
            std::string("is known to the library by a damaged ") + record + "; run \"qsml check\""};
}

/// Whether the track and its place are there; where a stored record is damaged it is refused, not
/// overwritten.
Outcome lookUp(const TitleID& titleID, TrackPlace& place, bool forgetsMissing,
               YapDatabaseReadTransaction& transaction) {
    const String uuid = titleID->internalID();
    const auto state = place.state(forgetsMissing, transaction);
    if (state == TrackPlace::State::damaged) return damaged(uuid, "location");
    const bool isPlaced = state == TrackPlace::State::isNew;
    if (transaction.hasObjectForKey(uuid, PLXDatabaseCollectionMediaItems))
        return {Kind::alreadyThere, uuid.str(), {}, isPlaced};
    const bool isNew = !transaction.object<PLXMediaItemTitleID>(
        titleID->uuid(), PLXDatabaseCollectionMediaItemTitleIDs);
    if (isNew &&
        transaction.hasObjectForKey(titleID->uuid(), PLXDatabaseCollectionMediaItemTitleIDs))
        return damaged(uuid, "title ID");
    return {Kind::added, uuid.str(), {}, isPlaced};
}

bool needsWrite(const Outcome& outcome) {
    return outcome.kind == Kind::added || (outcome.kind == Kind::alreadyThere && outcome.isPlaced);
}

/// Writes rows until one cannot be written; then all further ones are skipped.
class Writing {
public:
    explicit Writing(YapDatabaseReadWriteTransaction& transaction) : transaction_(transaction) {}

    bool isGood() const { return isGood_; }
    YapDatabaseReadWriteTransaction& transaction() { return transaction_; }
    void expect(bool isWritten) { isGood_ = isGood_ && isWritten; }

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

/// What the tags say of tempo and key. What analysis has found stays.
void writeAnalyzedData(const TrackTags& tags, const TitleID& titleID, Writing& writing) {
    constexpr auto collection = PLXDatabaseCollectionMediaItemAnalyzedData;
    if (tags.bpm == 0 && tags.musicalKeySignatureIndex == unknownMusicalKey) return;
    if (writing.transaction().hasObjectForKey(titleID->internalID(), collection)) return;
    const auto data = PLXMediaItemAnalyzedData::initWithTitleID(titleID);
    data->setBpm(tags.bpm);
    data->setKeySignatureIndex(tags.musicalKeySignatureIndex);
    writing.set(data, collection);
}

void write(const TrackTags& tags, const TitleID& titleID, const StoreOptions& options, Date now,
           Writing& writing) {
    const auto item = PLXMediaItem::initWithTitleID(titleID);
    item->setAddedDate(now);
    if (!options.originSourceID.empty()) item->setOriginSourceID(options.originSourceID);
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
    writing.expect(PLXMediaItemTitleIDSource::setTitleID(titleID, writing.transaction()));
    writing.set(item, PLXDatabaseCollectionMediaItems);
    writeAnalyzedData(tags, titleID, writing);
}

/// Looks the track up again: another process may have stored it in the meantime.
Outcome writeTrack(const ReadTrack& track, const StoreOptions& options, Writing& writing) {
    auto& transaction = writing.transaction();
    const TitleID titleID = storedTitleID(track.tags, transaction);
    TrackPlace place(titleID, track.path);
    Outcome outcome = lookUp(titleID, place, options.forgetsMissing, transaction);
    if (track.isSecondFile && outcome.kind == Kind::added)  // the first one was refused
        return {Kind::alreadyThere, outcome.uuid};
    if (outcome.kind == Kind::added)
        write(track.tags, titleID, options, Clock::shared().now(), writing);
    if (needsWrite(outcome) && outcome.isPlaced)
        writing.expect(place.store(track.isSecondFile, transaction));
    return outcome;
}

[[noreturn]] void failToWrite(const Error& error) {
    throw CommandFailure(
        "cannot store tracks; those added before stay, and the same import goes on "
        "from there once this is mended",
        error);
}

}  // namespace

String identityOf(const TrackTags& tags) { return titleIDOf(tags)->uuid(); }

TrackStore::TrackStore(std::shared_ptr<YapDatabaseConnection> connection, StoreOptions options)
    : connection_(std::move(connection)), options_(std::move(options)) {}

std::vector<Outcome> TrackStore::store(const std::vector<ReadTrack>& batch) {
    auto outcomes = lookUp(batch);
    std::size_t firstNew = 0;
    while (firstNew < outcomes.size() && !needsWrite(outcomes[firstNew])) ++firstNew;
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
            for (const ReadTrack& track : batch) {
                const TitleID titleID = storedTitleID(track.tags, transaction);
                TrackPlace place(titleID, track.path);
                outcomes.push_back(
                    app::lookUp(titleID, place, options_.forgetsMissing, transaction));
            }
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
            for (std::size_t i = range.first; i < range.second; ++i)
                outcomes[i] = writeTrack(batch[i], options_, writing);
            isGood = writing.isGood();
            if (!isGood) transaction.rollback();
        },
        &error);
    if (!isCommitted) failToWrite(error);
    return isGood;
}

}  // namespace qsml::app
