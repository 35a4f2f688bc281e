#include "recordValues.h"

#include <QSMediaLibraryData/core/PLXMediaEntity.h>
#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXCuePoint.h>
#include <QSMediaLibraryData/tracks/PLXLoopRegion.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>

#include "musicalKeys.h"
#include "output.h"

namespace qsml::app {

namespace {

/// Nil where the record is missing or damaged.
String nameOf(const String& uuid, std::string_view collection,
              const YapDatabaseReadTransaction& transaction) {
    if (!uuid) return {};
    const auto entity = transaction.object<PLXMediaEntity>(uuid, collection);
    return entity ? entity->name() : String();
}

/// The names of those that are there, in order.
Value::Array namesOf(const std::optional<OrderedSet<String>>& uuids, std::string_view collection,
                     const YapDatabaseReadTransaction& transaction) {
    Value::Array names;
    if (!uuids) return names;
    for (const String& uuid : *uuids)
        if (const String name = nameOf(uuid, collection, transaction)) names.emplace_back(name);
    return names;
}

String joined(const Value::Array& names) {
    if (names.empty()) return {};
    std::string text;
    for (const Value& name : names) text += (text.empty() ? "" : ", ") + name.string().str();
    return text;
}

void setUnlessEmpty(Dictionary& values, const char* key, Value::Array names) {
    if (!names.empty()) values.set(key, std::move(names));
}

/// Records and value objects as dictionaries, also within lists.
Value withoutObjects(const Value& value) {
    if (value.isCollection() && !value.elements().empty() && value.elements().front().object()) {
        Value::Array elements;
        for (const Value& element : value.elements()) elements.push_back(withoutObjects(element));
        return elements;
    }
    const Object* const object = value.object().get();
    if (const auto* record = dynamic_cast<const PLXDatabaseObject*>(object))
        return valuesOf(*record);
    if (const auto* cue = dynamic_cast<const PLXCuePoint*>(object))
        return cue->JSONObjectRepresentation();
    if (const auto* loop = dynamic_cast<const PLXLoopRegion*>(object))
        return loop->JSONObjectRepresentation();
    return value;
}

}  // namespace

TitleTexts textsOf(const std::shared_ptr<const PLXMediaItemTitleID>& titleID) {
    if (!titleID) return {};
    return {titleID->title().str(), titleID->artist().str(),
            playingTime(static_cast<double>(titleID->duration()))};
}

Dictionary valuesOf(const PLXDatabaseObject& record) {
    Dictionary values;
    values.set("uuid", record.uuid());
    for (const Property& property : record.recordClass().ownProperties())
        values.set(property.name, withoutObjects(property.value(record)));
    return values;
}

TrackNames namesOf(const PLXMediaItem& track, const YapDatabaseReadTransaction& transaction) {
    return {joined(namesOf(track.artistUUIDs(), PLXDatabaseCollectionMediaArtists, transaction)),
            nameOf(track.albumUUID(), PLXDatabaseCollectionMediaAlbums, transaction),
            nameOf(track.labelUUID(), PLXDatabaseCollectionMediaLabels, transaction),
            joined(namesOf(track.genreUUIDs(), PLXDatabaseCollectionMediaGenres, transaction))};
}

Dictionary valuesOf(const PLXMediaItem& track, const YapDatabaseReadTransaction& transaction) {
    Dictionary values = valuesOf(static_cast<const PLXDatabaseObject&>(track));
    const auto names = [&](const auto& uuids, std::string_view collection) {
        return namesOf(uuids, collection, transaction);
    };
    setUnlessEmpty(values, "artists",
                   names(track.artistUUIDs(), PLXDatabaseCollectionMediaArtists));
    setUnlessEmpty(values, "albumArtists",
                   names(track.albumArtistUUIDs(), PLXDatabaseCollectionMediaArtists));
    setUnlessEmpty(values, "genres", names(track.genreUUIDs(), PLXDatabaseCollectionMediaGenres));
    values.set("album", nameOf(track.albumUUID(), PLXDatabaseCollectionMediaAlbums, transaction));
    values.set("label", nameOf(track.labelUUID(), PLXDatabaseCollectionMediaLabels, transaction));
    if (const auto key = musicalKeyName(track.musicalKeySignatureIndex()); !key.empty())
        values.set("musicalKey", key);
    return values;
}

}  // namespace qsml::app
