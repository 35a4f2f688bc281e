#pragma once
#include "foundation/Dictionary.h"

namespace qsml {

/// What the store's cloud extension and the record handler tell each other about one row.
struct YapDatabaseCloudKitRecordInfo {
    /// Set by the handler: the container that the record goes to.
    String databaseIdentifier;
    /// Set by the extension where queued values were lost and have to be read from the object
    /// again.
    std::optional<OrderedSet<String>> keysToRestore;
    /// Set by the handler: per changed cloud key the value that the change replaced.
    Dictionary originalValues;
};

}  // namespace qsml
