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

/// SQLite keeps tables for itself whose names begin so; those of extensions are "name_suffix".
inline bool isReservedName(std::string_view name) {
    constexpr std::string_view reserved = "sqlite_";
    const std::string beginning = std::string(name.substr(0, reserved.size())) + '_';
    for (std::size_t i = 0; i < reserved.size(); ++i) {
        const char c = i < beginning.size() ? beginning[i] : '\0';
        if ((c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c) != reserved[i]) return false;
    }
    return true;
}

}  // namespace qsml::detail
