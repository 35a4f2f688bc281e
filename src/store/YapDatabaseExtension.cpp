#include "store/YapDatabaseExtension.h"

namespace qsml {

YapDatabaseExtension::~YapDatabaseExtension() = default;

const std::set<std::string, std::less<>>* YapDatabaseExtension::collectionsWithDependents() const {
    static const std::set<std::string, std::less<>> none;
    return &none;
}

YapDatabaseExtensionTransaction::~YapDatabaseExtensionTransaction() = default;

bool YapDatabaseExtension::rebuild(YapDatabaseExtensionContext& context, Error* error) {
    return dropTables(context, error) && createTables(context, error) && fill(context, error);
}

std::shared_ptr<const YapDatabaseExtensionState> YapDatabaseExtension::reloadState(
    YapDatabaseExtensionContext& context, const std::shared_ptr<const YapDatabaseExtensionState>&,
    Error* error) {
    return loadState(context, error);
}

}  // namespace qsml
