#include "tracks/safeCompare.h"

#include <cmath>

#include "foundation/text.h"

namespace qsml {
namespace {

int sign(bool less, bool greater) { return static_cast<int>(greater) - static_cast<int>(less); }

// The order of two values of which at least one may be nil; `compare` sees only values.
template <class Compare>
int nilLast(bool hasA, bool hasB, Compare compare) {
    return hasA && hasB ? compare() : sign(hasA, hasB);
}

template <class T>
int order(const T& a, const T& b) {
    return sign(a < b, b < a);
}

int orderOfReals(double a, double b) {
    if (std::isnan(a) || std::isnan(b)) return sign(std::isnan(a), std::isnan(b));
    return order(a, b);
}

bool isInteger(const Value& number) {
    return number.kind() != Value::Kind::real32 && number.kind() != Value::Kind::real64;
}

// An integer against a real without losing the integer's low bits.
int orderOfIntegerAndReal(const Value& integer, double real) {
    if (std::isnan(real)) return 1;
    const bool isUnsigned = integer.kind() == Value::Kind::unsignedInteger;
    if (real >= (isUnsigned ? 0x1p64 : 0x1p63)) return -1;  // above every integer of that kind
    const Value truncated =
        isUnsigned ? Value(Value(real).unsignedValue()) : Value(Value(real).integerValue());
    if (const int rough = orderOfReals(integer.realValue(), real)) return rough;
    if (isUnsigned) return order(integer.unsignedValue(), truncated.unsignedValue());
    return order(integer.integerValue(), truncated.integerValue());
}

int orderOfNumbers(const Value& a, const Value& b) {
    if (!isInteger(a) && !isInteger(b)) return orderOfReals(a.realValue(), b.realValue());
    if (!isInteger(b)) return orderOfIntegerAndReal(a, b.realValue());
    if (!isInteger(a)) return -orderOfIntegerAndReal(b, a.realValue());
    const bool hugeA = a.kind() == Value::Kind::unsignedInteger;
    const bool hugeB = b.kind() == Value::Kind::unsignedInteger;
    if (!hugeA && !hugeB) return order(a.integerValue(), b.integerValue());
    if (!hugeA && a.integerValue() < 0) return -1;
    if (!hugeB && b.integerValue() < 0) return 1;
    return order(a.unsignedValue(), b.unsignedValue());
}

}  // namespace

int safeCompare(const String& a, const String& b) noexcept {
    return nilLast(a.has_value(), b.has_value(), [&] { return order(*a, *b); });
}

int safeCompare(const std::optional<Date>& a, const std::optional<Date>& b) noexcept {
    return nilLast(a.has_value(), b.has_value(), [&] {
        return orderOfReals(a->secondsSinceReferenceDate, b->secondsSinceReferenceDate);
    });
}

int safeCompare(const Value& a, const Value& b) {
    return nilLast(!a.isNil(), !b.isNil(), [&] {
        if (a.isNumber() && b.isNumber()) return orderOfNumbers(a, b);
        if (a.kind() != b.kind()) return order(a.kind(), b.kind());
        if (a.kind() == Value::Kind::string) return safeCompare(a.string(), b.string());
        return a.kind() == Value::Kind::date ? safeCompare(a.date(), b.date()) : 0;
    });
}

int safeLocalizedCaseInsensitiveCompare(const String& a, const String& b) {
    return nilLast(a.has_value(), b.has_value(),
                   [&] { return localizedCaseInsensitiveCompare(*a, *b); });
}

}  // namespace qsml
