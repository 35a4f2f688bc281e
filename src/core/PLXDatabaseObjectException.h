#pragma once
#include <exception>
#include <string>

#include "foundation/Dictionary.h"

namespace qsml {

/// Thrown by a setter of a record that is frozen. A value.
class QSML_EXPORT PLXDatabaseObjectException : public std::exception {
public:
    /// The user-information key under which the way out is described.
    static constexpr std::string_view recoverySuggestionKey = "NSLocalizedRecoverySuggestion";

    PLXDatabaseObjectException(std::string reason, Dictionary userInfo)
        : reason_(std::move(reason)), userInfo_(std::move(userInfo)) {}

    std::string_view name() const noexcept { return "PLXDatabaseObjectException"; }
    const std::string& reason() const noexcept { return reason_; }
    const Dictionary& userInfo() const noexcept { return userInfo_; }
    const char* what() const noexcept override { return reason_.c_str(); }

private:
    std::string reason_;
    Dictionary userInfo_;
};

}  // namespace qsml
