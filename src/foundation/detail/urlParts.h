#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace qsml::detail {

/// A URI reference taken apart (RFC 3986, section 3). Absent and empty are different for all but
/// the path.
struct URLParts {
    std::optional<std::string_view> scheme;
    std::optional<std::string_view> authority;
    std::string_view path;
    std::optional<std::string_view> query;
    std::optional<std::string_view> fragment;
};

/// Any text has parts; whether they are valid is another question. They view into the text.
URLParts urlParts(std::string_view text);
bool isValidURL(std::string_view text);
/// The reference against its base (RFC 3986, section 5.2).
std::string resolvedURL(std::string_view reference, std::string_view base);

/// Undoes percent-escapes; a "%" without two digits stands for itself.
std::string percentDecoded(std::string_view text);
/// Escapes what a URL's path may not hold; "/" stays.
std::string percentEncodedPath(std::string_view path);

}  // namespace qsml::detail
