#include "database/PLXDatabaseManager.h"

// The places of the extensions in the order of setup. None is registered yet: each gets its file
// here as soon as its kind of extension and its records exist.

namespace qsml {

void PLXDatabaseManager::setupRelationshipExtension() {}
void PLXDatabaseManager::setupMediaItemUserDataSearchIndexExtension() {}
void PLXDatabaseManager::setupMediaItemAnalyzedDataSecondaryIndexExtension() {}
void PLXDatabaseManager::setupMediaViewExtension() {}
void PLXDatabaseManager::setupMediaItemsViewExtension() {}
void PLXDatabaseManager::setupMediaItemOriginalSourceViewExtension() {}
void PLXDatabaseManager::setupMediaItemPlaylistsViewExtension() {}
void PLXDatabaseManager::setupMediaItemPlaylistViewExtension() {}
void PLXDatabaseManager::setupMediaItemPlaylistSecondaryIndexExtension() {}
void PLXDatabaseManager::setupHistorySessionViewExtension() {}
void PLXDatabaseManager::setupQueueViewExtension() {}
void PLXDatabaseManager::setupSearchIndexExtension() {}
void PLXDatabaseManager::setupSearchResultsViewExtension() {}
void PLXDatabaseManager::setupMediaItemKeySignatureIndexViewExtension() {}
void PLXDatabaseManager::setupContentPacksViewExtension() {}
void PLXDatabaseManager::setupInstalledContentPacksViewExtension() {}
void PLXDatabaseManager::setupContentPackMediaItemsView() {}
void PLXDatabaseManager::setupUserContentPacksViewExtension() {}
void PLXDatabaseManager::setupUserContentPackMediaItemsView() {}
void PLXDatabaseManager::setupAllAvailableContentPacksViewExtension() {}
void PLXDatabaseManager::setupAllInstalledContentPacksViewExtension() {}
void PLXDatabaseManager::setupContentPackSecondaryIndexExtension() {}
void PLXDatabaseManager::setupUserContentPackSecondaryIndexExtension() {}

}  // namespace qsml
