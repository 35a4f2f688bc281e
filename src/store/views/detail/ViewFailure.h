#pragma once
#include <stdexcept>

namespace qsml::detail {

/// What is stored of a view cannot be read or is damaged. Caught at the edges of the view, where it
/// becomes the transaction's error.
class ViewFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace qsml::detail
