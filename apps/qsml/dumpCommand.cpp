#include <QSMediaLibraryData/core/PLXDatabaseObject.h>
#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>

#include <algorithm>

#include "CommandFailure.h"
#include "ProgressBar.h"
#include "doctorCommands.h"
#include "libraryTransactions.h"
#include "output.h"
#include "recordDump.h"

namespace qsml::app {

namespace {

/// Those that a library may have without a record in them.
bool isOfEveryLibrary(std::string_view collection) {
    static constexpr std::string_view names[] = {PLXDatabaseCollectionMediaItems,
                                                 PLXDatabaseCollectionMediaItemTitleIDs,
                                                 PLXDatabaseCollectionMediaItemUserData,
                                                 PLXDatabaseCollectionMediaItemAnalyzedData,
                                                 PLXDatabaseCollectionLocalMediaItemLocations,
                                                 PLXDatabaseCollectionGlobalMediaItemLocations,
                                                 PLXDatabaseCollectionMediaArtists,
                                                 PLXDatabaseCollectionMediaAlbums,
                                                 PLXDatabaseCollectionMediaLabels,
                                                 PLXDatabaseCollectionMediaGenres,
                                                 PLXDatabaseCollectionMediaItemTags,
                                                 PLXDatabaseCollectionMediaItemTagGroups,
                                                 PLXDatabaseCollectionMediaItemPlaylists,
                                                 PLXDatabaseCollectionMediaItemPlaylistItems,
                                                 PLXDatabaseCollectionMediaItemFilterSets,
                                                 PLXDatabaseCollectionHistorySessions,
                                                 PLXDatabaseCollectionHistorySessionItems,
                                                 PLXDatabaseCollectionQueues,
                                                 PLXDatabaseCollectionQueueItems,
                                                 PLXDatabaseCollectionContentPacks,
                                                 PLXDatabaseCollectionContentPackMediaItems,
                                                 PLXDatabaseCollectionContentPackDownloads,
                                                 PLXDatabaseCollectionUserContentPacks,
                                                 PLXDatabaseCollectionUserContentPackMediaItems,
                                                 PLXDatabaseCollectionProducts,
                                                 PLXDatabaseCollectionCloudKit};
    return std::find(std::begin(names), std::end(names), collection) != std::end(names);
}

std::vector<String> collectionsToDump(const DumpOptions& options,
                                      const YapDatabaseReadTransaction& transaction) {
    std::vector<String> there = transaction.allCollections();
    std::sort(there.begin(), there.end());
    if (options.isAll) return there;
    if (std::find(there.begin(), there.end(), options.collection) != there.end() ||
        isOfEveryLibrary(options.collection))
        return {options.collection};
    std::string list;
    for (const String& name : there) list += (list.empty() ? "" : ", ") + name.str();
    throw CommandFailure("there is no collection \"" + options.collection +
                         "\"; the library has: " + (list.empty() ? "none" : list));
}

void putRow(const String& key, const String& collection,
            const YapDatabaseReadTransaction& transaction) {
    Dictionary line{{"collection", collection}, {"key", key}};
    Value object, metadata;
    transaction.getObjectAndMetadata(&object, &metadata, key, collection);
    if (const auto& held = object.object()) {
        line.set("class", held->archiveClass().name());
        const Value all = dumped(object);
        for (const auto& [name, value] : all.dictionary())
            if (name.string() != "class") line.set(name, value);
    } else if (object.isNil()) {
        line.set("fault", "it cannot be read; \"qsml check\" tells why");
    } else {
        line.set("value", dumped(object));
    }
    if (!metadata.isNil()) line.set("metadata", dumped(metadata));
    putJSON(line);
}

}  // namespace

int runDump(const CommonOptions& common, const DumpOptions& options) {
    readLibrary(common, [&](YapDatabaseReadTransaction& transaction) {
        ProgressBar bar("records");
        std::uint64_t done = 0;
        for (const String& collection : collectionsToDump(options, transaction)) {
            std::vector<String> keys = transaction.allKeysInCollection(collection);
            std::sort(keys.begin(), keys.end());
            for (const String& key : keys) {
                putRow(key, collection, transaction);
                bar.update(++done, 0);
            }
        }
    });
    return 0;
}

}  // namespace qsml::app
