#include "foundation/UUID.h"

#include "foundation/Environment.h"

namespace qsml {

namespace {

constexpr std::size_t textSize = 36;

bool isHyphenPosition(std::size_t position) {
    return position == 8 || position == 13 || position == 18 || position == 23;
}

/// Of one hexadecimal digit; -1 for any other character.
int digitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

UUID UUID::random() {
    UUID made;
    RandomSource::shared().fill(made.bytes);
    made.bytes[6] = static_cast<std::uint8_t>((made.bytes[6] & 0x0F) | 0x40);  // version 4
    made.bytes[8] = static_cast<std::uint8_t>((made.bytes[8] & 0x3F) | 0x80);  // variant 1
    return made;
}

std::optional<UUID> UUID::fromString(std::string_view text) {
    if (text.size() != textSize) return std::nullopt;
    UUID read;
    std::size_t digits = 0;
    for (std::size_t i = 0; i < textSize; ++i) {
        if (isHyphenPosition(i)) {
            if (text[i] != '-') return std::nullopt;
            continue;
        }
        const int value = digitValue(text[i]);
        if (value < 0) return std::nullopt;
        auto& byte = read.bytes[digits++ / 2];
        byte = static_cast<std::uint8_t>((byte << 4) | value);
    }
    return read;
}

String UUID::UUIDString() const {
    return String::build(textSize, [this](char* out) {
        std::size_t digits = 0;
        for (std::size_t i = 0; i < textSize; ++i) {
            if (isHyphenPosition(i)) {
                out[i] = '-';
                continue;
            }
            const unsigned byte = bytes[digits / 2];
            out[i] = "0123456789ABCDEF"[digits % 2 == 0 ? byte >> 4 : byte & 0x0F];
            ++digits;
        }
    });
}

}  // namespace qsml
