#pragma once
#include <cstddef>
#include <string_view>

namespace qsml::detail {

inline bool isContinuation(char c) noexcept {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

/// The length, 1 to 4, of the well-formed UTF-8 sequence at the front of a text that is not empty;
/// 0 when it is ill-formed there: cut off, overlong, a surrogate or above U+10FFFF.
inline std::size_t utf8SequenceLength(std::string_view text) noexcept {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    if (first < 0xC2 || first > 0xF4) return 0;
    if (text.size() < 2 || !isContinuation(text[1])) return 0;
    if (first < 0xE0) return 2;
    if (text.size() < 3 || !isContinuation(text[2])) return 0;
    const unsigned second = byte(1);
    if (first < 0xF0) {
        const bool overlong = first == 0xE0 && second < 0xA0;
        const bool surrogate = first == 0xED && second > 0x9F;
        return overlong || surrogate ? 0 : 3;
    }
    if (text.size() < 4 || !isContinuation(text[3])) return 0;
    const bool overlong = first == 0xF0 && second < 0x90;
    const bool tooLarge = first == 0xF4 && second > 0x8F;
    return overlong || tooLarge ? 0 : 4;
}

}  // namespace qsml::detail
