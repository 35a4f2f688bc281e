#pragma once
#include "foundation/Export.h"

namespace qsml {

/// Makes the record classes of this folder known to decoding, and the names that files of content
/// packs had in earlier versions. Thread-safe; repeating it does nothing.
QSML_EXPORT void registerContentPackClasses();

}  // namespace qsml
