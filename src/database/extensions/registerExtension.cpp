#include "database/extensions/registerExtension.h"

#include "database/PLXDatabaseManager.h"
#include "foundation/Log.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseExtension.h"

namespace qsml::detail {

void registerExtension(PLXDatabaseManager& manager, std::shared_ptr<YapDatabaseExtension> extension,
                       std::string_view name) {
    Error error;
    if (!manager.database())
        error.description = "The library is not set up.";
    else if (manager.database()->registerExtension(std::move(extension), std::string(name), &error))
        return;
    log("-[PLXDatabaseManager registerExtension:withName:]", __LINE__,
        "The extension \"" + std::string(name) + "\" is absent: " + error.description);
}

}  // namespace qsml::detail
