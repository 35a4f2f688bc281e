#pragma once
#include <string_view>

#include "foundation/Value.h"

namespace qsml {

/// The value at a key path of a record, value object or rule, whose keys are the names of its
/// properties; nil for a name that it does not have, and for other objects. Collections on the way
/// give collections (see foundation/Predicate.h).
QSML_EXPORT Value valueForKeyPath(const Object& object, std::string_view keyPath);

}  // namespace qsml
