#include "database/extensions/sortKeys.h"

#include <bit>

namespace qsml::detail {

namespace {

constexpr char afterEveryText = '\xff';  // no byte of UTF-8
constexpr char hasValue = '\1', hasNone = '\2';

std::string bigEndian(std::uint64_t number) {
    std::string bytes(8, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(number >> (56 - 8 * i) & 0xff);
    return bytes;
}

/// Unsigned numbers in the order of the reals; NaN comes before all.
std::uint64_t orderedBits(double number) {
    constexpr std::uint64_t sign = std::uint64_t{1} << 63;
    if (number != number) return 0;
    if (number == 0) number = 0;  // minus zero is zero
    const auto bits = std::bit_cast<std::uint64_t>(number);
    return bits & sign ? ~bits : bits | sign;
}

}  // namespace

std::string sortKeyOf(const String& text) {
    return text ? text.str() : std::string(1, afterEveryText);
}

std::string localizedSortKeyOf(const String& text, const Collation& collation) {
    if (!text) return std::string(1, hasNone);
    return hasValue + collation.sortKey(text);
}

std::string sortKeyOf(std::int64_t number) {
    return bigEndian(static_cast<std::uint64_t>(number) ^ std::uint64_t{1} << 63);
}

std::string newestFirstSortKeyOf(const std::optional<Date>& date) {
    if (!date) return std::string(1, hasNone);
    return hasValue + bigEndian(~orderedBits(date->secondsSinceReferenceDate));
}

}  // namespace qsml::detail
