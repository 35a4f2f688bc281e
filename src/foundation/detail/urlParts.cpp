#include "foundation/detail/urlParts.h"

#include <algorithm>

namespace qsml::detail {

namespace {

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isHexDigit(char c) { return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

bool contains(std::string_view set, char c) { return set.find(c) != std::string_view::npos; }
bool isUnreserved(char c) { return isLetter(c) || isDigit(c) || contains("-._~", c); }
bool isSubDelimiter(char c) { return contains("!$&'()*+,;=", c); }

unsigned char digitValue(char c) {
    if (isDigit(c)) return static_cast<unsigned char>(c - '0');
    return static_cast<unsigned char>((c | 0x20) - 'a' + 10);
}

bool isEscapeAt(std::string_view text, std::size_t at) {
    return text.size() - at > 2 && text[at] == '%' && isHexDigit(text[at + 1]) &&
           isHexDigit(text[at + 2]);
}

/// Unreserved characters, sub-delimiters, escapes and the extra ones only.
bool holdsOnly(std::string_view text, std::string_view extra) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '%') {
            if (!isEscapeAt(text, i)) return false;
            i += 2;
        } else if (!isUnreserved(c) && !isSubDelimiter(c) && !contains(extra, c)) {
            return false;
        }
    }
    return true;
}

bool isValidScheme(std::string_view scheme) {
    return !scheme.empty() && isLetter(scheme[0]) && std::ranges::all_of(scheme, [](char c) {
        return isLetter(c) || isDigit(c) || contains("+-.", c);
    });
}

bool isValidHostAndPort(std::string_view text) {
    std::string_view port;
    if (!text.empty() && text[0] == '[') {
        const auto close = text.find(']');
        if (close == std::string_view::npos || close == 1) return false;
        if (!holdsOnly(text.substr(1, close - 1), ":") || contains(text.substr(0, close), '%'))
            return false;
        port = text.substr(close + 1);
    } else {
        const auto colon = std::min(text.find(':'), text.size());
        if (!holdsOnly(text.substr(0, colon), "")) return false;
        port = text.substr(colon);
    }
    return port.empty() || (port[0] == ':' && std::ranges::all_of(port.substr(1), isDigit));
}

bool isValidAuthority(std::string_view authority) {
    const auto at = authority.find('@');
    if (at == std::string_view::npos) return isValidHostAndPort(authority);
    return holdsOnly(authority.substr(0, at), ":") && isValidHostAndPort(authority.substr(at + 1));
}

/// RFC 3986, section 5.2.4.
std::string withoutDotSegments(std::string_view path) {
    std::string out;
    while (!path.empty()) {
        if (path.starts_with("../")) {
            path.remove_prefix(3);
        } else if (path.starts_with("./")) {
            path.remove_prefix(2);
        } else if (path.starts_with("/./")) {
            path.remove_prefix(2);
        } else if (path == "/.") {
            path = "/";
        } else if (path.starts_with("/../") || path == "/..") {
            path = path.size() == 3 ? "/" : path.substr(3);
            const auto slash = out.rfind('/');
            out.resize(slash == std::string::npos ? 0 : slash);
        } else if (path == "." || path == "..") {
            path = {};
        } else {
            const auto end = std::min(path.find('/', 1), path.size());
            out += path.substr(0, end);
            path.remove_prefix(end);
        }
    }
    return out;
}

/// RFC 3986, section 5.2.3.
std::string mergedPath(const URLParts& base, std::string_view path) {
    if (base.authority && base.path.empty()) return "/" + std::string(path);
    const auto slash = base.path.rfind('/');
    const auto folder =
        slash == std::string_view::npos ? std::string_view() : base.path.substr(0, slash + 1);
    return std::string(folder) + std::string(path);
}

std::string joined(const URLParts& parts, std::string_view path) {
    std::string text;
    if (parts.scheme) text.append(*parts.scheme).append(":");
    // Without an authority a path must not begin with two slashes: it would read as one.
    if (parts.authority)
        text.append("//").append(*parts.authority);
    else if (path.starts_with("//"))
        text.append("/.");
    text.append(path);
    if (parts.query) text.append("?").append(*parts.query);
    if (parts.fragment) text.append("#").append(*parts.fragment);
    return text;
}

}  // namespace

URLParts urlParts(std::string_view text) {
    URLParts parts;
    if (const auto hash = text.find('#'); hash != std::string_view::npos) {
        parts.fragment = text.substr(hash + 1);
        text = text.substr(0, hash);
    }
    if (const auto question = text.find('?'); question != std::string_view::npos) {
        parts.query = text.substr(question + 1);
        text = text.substr(0, question);
    }
    const auto stop = text.find_first_of(":/");
    if (stop != std::string_view::npos && text[stop] == ':') {
        parts.scheme = text.substr(0, stop);
        text = text.substr(stop + 1);
    }
    if (text.starts_with("//")) {
        const auto end = std::min(text.find('/', 2), text.size());
        parts.authority = text.substr(2, end - 2);
        text = text.substr(end);
    }
    parts.path = text;
    return parts;
}

bool isValidURL(std::string_view text) {
    const URLParts parts = urlParts(text);
    return (!parts.scheme || isValidScheme(*parts.scheme)) &&
           (!parts.authority || isValidAuthority(*parts.authority)) &&
           holdsOnly(parts.path, ":@/") && (!parts.query || holdsOnly(*parts.query, ":@/?")) &&
           (!parts.fragment || holdsOnly(*parts.fragment, ":@/?"));
}

std::string resolvedURL(std::string_view reference, std::string_view base) {
    URLParts parts = urlParts(reference);
    const URLParts from = urlParts(base);
    if (parts.scheme) return joined(parts, withoutDotSegments(parts.path));
    parts.scheme = from.scheme;
    if (parts.authority) return joined(parts, withoutDotSegments(parts.path));
    parts.authority = from.authority;
    if (parts.path.empty()) {
        if (!parts.query) parts.query = from.query;
        return joined(parts, from.path);
    }
    if (parts.path[0] == '/') return joined(parts, withoutDotSegments(parts.path));
    return joined(parts, withoutDotSegments(mergedPath(from, parts.path)));
}

std::string percentDecoded(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!isEscapeAt(text, i)) {
            out += text[i];
            continue;
        }
        out += static_cast<char>(digitValue(text[i + 1]) * 16 + digitValue(text[i + 2]));
        i += 2;
    }
    return out;
}

std::string percentEncodedPath(std::string_view path) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string out;
    out.reserve(path.size());
    for (const char c : path) {
        if (isUnreserved(c) || isSubDelimiter(c) || contains(":@/", c)) {
            out += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        out += '%';
        out += digits[byte >> 4];
        out += digits[byte & 0x0F];
    }
    return out;
}

}  // namespace qsml::detail
