#include "database/PLXDatabaseManager.h"
#include "database/extensions/registerExtension.h"
#include "store/relationships/YapDatabaseRelationship.h"

namespace qsml {

void PLXDatabaseManager::setupRelationshipExtension() {
    detail::registerExtension(*this, std::make_shared<YapDatabaseRelationship>(),
                              PLXDatabaseExtensionRelationship);
}

}  // namespace qsml
