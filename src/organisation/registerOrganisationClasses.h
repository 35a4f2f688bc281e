#pragma once
#include "foundation/Export.h"

namespace qsml {

/// Makes the record classes of this folder known to decoding. Thread-safe; repeating it does
/// nothing.
QSML_EXPORT void registerOrganisationClasses();

}  // namespace qsml
