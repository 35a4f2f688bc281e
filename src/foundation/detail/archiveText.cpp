#include "foundation/detail/archiveText.h"

#include <cstring>

namespace qsml::detail {

namespace {

constexpr std::uint32_t replacement = 0xFFFD;

/// Reads one scalar value and moves `position` past it.
std::uint32_t nextOfUTF16(const std::uint8_t* units, std::size_t count, std::size_t& position) {
    auto unit = [&](std::size_t i) {
        return static_cast<std::uint32_t>(units[2 * i] << 8 | units[2 * i + 1]);
    };
    const std::uint32_t first = unit(position++);
    if (first < 0xD800 || first > 0xDFFF) return first;
    if (first > 0xDBFF || position == count) return replacement;
    const std::uint32_t second = unit(position);
    if (second < 0xDC00 || second > 0xDFFF) return replacement;
    ++position;
    return 0x10000 + ((first & 0x3FF) << 10 | (second & 0x3FF));
}

char* put(std::uint32_t scalar, char* out) {
    auto byte = [](std::uint32_t bits) { return static_cast<char>(bits); };
    if (scalar < 0x80) {
        *out++ = byte(scalar);
    } else if (scalar < 0x800) {
        *out++ = byte(0xC0 | scalar >> 6);
        *out++ = byte(0x80 | (scalar & 0x3F));
    } else if (scalar < 0x10000) {
        *out++ = byte(0xE0 | scalar >> 12);
        *out++ = byte(0x80 | (scalar >> 6 & 0x3F));
        *out++ = byte(0x80 | (scalar & 0x3F));
    } else {
        *out++ = byte(0xF0 | scalar >> 18);
        *out++ = byte(0x80 | (scalar >> 12 & 0x3F));
        *out++ = byte(0x80 | (scalar >> 6 & 0x3F));
        *out++ = byte(0x80 | (scalar & 0x3F));
    }
    return out;
}

/// Bytes of the sequence that a lead byte begins; 0 when no sequence begins with it.
std::size_t sequenceLength(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead < 0xE0) return 2;
    if (lead >= 0xE0 && lead < 0xF0) return 3;
    if (lead >= 0xF0 && lead < 0xF5) return 4;
    return 0;
}

std::uint32_t scalarAt(const char* text, std::size_t length) {
    auto bits = [&](std::size_t i) { return static_cast<std::uint32_t>(text[i] & 0x3F); };
    const auto lead = static_cast<unsigned char>(text[0]);
    if (length == 1) return lead;
    if (length == 2) return (lead & 0x1Fu) << 6 | bits(1);
    if (length == 3) return (lead & 0x0Fu) << 12 | bits(1) << 6 | bits(2);
    return (lead & 0x07u) << 18 | bits(1) << 12 | bits(2) << 6 | bits(3);
}

bool isWellFormed(const char* text, std::size_t length) {
    for (std::size_t i = 1; i < length; ++i)
        if ((text[i] & 0xC0) != 0x80) return false;
    const std::uint32_t scalar = scalarAt(text, length);
    if (length == 3) return scalar >= 0x800 && (scalar < 0xD800 || scalar > 0xDFFF);
    return length != 4 || (scalar >= 0x10000 && scalar <= 0x10FFFF);
}

}  // namespace

bool isASCII(const void* bytes, std::size_t size) noexcept {
    auto* at = static_cast<const unsigned char*>(bytes);
    std::uint64_t seen = 0;
    for (; size >= 8; at += 8, size -= 8) {
        std::uint64_t word;
        std::memcpy(&word, at, 8);
        seen |= word;
    }
    unsigned char tail = 0;
    for (; size > 0; ++at, --size) tail |= *at;
    return (seen & 0x8080808080808080u) == 0 && tail < 0x80;
}

std::size_t utf8SizeOfUTF16(const std::uint8_t* units, std::size_t count) noexcept {
    std::size_t size = 0;
    for (std::size_t i = 0; i < count;) {
        const std::uint32_t scalar = nextOfUTF16(units, count, i);
        size += scalar < 0x80 ? 1 : scalar < 0x800 ? 2 : scalar < 0x10000 ? 3 : 4;
    }
    return size;
}

char* utf8FromUTF16(const std::uint8_t* units, std::size_t count, char* out) noexcept {
    for (std::size_t i = 0; i < count;) out = put(nextOfUTF16(units, count, i), out);
    return out;
}

std::size_t utf8SizeOfLatin1(const std::uint8_t* bytes, std::size_t count) noexcept {
    std::size_t size = count;
    for (std::size_t i = 0; i < count; ++i) size += bytes[i] >> 7;
    return size;
}

char* utf8FromLatin1(const std::uint8_t* bytes, std::size_t count, char* out) noexcept {
    for (std::size_t i = 0; i < count; ++i) out = put(bytes[i], out);
    return out;
}

std::int64_t utf16CountOfUTF8(std::string_view text) noexcept {
    std::int64_t count = 0;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = sequenceLength(static_cast<unsigned char>(text[i]));
        if (length == 0 || text.size() - i < length) return -1;
        if (!isWellFormed(text.data() + i, length)) return -1;
        count += length == 4 ? 2 : 1;
        i += length;
    }
    return count;
}

void utf16FromUTF8(std::string_view text, std::uint8_t* out) noexcept {
    auto unit = [&out](std::uint32_t value) {
        *out++ = static_cast<std::uint8_t>(value >> 8);
        *out++ = static_cast<std::uint8_t>(value & 0xFF);
    };
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = sequenceLength(static_cast<unsigned char>(text[i]));
        const std::uint32_t scalar = scalarAt(text.data() + i, length);
        i += length;
        if (scalar < 0x10000) {
            unit(scalar);
        } else {
            unit(0xD800 | (scalar - 0x10000) >> 10);
            unit(0xDC00 | ((scalar - 0x10000) & 0x3FF));
        }
    }
}

}  // namespace qsml::detail
