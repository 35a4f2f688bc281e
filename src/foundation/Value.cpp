#include "foundation/Value.h"

#include <cmath>
#include <limits>

#include "foundation/Object.h"
#include "foundation/detail/Number.h"

namespace qsml {

namespace {

using detail::Number;

std::size_t mixed(std::size_t seed, std::size_t hash) {
    return seed ^ (hash + 0x9E3779B97F4A7C15u + (seed << 6) + (seed >> 2));
}

std::size_t hashOfBytes(std::span<const std::uint8_t> bytes) {
    const auto* text = reinterpret_cast<const char*>(bytes.data());
    return std::hash<std::string_view>()({text, bytes.size()});
}

std::size_t hashInOrder(std::size_t seed, const Value::Array& elements) {
    for (const auto& element : elements) seed = mixed(seed, element.hash());
    return seed;
}

/// The same for every order.
std::size_t hashOfSet(const OrderedSet<Value>& elements) {
    std::size_t sum = elements.size();
    for (const auto& element : elements) sum += mixed(1, element.hash());
    return sum;
}

std::size_t hashOfDictionary(const Dictionary& dictionary) {
    std::size_t sum = dictionary.size();
    for (const auto& [key, value] : dictionary) sum += mixed(key.hash(), value.hash());
    return sum;
}

bool equalAsSets(const OrderedSet<Value>& a, const OrderedSet<Value>& b) {
    if (a.size() != b.size()) return false;
    for (const auto& element : a)
        if (!b.contains(element)) return false;
    return true;
}

bool equalObjects(const Object& a, const Object& b) { return &a == &b || a.isEqual(b); }

/// Calls with the number's exact form; only for values that hold a number.
template <class Held>
Number numberOf(const Held& held) {
    if (auto* b = std::get_if<bool>(&held)) return Number::of(*b);
    if (auto* i = std::get_if<std::int64_t>(&held)) return Number::of(*i);
    if (auto* u = std::get_if<std::uint64_t>(&held)) return Number::of(*u);
    if (auto* f = std::get_if<float>(&held)) return Number::of(*f);
    if (auto* d = std::get_if<double>(&held)) return Number::of(*d);
    return {};
}

}  // namespace

Value::Value(const ValueSet& set)
    : held_(SetBox{std::make_shared<const OrderedSet<Value>>(set.ordered())}) {}

Value::Value(const OrderedSet<Value>& set)
    : held_(OrderedSetBox{std::make_shared<const OrderedSet<Value>>(set)}) {}

Value::Value(const OrderedSet<String>& set)
    : Value(OrderedSet<Value>(Array(set.begin(), set.end()))) {}

Value::Value(const Dictionary& dictionary)
    : held_(std::make_shared<const Dictionary>(dictionary)) {}

std::int64_t Value::integerValue() const noexcept { return numberOf(held_).integerValue(); }

std::uint64_t Value::unsignedValue() const noexcept { return numberOf(held_).unsignedValue(); }

double Value::realValue() const noexcept {
    if (auto* f = std::get_if<float>(&held_)) return static_cast<double>(*f);
    if (auto* d = std::get_if<double>(&held_)) return *d;
    if (auto* u = std::get_if<std::uint64_t>(&held_)) return static_cast<double>(*u);
    return static_cast<double>(integerValue());
}

float Value::floatValue() const noexcept {
    if (auto* f = std::get_if<float>(&held_)) return *f;
    // Whole numbers are rounded once, not by way of a double.
    if (auto* i = std::get_if<std::int64_t>(&held_)) return static_cast<float>(*i);
    if (auto* u = std::get_if<std::uint64_t>(&held_)) return static_cast<float>(*u);
    constexpr float most = std::numeric_limits<float>::max();
    const double real = realValue();
    if (std::isfinite(real) && std::abs(real) > static_cast<double>(most))
        return real > 0 ? most : -most;
    return static_cast<float>(real);
}

bool Value::boolValue() const noexcept {
    const Number number = numberOf(held_);
    return number.whole ? number.magnitude != 0 : !std::isnan(number.real);
}

String Value::string() const {
    auto* text = std::get_if<String>(&held_);
    return text ? *text : String();
}

std::optional<Date> Value::date() const {
    auto* date = std::get_if<Date>(&held_);
    return date ? std::optional(*date) : std::nullopt;
}

std::optional<Data> Value::data() const {
    auto* data = std::get_if<Data>(&held_);
    return data ? std::optional(*data) : std::nullopt;
}

std::optional<URL> Value::url() const {
    auto* url = std::get_if<URL>(&held_);
    return url ? std::optional(*url) : std::nullopt;
}

std::optional<UUID> Value::uuid() const {
    auto* uuid = std::get_if<UUID>(&held_);
    return uuid ? std::optional(*uuid) : std::nullopt;
}

const std::shared_ptr<const Object>& Value::object() const noexcept {
    static const auto& none = *new std::shared_ptr<const Object>();
    auto* object = std::get_if<std::shared_ptr<const Object>>(&held_);
    return object ? *object : none;
}

const Value::Array& Value::elements() const {
    static const auto& none = *new Array();
    if (auto* array = std::get_if<std::shared_ptr<const Array>>(&held_)) return **array;
    if (auto* set = std::get_if<SetBox>(&held_)) return set->elements->list();
    if (auto* set = std::get_if<OrderedSetBox>(&held_)) return set->elements->list();
    return none;
}

const Dictionary& Value::dictionary() const {
    static const auto& none = *new Dictionary();
    auto* dictionary = std::get_if<std::shared_ptr<const Dictionary>>(&held_);
    return dictionary ? **dictionary : none;
}

QSML_EXPORT bool operator==(const Value& a, const Value& b) {
    if (a.isNumber() && b.isNumber()) return numberOf(a.held_) == numberOf(b.held_);
    if (a.kind() != b.kind()) return false;
    switch (a.kind()) {
        case Value::Kind::string:
            return std::get<String>(a.held_) == std::get<String>(b.held_);
        case Value::Kind::date:
            return std::get<Date>(a.held_) == std::get<Date>(b.held_);
        case Value::Kind::data:
            return std::get<Data>(a.held_) == std::get<Data>(b.held_);
        case Value::Kind::url:
            return std::get<URL>(a.held_) == std::get<URL>(b.held_);
        case Value::Kind::uuid:
            return std::get<UUID>(a.held_) == std::get<UUID>(b.held_);
        case Value::Kind::array:
        case Value::Kind::orderedSet:
            return a.elements() == b.elements();
        case Value::Kind::set:
            return equalAsSets(*std::get<Value::SetBox>(a.held_).elements,
                               *std::get<Value::SetBox>(b.held_).elements);
        case Value::Kind::dictionary:
            return a.dictionary() == b.dictionary();
        case Value::Kind::object:
            return equalObjects(*a.object(), *b.object());
        default:
            return true;  // nil and the null object
    }
}

std::size_t Value::hash() const {
    if (isNumber()) return numberOf(held_).hash();
    switch (kind()) {
        case Kind::string:
            return std::hash<String>()(std::get<String>(held_));
        case Kind::date:
            return std::hash<double>()(std::get<Date>(held_).secondsSinceReferenceDate);
        case Kind::data:
            return hashOfBytes(std::get<Data>(held_).bytes());
        case Kind::url:
            return std::hash<URL>()(std::get<URL>(held_));
        case Kind::uuid:
            return hashOfBytes(std::get<UUID>(held_).bytes);
        case Kind::array:
        case Kind::orderedSet:
            return hashInOrder(static_cast<std::size_t>(kind()), elements());
        case Kind::set:
            return hashOfSet(*std::get<SetBox>(held_).elements);
        case Kind::dictionary:
            return hashOfDictionary(dictionary());
        case Kind::object:
            return object()->hash();
        default:
            return static_cast<std::size_t>(kind());
    }
}

}  // namespace qsml
