#include "foundation/text.h"

#include <unicode/ucasemap.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <vector>

#include "foundation/detail/utf8.h"

namespace qsml {

namespace {

std::int32_t icuSize(std::string_view text) {
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
        throw std::length_error("The text is too long for Unicode processing");
    return static_cast<std::int32_t>(text.size());
}

bool isASCII(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// The root locale's case map; immutable, so all threads share it.
const UCaseMap* rootCaseMap() {
    static const UCaseMap* const map = [] {
        UErrorCode status = U_ZERO_ERROR;
        const UCaseMap* opened = ucasemap_open("", 0, &status);
        if (U_FAILURE(status)) throw std::runtime_error(u_errorName(status));
        return opened;
    }();
    return map;
}

bool isWhitespaceOrNewline(std::string_view character) {
    if (character.size() == 1)
        return character[0] == ' ' || (character[0] >= '\t' && character[0] <= '\r');
    if (character.size() == 2) return character == "\u0085" || character == "\u00A0";
    return (character >= "\u2000" && character <= "\u200A") || character == "\u1680" ||
           character == "\u2028" || character == "\u2029" || character == "\u202F" ||
           character == "\u205F" || character == "\u3000";
}

/// The bytes of the white-space character at the front; 0 where there is none.
std::size_t leadingWhitespace(std::string_view text) {
    const std::size_t length = detail::utf8SequenceLength(text);
    return length != 0 && length < 4 && isWhitespaceOrNewline(text.substr(0, length)) ? length : 0;
}

std::size_t trailingWhitespace(std::string_view text) {
    std::size_t start = text.size() - 1;
    while (start > 0 && text.size() - start < 4 && detail::isContinuation(text[start])) --start;
    const auto last = text.substr(start);
    return leadingWhitespace(last) == last.size() ? last.size() : 0;
}

}  // namespace

String lowercased(std::string_view text) {
    if (isASCII(text)) {
        return String::build(text.size(), [text](char* out) {
            for (const char c : text)
                *out++ = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
        });
    }
    const std::int32_t size = icuSize(text);
    std::vector<char> out(text.size() + text.size() / 2 + 8);
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t needed = ucasemap_utf8ToLower(
        rootCaseMap(), out.data(), icuSize({out.data(), out.size()}), text.data(), size, &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        out.resize(static_cast<std::size_t>(needed) + 1);
        status = U_ZERO_ERROR;
        needed = ucasemap_utf8ToLower(rootCaseMap(), out.data(), icuSize({out.data(), out.size()}),
                                      text.data(), size, &status);
    }
    if (U_FAILURE(status)) throw std::runtime_error(u_errorName(status));
    return String(std::string_view(out.data(), static_cast<std::size_t>(needed)));
}

std::string_view trimmingWhitespaceAndNewlines(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = leadingWhitespace(text);
        if (length == 0) break;
        text.remove_prefix(length);
    }
    while (!text.empty()) {
        const std::size_t length = trailingWhitespace(text);
        if (length == 0) break;
        text.remove_suffix(length);
    }
    return text;
}

String chuzzle(const String& text) {
    const auto trimmed = trimmingWhitespaceAndNewlines(text.view());
    if (trimmed.empty()) return {};
    return trimmed.size() == text.size() ? text : String(trimmed);
}

bool isValidUTF8(std::string_view text) noexcept {
    constexpr std::uint64_t highBits = 0x8080808080808080u;
    std::size_t at = 0;
    while (at < text.size()) {
        if (std::uint64_t word = 0; text.size() - at >= sizeof word) {
            std::memcpy(&word, text.data() + at, sizeof word);
            if ((word & highBits) == 0) {
                at += sizeof word;
                continue;
            }
        }
        const std::size_t length = detail::utf8SequenceLength(text.substr(at));
        if (length == 0) return false;
        at += length;
    }
    return true;
}

std::int64_t roundedHalfAwayFromZero(float value) noexcept {
    constexpr float limit = 9223372036854775808.0f;  // 2^63
    if (std::isnan(value)) return 0;
    if (value >= limit) return std::numeric_limits<std::int64_t>::max();
    if (value < -limit) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(std::round(value));
}

}  // namespace qsml
