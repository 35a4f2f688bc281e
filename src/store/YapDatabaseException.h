#pragma once
#include <stdexcept>

#include "foundation/Export.h"

namespace qsml {

/// Misuse of the store: a nested synchronous transaction, a write during an enumeration, an
/// implicit end of a long-lived read transaction, a connection used in a forked child. what() says
/// which, and what to do.
class QSML_EXPORT YapDatabaseException : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

}  // namespace qsml
