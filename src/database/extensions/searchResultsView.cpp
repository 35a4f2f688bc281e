#include "store/views/YapDatabaseSearchResultsView.h"

#include "database/PLXDatabaseManager.h"
#include "database/extensions/registerExtension.h"

namespace qsml {

void PLXDatabaseManager::setupSearchResultsViewExtension() {
    YapDatabaseSearchResultsViewOptions options;
    options.allowedGroups = {{"mediaItem", "artist", "album", "playlist"}};
    detail::registerExtension(*this,
                              std::make_shared<YapDatabaseSearchResultsView>(
                                  std::string(PLXDatabaseExtensionSearchIndex),
                                  std::string(PLXDatabaseExtensionMediaView), "2", options),
                              PLXDatabaseExtensionSearchResultsView);
}

}  // namespace qsml
