#pragma once
#include "foundation/Error.h"
#include "store/detail/SqliteHandle.h"

namespace qsml::detail {

/// Makes the tables of a new file, or checks that the file is ours and of a format that we know.
/// Under the writer lock.
bool prepareSchema(SqliteHandle& handle, Error* error);
/// Checks that, of a file that is not new, and changes nothing.
bool verifySchema(SqliteHandle& handle, Error* error);

}  // namespace qsml::detail
