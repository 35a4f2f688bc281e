#include "xiphComments.h"

#include <QSMediaLibraryData/foundation/text.h>

#include <cstdint>
#include <fstream>
#include <optional>

namespace qsml::app {

namespace {

/// Takes a 32-bit little-endian number off the front.
std::optional<std::uint32_t> takeNumber(std::string_view& bytes) {
    if (bytes.size() < 4) return std::nullopt;
    std::uint32_t number = 0;
    for (std::size_t i = 4; i-- > 0;) number = (number << 8) | static_cast<unsigned char>(bytes[i]);
    bytes.remove_prefix(4);
    return number;
}

/// Takes a text with its length in front off the front.
std::optional<std::string_view> takeText(std::string_view& bytes) {
    const auto size = takeNumber(bytes);
    if (!size || *size > bytes.size()) return std::nullopt;
    const auto text = bytes.substr(0, *size);
    bytes.remove_prefix(*size);
    return text;
}

bool readExactly(std::istream& file, char* bytes, std::size_t size) {
    return static_cast<bool>(file.read(bytes, static_cast<std::streamsize>(size)));
}

std::uint32_t byteAt(const char* bytes, std::size_t place) {
    return static_cast<unsigned char>(bytes[place]);
}

/// Leaves the file after the "fLaC" mark; false when there is none.
bool skipToBlocks(std::istream& file) {
    char mark[10];
    if (!readExactly(file, mark, 4)) return false;
    if (std::string_view(mark, 3) == "ID3") {
        if (!readExactly(file, mark + 4, 6)) return false;
        const std::uint32_t size =
            byteAt(mark, 6) << 21 | byteAt(mark, 7) << 14 | byteAt(mark, 8) << 7 | byteAt(mark, 9);
        file.seekg(size, std::ios::cur);
        if (!readExactly(file, mark, 4)) return false;
    }
    return std::string_view(mark, 4) == "fLaC";
}

}  // namespace

std::vector<std::string> xiphFieldsWithInvalidText(std::string_view block) {
    std::vector<std::string> damaged;
    if (!takeText(block)) return damaged;  // the vendor
    const auto count = takeNumber(block);
    for (std::uint32_t i = 0; count && i < *count; ++i) {
        const auto comment = takeText(block);
        if (!comment) break;
        const auto equals = comment->find('=');
        if (equals == std::string_view::npos || isValidUTF8(comment->substr(equals + 1))) continue;
        std::string name;
        for (const char c : comment->substr(0, equals))
            name += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
        damaged.push_back(name);
    }
    return damaged;
}

std::string flacCommentBlock(const std::string& path) {
    constexpr std::uint32_t commentType = 4;
    std::ifstream file(path, std::ios::binary);
    if (!file || !skipToBlocks(file)) return {};
    char head[4];
    while (readExactly(file, head, sizeof head)) {
        const std::uint32_t size = byteAt(head, 1) << 16 | byteAt(head, 2) << 8 | byteAt(head, 3);
        if ((byteAt(head, 0) & 0x7F) == commentType) {
            std::string block(size, '\0');
            file.read(block.data(), static_cast<std::streamsize>(size));
            block.resize(static_cast<std::size_t>(file.gcount()));
            return block;
        }
        if (byteAt(head, 0) & 0x80) break;  // the last block
        file.seekg(size, std::ios::cur);
    }
    return {};
}

}  // namespace qsml::app
