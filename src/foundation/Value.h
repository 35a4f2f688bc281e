#pragma once
#include <memory>
#include <utility>
#include <variant>
#include <vector>

#include "foundation/Data.h"
#include "foundation/Date.h"
#include "foundation/OrderedSet.h"
#include "foundation/String.h"
#include "foundation/URL.h"
#include "foundation/UUID.h"

namespace qsml {

class Object;
class Dictionary;
class ValueSet;

/// The null object: a value that stands for "nothing" inside a collection. It is not nil.
struct Null {
    friend bool operator==(Null, Null) { return true; }
};

/// The one dynamic type, for key-value access, predicates, cloud fields, JSON and archives.
///
/// Numbers remember their kind: a bool is not an integer and a 32-bit real is not a 64-bit one,
/// because some rules ask. Equality is by value across the number kinds (1 == true == 1.0, but the
/// 32-bit 0.1 is not the 64-bit 0.1, and NaN equals nothing); a number never equals a text, an
/// array never a set. hash() agrees with equality. Immutable; collections are shared by copies.
/// Thread-safe as its parts.
class QSML_EXPORT Value {
public:
    using Array = std::vector<Value>;
    enum class Kind : std::uint8_t {
        nil,
        null,
        boolean,
        integer,
        unsignedInteger,
        real32,
        real64,
        string,
        date,
        data,
        url,
        uuid,
        array,
        set,
        orderedSet,
        dictionary,
        object
    };

    Value() = default;
    Value(std::nullopt_t) {}
    Value(Null null) : held_(null) {}
    Value(bool number) : held_(number) {}
    Value(std::int64_t number) : held_(number) {}
    Value(int number) : held_(static_cast<std::int64_t>(number)) {}
    Value(std::uint64_t number) : held_(number) {}
    Value(float number) : held_(number) {}
    Value(double number) : held_(number) {}
    Value(String text) {
        if (text) held_ = std::move(text);
    }
    Value(std::string_view text) : Value(String(text)) {}
    Value(const std::string& text) : Value(String(text)) {}
    Value(const char* text) : Value(String(text)) {}
    Value(Date date) : held_(date) {}
    Value(Data data) : held_(std::move(data)) {}
    Value(URL url) : held_(std::move(url)) {}
    Value(UUID uuid) : held_(uuid) {}
    Value(Array array) : held_(std::make_shared<const Array>(std::move(array))) {}
    Value(const ValueSet& set);
    Value(const OrderedSet<Value>& set);
    Value(const OrderedSet<String>& set);
    Value(const Dictionary& dictionary);
    /// Null gives nil.
    Value(std::shared_ptr<const Object> object) {
        if (object) held_ = std::move(object);
    }
    template <class T>
    Value(const std::optional<T>& value) {
        if (value) *this = Value(*value);
    }

    Kind kind() const noexcept { return static_cast<Kind>(held_.index()); }
    bool isNil() const noexcept { return kind() == Kind::nil; }
    /// Bool, integers and reals.
    bool isNumber() const noexcept { return kind() >= Kind::boolean && kind() <= Kind::real64; }
    bool isCollection() const noexcept {
        return kind() >= Kind::array && kind() <= Kind::orderedSet;
    }

    /// Number conversions saturate, NaN gives 0, reals truncate towards zero; anything but a number
    /// is 0.
    std::int64_t integerValue() const noexcept;
    /// As integerValue; -1 reads as 18446744073709551615.
    std::uint64_t unsignedValue() const noexcept;
    double realValue() const noexcept;
    float floatValue() const noexcept;
    bool boolValue() const noexcept;

    /// Each answers nil or an empty value where another kind is held.
    String string() const;
    std::optional<Date> date() const;
    std::optional<Data> data() const;
    std::optional<URL> url() const;
    std::optional<UUID> uuid() const;
    const std::shared_ptr<const Object>& object() const noexcept;
    /// The elements of an array, set or ordered set, in its order; empty otherwise.
    const Array& elements() const;
    const Dictionary& dictionary() const;

    friend bool operator==(const Value& a, const Value& b);
    std::size_t hash() const;

    /// As the platform describes values in texts: "(null)" for nil, numbers as in "%0.7g"/"%0.16g".
    std::string description() const;

private:
    struct SetBox {
        std::shared_ptr<const OrderedSet<Value>> elements;
    };
    struct OrderedSetBox {
        std::shared_ptr<const OrderedSet<Value>> elements;
    };
    std::variant<std::monostate, Null, bool, std::int64_t, std::uint64_t, float, double, String,
                 Date, Data, URL, UUID, std::shared_ptr<const Array>, SetBox, OrderedSetBox,
                 std::shared_ptr<const Dictionary>, std::shared_ptr<const Object>>
        held_;
};

}  // namespace qsml

template <>
struct std::hash<qsml::Value> {
    std::size_t operator()(const qsml::Value& value) const { return value.hash(); }
};

#include "foundation/Dictionary.h"
