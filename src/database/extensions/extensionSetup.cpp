#include "database/PLXDatabaseManager.h"

// The places of the extensions in the order of setup. Those that have a file of their own are
// registered; the others get theirs as soon as their kind of extension and their records exist.

namespace qsml {

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
