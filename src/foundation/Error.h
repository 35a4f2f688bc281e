#pragma once
#include <string>

#include "foundation/Dictionary.h"

namespace qsml {

/// Why an operation failed: who says so (domain), which failure (code), a sentence for people that
/// names the file and the cause, and further facts.
struct QSML_EXPORT Error {
    std::string domain;
    std::int64_t code = 0;
    std::string description;
    Dictionary userInfo = {};

    /// A lack of memory may leave the texts empty; the code then still tells.
    explicit operator bool() const noexcept { return code != 0 || !domain.empty(); }
};

/// Fills an out-parameter that may be null.
inline void report(Error* error, Error value) {
    if (error) *error = std::move(value);
}

}  // namespace qsml
