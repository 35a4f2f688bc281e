#include "readTracks.h"

#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/store/YapDatabaseConnection.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>

#include "CommandFailure.h"

namespace qsml::app {

void readLibrary(const CommonOptions& common,
                 const std::function<void(YapDatabaseReadTransaction&)>& block) {
    const auto connection = openLibrary(libraryPath(common.library), Opening::existing);
    Error error;
    const bool isRead = connection->read(
        [&](YapDatabaseReadTransaction& transaction) {
            block(transaction);
            error = transaction.error();
        },
        &error);
    if (!isRead || error)
        throw CommandFailure("cannot read the library; \"qsml check\" tells more", error);
}

void enumerateTracks(const YapDatabaseReadTransaction& transaction,
                     const std::function<void(const PLXMediaItem&)>& block) {
    transaction.enumerateKeysAndObjectsInCollection(
        PLXDatabaseCollectionMediaItems, [&](std::string_view, const Value& object, bool&) {
            if (const auto* track = dynamic_cast<const PLXMediaItem*>(object.object().get()))
                block(*track);
        });
}

}  // namespace qsml::app
