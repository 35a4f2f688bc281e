#include "printable.h"

#include <QSMediaLibraryData/foundation/text.h>
#include <fmt/format.h>
#include <locale.h>
#include <wchar.h>

#include <algorithm>

namespace qsml::app {

namespace {

struct Character {
    std::size_t size = 1;  ///< bytes
    char32_t code = 0;
    bool isValid = false;
};

/// The character at the start of a text that is not empty.
Character firstCharacter(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t size = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (text.size() < size || !isValidUTF8(text.substr(0, size))) return {};
    constexpr unsigned leadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    char32_t code = lead & leadBits[size];
    for (std::size_t i = 1; i < size; ++i)
        code = (code << 6) | (static_cast<unsigned char>(text[i]) & 0x3Fu);
    return {size, code, true};
}

bool isControl(char32_t code) {
    const auto within = [code](char32_t first, char32_t last) {
        return code >= first && code <= last;
    };
    return code < 0x20 || within(0x7F, 0x9F) || within(0x200E, 0x200F) || within(0x2028, 0x202E) ||
           within(0x2066, 0x2069);
}

/// Widths are asked of the C library under a UTF-8 locale of our own, whatever the user's is.
int columnsOf(char32_t code) {
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (code < 0x80 || !utf8) return 1;
    const locale_t before = uselocale(utf8);
    const int columns = wcwidth(static_cast<wchar_t>(code));
    uselocale(before);
    return std::max(columns, 0);
}

constexpr std::string_view ellipsis = "\u2026";

}  // namespace

std::string printable(std::string_view text, std::size_t mostBytes) {
    std::string out;
    while (!text.empty()) {
        const Character next = firstCharacter(text);
        std::string piece(text.substr(0, next.size));
        if (!next.isValid || isControl(next.code)) {
            piece.clear();
            for (const char byte : text.substr(0, next.size))
                piece += fmt::format("\\x{:02X}", static_cast<unsigned char>(byte));
        }
        if (mostBytes > 0 && out.size() + piece.size() > mostBytes) return out.append(ellipsis);
        out += piece;
        text.remove_prefix(next.size);
    }
    return out;
}

std::size_t displayWidth(std::string_view text) {
    std::size_t columns = 0;
    while (!text.empty()) {
        const Character next = firstCharacter(text);
        columns += static_cast<std::size_t>(columnsOf(next.code));
        text.remove_prefix(next.size);
    }
    return columns;
}

std::string fitted(std::string_view text, std::size_t columns) {
    const std::size_t width = displayWidth(text);
    if (width <= columns) return std::string(text) + std::string(columns - width, ' ');
    std::string out;
    std::size_t used = 0;
    while (!text.empty() && columns > 0) {
        const Character next = firstCharacter(text);
        const auto more = static_cast<std::size_t>(columnsOf(next.code));
        if (used + more > columns - 1) break;
        out += text.substr(0, next.size);
        used += more;
        text.remove_prefix(next.size);
    }
    if (columns > 0) out += std::string(ellipsis) + std::string(columns - 1 - used, ' ');
    return out;
}

}  // namespace qsml::app
