#include "database/extensions/registerAutoView.h"

#include "database/extensions/registerExtension.h"
#include "store/views/YapDatabaseAutoView.h"

namespace qsml::detail {

void registerAutoView(PLXDatabaseManager& manager, const AutoViewName& view,
                      YapDatabaseViewGrouping grouping, YapDatabaseViewSorting sorting) {
    YapDatabaseViewOptions options;
    options.allowedCollections.emplace(view.collections.begin(), view.collections.end());
    registerExtension(
        manager,
        std::make_shared<YapDatabaseAutoView>(std::move(grouping), std::move(sorting),
                                              std::string(view.versionTag), std::move(options)),
        view.name);
}

}  // namespace qsml::detail
