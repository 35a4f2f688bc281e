#pragma once
#include <functional>

#include "commands.h"

namespace qsml {
class YapDatabaseReadTransaction;
class YapDatabaseReadWriteTransaction;
}  // namespace qsml

namespace qsml::app {

/// Runs the block on one snapshot of the library, which must exist. Throws CommandFailure when it
/// cannot be read to the end.
void readLibrary(const CommonOptions& common,
                 const std::function<void(YapDatabaseReadTransaction&)>& block);
/// The same in a library that is open.
void readLibrary(const std::shared_ptr<YapDatabaseConnection>& connection,
                 const std::function<void(YapDatabaseReadTransaction&)>& block);

/// Runs the block in one transaction of the library, which is stored on disk when this returns.
/// Throws CommandFailure when that fails; the library is then as it was, also when the block
/// throws.
void changeLibrary(const std::shared_ptr<YapDatabaseConnection>& connection,
                   const std::function<void(YapDatabaseReadWriteTransaction&)>& block);

}  // namespace qsml::app
