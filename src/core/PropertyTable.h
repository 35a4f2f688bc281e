#pragma once
#include <utility>

#include "core/Copied.h"

namespace qsml {

/// When a property's key is written. A key that is missing reads as nil, 0 or false under `always`,
/// and leaves the initial value under `unlessInitial`.
enum class Archived : std::uint8_t { always, unlessInitial, never };

/// What a property's line may say beside type, name and setter.
template <class Type>
struct PropertyOptions {
    Type initial{};
    std::string_view archiveKey = {};  ///< empty: the property's name
    Archived archived = Archived::always;
    ArchiveForm form = ArchiveForm::natural;
};

/// One row: plain function pointers, so a row costs the compiler next to nothing.
/// The texts are literals and outlive everything.
struct Property {
    std::string_view name;
    std::string_view setterName = {};  ///< without the colon; empty: read-only
    std::string_view encoding = {};    ///< of the setter's argument
    Value (*value)(const Object&) = nullptr;
    bool (*setValue)(Object&, const Value&) = nullptr;  ///< through the setter; null: read-only
    void (*encode)(const Object&, KeyedArchiver&) = nullptr;  ///< null: not archived
    void (*decode)(Object&, KeyedUnarchiver&) = nullptr;
};

template <int Line>
struct AtLine {};

/// Collects the rows of one class; the record macros call it.
template <class Record>
class TableBuilder {
public:
    template <auto Field, auto Setter, class Type>
    void add(std::string_view name, std::string_view setterName, PropertyOptions<Type> options) {
        static const PropertyOptions<Type> kept = options;
        static const std::string_view key = options.archiveKey.empty() ? name : options.archiveKey;
        Property row{name, setterName, Boxing<Type>::encoding};
        row.value = [](const Object& o) { return Boxing<Type>::box(self(o).*Field, kept.form); };
        row.setValue = setValue<Setter, Type>;
        if (options.archived != Archived::never) {
            row.encode = [](const Object& o, KeyedArchiver& coder) {
                if (!isLeftOut(kept, self(o).*Field))
                    Boxing<Type>::encode(coder, key, self(o).*Field, kept.form);
            };
            row.decode = [](Object& o, KeyedUnarchiver& coder) {
                if (kept.archived == Archived::always || coder.containsValue(key))
                    Boxing<Type>::decode(coder, key, self(o).*Field, kept.form);
            };
        }
        rows_.push_back(row);
    }

    template <auto Getter, class Type>
    void addComputed(std::string_view name) {
        Property row{name};
        row.value = computed<Getter, Type>;
        rows_.push_back(row);
    }

    template <auto Getter, auto Setter, class Type>
    void addAccessors(std::string_view name, std::string_view setterName) {
        Property row{name, setterName, Boxing<Type>::encoding};
        row.value = computed<Getter, Type>;
        row.setValue = setValue<Setter, Type>;
        rows_.push_back(row);
    }

    std::vector<Property> take() { return std::move(rows_); }

private:
    static const Record& self(const Object& object) { return static_cast<const Record&>(object); }
    static Record& self(Object& object) { return static_cast<Record&>(object); }

    template <auto Setter, class Type>
    static bool setValue(Object& object, const Value& value) {
        Type converted{};
        if (!Boxing<Type>::unbox(value, converted)) return false;
        (self(object).*Setter)(std::move(converted));
        return true;
    }

    template <auto Getter, class Type>
    static Value computed(const Object& object) {
        return Boxing<Type>::box((self(object).*Getter)(), ArchiveForm::natural);
    }

    template <class Type>
    static bool isLeftOut(const PropertyOptions<Type>& options, const Type& field) {
        if constexpr (std::equality_comparable<Type>)
            return options.archived == Archived::unlessInitial && field == options.initial;
        return false;
    }

    std::vector<Property> rows_;
};

/// The rows of the lines between QSML_RECORD and QSML_RECORD_END, in their order.
template <class Record>
std::vector<Property> ownProperties() {
    TableBuilder<Record> table;
    auto line = [&]<int Line>(AtLine<Line> at) {
        if constexpr (requires { Record::describe(at, table); }) Record::describe(at, table);
    };
    [&]<int... Offset>(std::integer_sequence<int, Offset...>) {
        (line(AtLine<Record::firstLine + Offset>{}), ...);
    }
    (std::make_integer_sequence<int, Record::lastLine - Record::firstLine + 1>{});
    return table.take();
}

}  // namespace qsml
