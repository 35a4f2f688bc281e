#include "TrackRemoval.h"

#include <QSMediaLibraryData/core/PLXMediaEntity.h>
#include <QSMediaLibraryData/database/PLXDatabaseManager.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/store/relationships/YapDatabaseRelationshipTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <QSMediaLibraryData/tracks/PLXMediaItemUserData.h>

#include <algorithm>

#include "CommandFailure.h"

namespace qsml::app {

namespace {

[[noreturn]] void fail() {
    throw CommandFailure("cannot remove the tracks; the library is as it was");
}

YapDatabaseRelationshipTransaction& graphOf(YapDatabaseReadTransaction& transaction) {
    auto* const graph =
        transaction.ext<YapDatabaseRelationshipTransaction>(PLXDatabaseExtensionRelationship);
    if (!graph) throw CommandFailure("the library has no edges; \"qsml check\" tells more");
    return *graph;
}

/// Whether a record that some ISRC has brought to several tracks is another track's too.
bool isSharedWithOthers(const PLXMediaItemUserData& data, const String& key,
                        const YapDatabaseReadTransaction& transaction) {
    if (!data.titleIDs()) return false;
    return std::any_of(data.titleIDs()->begin(), data.titleIDs()->end(), [&](const auto& titleID) {
        const String other = titleID->internalID();
        return other && !(other == key) &&
               transaction.hasObjectForKey(other, PLXDatabaseCollectionMediaItems);
    });
}

}  // namespace

TrackRemoval::Row TrackRemoval::described(const YapDatabaseCollectionKey& row) const {
    Row made{row, {}};
    const auto object = transaction_.objectForKey(row.key, row.collection).object();
    const auto* record = dynamic_cast<const PLXDatabaseObject*>(object.get());
    if (!record) return made;
    for (const Property& property : record->recordClass().ownProperties())
        if (property.name == "title" || property.name == "name" || property.name == "value")
            made.name = property.value(*record).string();
    if (const auto* entity = dynamic_cast<const PLXMediaEntity*>(record))
        made.name = entity->name();
    return made;
}

/// What an edge leads to or comes from may go with the row.
void TrackRemoval::noteNeighbours(const YapDatabaseCollectionKey& row) {
    auto& graph = graphOf(transaction_);
    const auto note = [&](const YapDatabaseCollectionKey& neighbour) {
        if (!known_.emplace(neighbour.collection, neighbour.key).second) return;
        if (!transaction_.hasObjectForKey(neighbour.key, neighbour.collection)) return;
        neighbours_.push_back(described(neighbour));
        neighbours_.back().isTakenAlong = true;
    };
    const auto destination = [&](const YapDatabaseRelationshipFoundEdge& found, bool&) {
        note({found.edge.destinationCollection, found.edge.destinationKey});
    };
    const auto source = [&](const YapDatabaseRelationshipFoundEdge& found, bool&) {
        note(found.source);
    };
    if (!graph.enumerateEdges({.source = row}, destination) ||
        !graph.enumerateEdges({.destination = row}, source))
        fail();
}

void TrackRemoval::removeRow(const String& key, std::string_view collection) {
    if (!key || !transaction_.hasObjectForKey(key, collection)) return;
    const YapDatabaseCollectionKey row{collection, key};
    rows_.push_back(described(row));
    noteNeighbours(row);
    if (!transaction_.removeObjectForKey(key, collection)) fail();
}

void TrackRemoval::removeUserData(const PLXMediaItem& track) {
    constexpr auto collection = PLXDatabaseCollectionMediaItemUserData;
    constexpr auto titleIDs = PLXDatabaseCollectionMediaItemTitleIDs;
    const auto data = transaction_.object<PLXMediaItemUserData>(track.uuid(), collection);
    if (data && isSharedWithOthers(*data, track.uuid(), transaction_)) {
        kept_.push_back({{collection, track.uuid()}, track.title()});
        return;
    }
    if (data && data->titleIDs())
        for (const auto& titleID : *data->titleIDs())
            if (titleID->internalID() == track.uuid()) removeRow(titleID->uuid(), titleIDs);
    removeRow(track.uuid(), collection);
}

void TrackRemoval::remove(std::shared_ptr<const PLXMediaItem> track) {
    removeRow(track->uuid(), PLXDatabaseCollectionMediaItems);
    tracks_.push_back(std::move(track));
}

void TrackRemoval::removeOtherRecords(const PLXMediaItem& track) {
    removeUserData(track);
    for (const auto collection :
         {PLXDatabaseCollectionMediaItemAnalyzedData, PLXDatabaseCollectionLocalMediaItemLocations,
          PLXDatabaseCollectionGlobalMediaItemLocations})
        removeRow(track.uuid(), collection);
    if (track.titleID() && track.titleID()->internalID() == track.uuid())
        removeRow(track.titleID()->uuid(), PLXDatabaseCollectionMediaItemTitleIDs);
}

std::vector<TrackRemoval::Row> TrackRemoval::finish() {
    for (const auto& track : tracks_) removeOtherRecords(*track);
    std::erase_if(neighbours_, [this](const Row& row) {  // those that no rule needs to take along
        return !transaction_.hasObjectForKey(row.row.key, row.row.collection);
    });
    if (!graphOf(transaction_).flush()) fail();
    for (const Row& row : neighbours_)
        if (!transaction_.hasObjectForKey(row.row.key, row.row.collection)) rows_.push_back(row);
    return std::move(rows_);
}

}  // namespace qsml::app
