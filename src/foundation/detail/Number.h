#pragma once
#include <cstdint>
#include <functional>

namespace qsml::detail {

/// A number of any kind in one exact form: every whole number that fits 64 bits, signed or not, is
/// sign and magnitude, whatever kind it came from; anything else is a real. Two numbers are equal
/// exactly when their forms are, so the hash of the form agrees with equality.
struct Number {
    bool whole = true;
    bool negative = false;
    std::uint64_t magnitude = 0;
    double real = 0;  // where not whole

    static Number of(std::uint64_t value) { return {true, false, value, 0}; }
    static Number of(std::int64_t value) {
        if (value >= 0) return of(static_cast<std::uint64_t>(value));
        return {true, true, std::uint64_t{0} - static_cast<std::uint64_t>(value), 0};
    }
    static Number of(bool value) { return of(std::uint64_t{value}); }
    static Number of(double value);
    static Number of(float value) { return of(static_cast<double>(value)); }

    friend bool operator==(const Number& a, const Number& b) {
        if (a.whole != b.whole) return false;
        return a.whole ? a.negative == b.negative && a.magnitude == b.magnitude : a.real == b.real;
    }
    std::size_t hash() const {
        if (!whole) return std::hash<double>()(real);
        return std::hash<std::uint64_t>()(negative ? ~magnitude : magnitude);
    }

    /// Saturating, reals towards zero, NaN gives 0.
    std::int64_t integerValue() const;
    std::uint64_t unsignedValue() const;
};

}  // namespace qsml::detail
