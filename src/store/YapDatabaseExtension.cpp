#include "store/YapDatabaseExtension.h"

namespace qsml {

YapDatabaseExtension::~YapDatabaseExtension() = default;
YapDatabaseExtensionTransaction::~YapDatabaseExtensionTransaction() = default;

bool YapDatabaseExtension::rebuild(YapDatabaseExtensionContext& context, Error* error) {
    return dropTables(context, error) && createTables(context, error) && fill(context, error);
}

}  // namespace qsml
