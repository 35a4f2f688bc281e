#pragma once
#include "foundation/Export.h"

namespace qsml {

/// Makes filter sets and the kinds of rules known to decoding. Thread-safe; repeating it does
/// nothing.
QSML_EXPORT void registerFilterClasses();

}  // namespace qsml
