#include "foundation/detail/Number.h"

#include <cmath>
#include <limits>

namespace qsml::detail {

namespace {

constexpr double twoTo63 = 9223372036854775808.0;
constexpr double twoTo64 = 18446744073709551616.0;

}  // namespace

Number Number::of(double value) {
    if (std::trunc(value) == value && value >= -twoTo63 && value < twoTo64) {
        if (value >= 0) return of(static_cast<std::uint64_t>(value));
        return of(static_cast<std::int64_t>(value));
    }
    return {false, false, 0, value};
}

std::int64_t Number::integerValue() const {
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    if (!whole) {
        if (std::isnan(real)) return 0;
        if (real >= twoTo63) return most;
        if (real < -twoTo63) return std::numeric_limits<std::int64_t>::min();
        return static_cast<std::int64_t>(real);
    }
    if (negative) return static_cast<std::int64_t>(std::uint64_t{0} - magnitude);
    return magnitude > static_cast<std::uint64_t>(most) ? most
                                                        : static_cast<std::int64_t>(magnitude);
}

std::uint64_t Number::unsignedValue() const {
    if (whole && !negative) return magnitude;
    if (!whole && real >= twoTo64) return std::numeric_limits<std::uint64_t>::max();
    if (!whole && real >= twoTo63) return static_cast<std::uint64_t>(real);
    // Negative numbers wrap around, as the platform's do: -1 is the largest.
    return static_cast<std::uint64_t>(integerValue());
}

}  // namespace qsml::detail
