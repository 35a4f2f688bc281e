#pragma once
#include <concepts>

#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"
#include "foundation/Value.h"

namespace qsml {

/// How a property is written where its type leaves a choice.
enum class ArchiveForm : std::uint8_t {
    /// Numbers inline; collections of objects as arrays, and read from nothing else; collections of
    /// texts as ordered sets, and read from any collection.
    natural,
    numberObject,       ///< a number as an object of its own
    integer,            ///< a bool as an integer
    set,                ///< a collection as a set, and read from nothing else
    orderedSet,         ///< texts as an ordered set, and read from nothing else
    arrayOrOrderedSet,  ///< texts as an ordered set, and read from that or an array
};

/// Whether a collection of that kind is taken under a key of that form.
constexpr bool accepts(ArchiveForm form, Value::Kind kind) {
    using Kind = Value::Kind;
    if (form == ArchiveForm::set) return kind == Kind::set;
    if (form == ArchiveForm::orderedSet) return kind == Kind::orderedSet;
    if (form == ArchiveForm::arrayOrOrderedSet)
        return kind == Kind::array || kind == Kind::orderedSet;
    return kind == Kind::array;
}

/// What the property table knows of a type: its argument encoding (a setter whose encoding has no
/// wrapper stays unguarded), its key-value form and its archive form. A new property type is a new
/// specialisation. unbox() answers false for a value that the property cannot hold.
template <class T>
struct Boxing;

template <class T>
struct NumberBoxing {
    static Value box(T number, ArchiveForm) { return Value(number); }
    static bool unbox(const Value& value, T& into) {
        if (!value.isNumber()) return false;
        into = read(value);
        return true;
    }
    static T read(const Value& value) {
        if constexpr (std::same_as<T, bool>) return value.boolValue();
        if constexpr (std::same_as<T, std::int64_t>) return value.integerValue();
        if constexpr (std::same_as<T, std::uint64_t>) return value.unsignedValue();
        if constexpr (std::same_as<T, float>) return value.floatValue();
        if constexpr (std::same_as<T, double>) return value.realValue();
    }
    static void encode(KeyedArchiver& coder, std::string_view key, T number, ArchiveForm form) {
        if (form == ArchiveForm::numberObject) return coder.encodeValue(key, Value(number));
        if (form == ArchiveForm::integer)
            return coder.encodeInt64(key, static_cast<std::int64_t>(number));
        if constexpr (std::same_as<T, bool>) coder.encodeBool(key, number);
        if constexpr (std::same_as<T, std::int64_t>) coder.encodeInt64(key, number);
        if constexpr (std::same_as<T, std::uint64_t>)
            coder.encodeInt64(key, static_cast<std::int64_t>(number));
        if constexpr (std::same_as<T, float>) coder.encodeFloat(key, number);
        if constexpr (std::same_as<T, double>) coder.encodeDouble(key, number);
    }
    static void decode(KeyedUnarchiver& coder, std::string_view key, T& into, ArchiveForm form) {
        if (form == ArchiveForm::numberObject) {
            into = read(coder.decodeValue(key));
            return;
        }
        if (form == ArchiveForm::integer) {
            into = read(Value(coder.decodeInt64(key)));
            return;
        }
        if constexpr (std::same_as<T, bool>) into = coder.decodeBool(key);
        if constexpr (std::same_as<T, std::int64_t>) into = coder.decodeInt64(key);
        if constexpr (std::same_as<T, std::uint64_t>)
            into = static_cast<std::uint64_t>(coder.decodeInt64(key));
        if constexpr (std::same_as<T, float>) into = coder.decodeFloat(key);
        if constexpr (std::same_as<T, double>) into = coder.decodeDouble(key);
    }
};

template <>
struct Boxing<bool> : NumberBoxing<bool> {
    static constexpr std::string_view encoding = "B";
};
template <>
struct Boxing<std::int64_t> : NumberBoxing<std::int64_t> {
    static constexpr std::string_view encoding = "q";
};
template <>
struct Boxing<std::uint64_t> : NumberBoxing<std::uint64_t> {
    static constexpr std::string_view encoding = "Q";
};
template <>
struct Boxing<float> : NumberBoxing<float> {
    static constexpr std::string_view encoding = "f";
};
template <>
struct Boxing<double> : NumberBoxing<double> {
    static constexpr std::string_view encoding = "d";
};

template <>
struct Boxing<String> {
    static constexpr std::string_view encoding = "@";
    static Value box(const String& text, ArchiveForm) { return Value(text); }
    static bool unbox(const Value& value, String& into) {
        into = value.string();
        return value.isNil() || value.kind() == Value::Kind::string;
    }
    static void encode(KeyedArchiver& coder, std::string_view key, const String& text,
                       ArchiveForm) {
        coder.encodeString(key, text);
    }
    static void decode(KeyedUnarchiver& coder, std::string_view key, String& into, ArchiveForm) {
        into = coder.decodeString(key);
    }
};

template <>
struct Boxing<std::optional<Date>> {
    static constexpr std::string_view encoding = "@";
    static Value box(const std::optional<Date>& date, ArchiveForm) { return Value(date); }
    static bool unbox(const Value& value, std::optional<Date>& into) {
        into = value.date();
        return value.isNil() || into;
    }
    static void encode(KeyedArchiver& coder, std::string_view key, const std::optional<Date>& date,
                       ArchiveForm) {
        coder.encodeDate(key, date);
    }
    static void decode(KeyedUnarchiver& coder, std::string_view key, std::optional<Date>& into,
                       ArchiveForm) {
        into = coder.decodeDate(key);
    }
};

template <>
struct Boxing<std::optional<Data>> {
    static constexpr std::string_view encoding = "@";
    static Value box(const std::optional<Data>& data, ArchiveForm) { return Value(data); }
    static bool unbox(const Value& value, std::optional<Data>& into) {
        into = value.data();
        return value.isNil() || into;
    }
    static void encode(KeyedArchiver& coder, std::string_view key, const std::optional<Data>& data,
                       ArchiveForm) {
        coder.encodeData(key, data);
    }
    static void decode(KeyedUnarchiver& coder, std::string_view key, std::optional<Data>& into,
                       ArchiveForm) {
        into = coder.decodeData(key);
    }
};

template <>
struct Boxing<std::optional<URL>> {
    static constexpr std::string_view encoding = "@";
    static Value box(const std::optional<URL>& url, ArchiveForm) { return Value(url); }
    static bool unbox(const Value& value, std::optional<URL>& into) {
        into = value.url();
        return value.isNil() || into;
    }
    static void encode(KeyedArchiver& coder, std::string_view key, const std::optional<URL>& url,
                       ArchiveForm) {
        coder.encodeURL(key, url);
    }
    static void decode(KeyedUnarchiver& coder, std::string_view key, std::optional<URL>& into,
                       ArchiveForm) {
        into = coder.decodeURL(key);
    }
};

/// The texts of a collection value; nothing when an element is no text or the value no collection.
QSML_EXPORT std::optional<OrderedSet<String>> textsOfCollection(const Value& value);
/// The texts under a key whose collection is of the form; other elements are left out.
QSML_EXPORT std::optional<OrderedSet<String>> decodeTexts(KeyedUnarchiver& coder,
                                                          std::string_view key, ArchiveForm form);

/// Keys of other records, and other distinct texts.
template <>
struct Boxing<std::optional<OrderedSet<String>>> {
    using Texts = std::optional<OrderedSet<String>>;
    static constexpr std::string_view encoding = "@";
    static Value box(const Texts& texts, ArchiveForm form) {
        if (!texts || form != ArchiveForm::set) return Value(texts);
        return Value(ValueSet(std::vector<Value>(texts->begin(), texts->end())));
    }
    static bool unbox(const Value& value, Texts& into) {
        into = textsOfCollection(value);
        return value.isNil() || into;
    }
    static void encode(KeyedArchiver& coder, std::string_view key, const Texts& texts,
                       ArchiveForm form) {
        form == ArchiveForm::set ? coder.encodeSet(key, texts) : coder.encodeOrderedSet(key, texts);
    }
    static void decode(KeyedUnarchiver& coder, std::string_view key, Texts& into,
                       ArchiveForm form) {
        into = decodeTexts(coder, key, form);
    }
};

/// An array of anything that a value holds.
template <>
struct Boxing<std::optional<Value::Array>> {
    using Elements = std::optional<Value::Array>;
    static constexpr std::string_view encoding = "@";
    static Value box(const Elements& elements, ArchiveForm) { return Value(elements); }
    static bool unbox(const Value& value, Elements& into) {
        into.reset();
        if (value.kind() == Value::Kind::array) into = value.elements();
        return value.isNil() || into;
    }
    static void encode(KeyedArchiver& coder, std::string_view key, const Elements& elements,
                       ArchiveForm) {
        coder.encodeValue(key, Value(elements));
    }
    static void decode(KeyedUnarchiver& coder, std::string_view key, Elements& into, ArchiveForm) {
        (void)unbox(coder.decodeValue(key), into);
    }
};

/// Whatever the key holds, kind included.
template <>
struct Boxing<Value> {
    static constexpr std::string_view encoding = "@";
    static Value box(const Value& value, ArchiveForm) { return value; }
    static bool unbox(const Value& value, Value& into) {
        into = value;
        return true;
    }
    static void encode(KeyedArchiver& coder, std::string_view key, const Value& value,
                       ArchiveForm) {
        coder.encodeValue(key, value);
    }
    static void decode(KeyedUnarchiver& coder, std::string_view key, Value& into, ArchiveForm) {
        into = coder.decodeValue(key);
    }
};

}  // namespace qsml
