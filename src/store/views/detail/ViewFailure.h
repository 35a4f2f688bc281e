#pragma once
#include <stdexcept>

#include "store/YapDatabaseExtension.h"
#include "store/YapDatabaseTransaction.h"

namespace qsml::detail {

/// What is stored of a view cannot be read or is damaged. Caught at the edges of the view, where it
/// becomes the transaction's error.
class ViewFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// False with the error when the transaction could not read something: what a view made of it may
/// be wrong, and must not be committed.
inline bool hasRead(YapDatabaseExtensionContext& context, Error* error) {
    const Error failure = context.transaction().error();
    if (failure) report(error, failure);
    return !failure;
}

}  // namespace qsml::detail
