#pragma once
#include <memory>

#include "foundation/Export.h"

namespace qsml {

class YapDatabaseConnection;

/// The calling thread's own connection on the shared manager's database: made on the first call of
/// a thread, the same one ever after, closed with the thread. Needs no lock, since no two threads
/// share one.
QSML_EXPORT std::shared_ptr<YapDatabaseConnection> plx_databaseConnection();

}  // namespace qsml
