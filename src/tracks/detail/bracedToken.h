#pragma once
#include <string>
#include <string_view>

namespace qsml::detail {

/// "{{TEXT}}". Where braces belong to words, as in the index of user data, an identifier in braces
/// matches itself and no identifier that merely contains it.
inline std::string bracedToken(std::string_view text) {
    std::string token = "{{";
    return token.append(text).append("}}");
}

}  // namespace qsml::detail
