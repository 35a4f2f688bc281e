#pragma once
#include <string>
#include <string_view>

namespace qsml::detail {

/// The one way a name becomes an SQL identifier. The name must not hold NUL bytes (isUsableName).
inline std::string quotedIdentifier(std::string_view name) {
    std::string quoted;
    quoted.reserve(name.size() + 2);
    quoted += '"';
    for (const char c : name) {
        if (c == '"') quoted += '"';
        quoted += c;
    }
    quoted += '"';
    return quoted;
}

/// SQL text ends at a NUL byte, so names with one are refused, as are empty ones.
inline bool isUsableName(std::string_view name) {
    return !name.empty() && name.find('\0') == std::string_view::npos;
}

}  // namespace qsml::detail
