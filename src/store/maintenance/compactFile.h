#pragma once
#include <string>

#include "store/detail/SqliteHandle.h"

namespace qsml::detail {

/// Rewrites the database without its free pages, in one transaction of SQLite that changes nothing
/// of what it says. Under the writer lock. Other connections may read: each goes on reading what it
/// began with. The file itself shrinks at the checkpoint. False with the error, and nothing
/// changed, when that fails. Where what was written does not read back, in two attempts, the copy
/// stays as "PATH-rescued" (or -rescued-2 and on), and the error says so.
bool compactFile(const std::string& path, const SqliteSettings& settings, Error* error);

}  // namespace qsml::detail
