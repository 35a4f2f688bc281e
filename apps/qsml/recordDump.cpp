#include "recordDump.h"

#include <QSMediaLibraryData/core/PLXDatabaseObject.h>
#include <QSMediaLibraryData/core/ValueObject.h>

#include <cmath>

namespace qsml::app {

namespace {

constexpr std::size_t deepest = 60;  // levels; JSON of more is no use to anybody

Value dumped(const Value& value, std::size_t depth);

void add(Dictionary& values, const std::vector<Property>& properties, const Object& object,
         std::size_t depth) {
    for (const Property& property : properties)
        values.set(property.name, dumped(property.value(object), depth));
}

void addOfClass(Dictionary& values, const RecordClass* recordClass, const Object& record,
                std::size_t depth) {
    if (!recordClass) return;
    addOfClass(values, recordClass->recordSuperclass(), record, depth);
    add(values, recordClass->ownProperties(), record, depth);
}

Value dumped(const Object& object, std::size_t depth) {
    Dictionary values;
    if (const auto* record = dynamic_cast<const PLXDatabaseObject*>(&object)) {
        values.set("uuid", record->uuid());
        addOfClass(values, &record->recordClass(), object, depth);
    } else if (const auto* small = dynamic_cast<const ValueObject*>(&object)) {
        add(values, small->valueClass().properties(), object, depth);
    } else {
        values.set("class", object.archiveClass().name());
    }
    return Value(values);
}

Value finite(const Value& number) {
    const double real = number.realValue();
    if (std::isfinite(real)) return number;
    return Value(std::isnan(real) ? "NaN" : real > 0 ? "Infinity" : "-Infinity");
}

Value dumped(const Value& value, std::size_t depth) {
    using Kind = Value::Kind;
    if (depth == deepest) return Value("(too deep to be shown)");
    if (value.kind() == Kind::real32 || value.kind() == Kind::real64) return finite(value);
    if (value.kind() == Kind::object) return dumped(*value.object(), depth + 1);
    if (value.isCollection()) {
        Value::Array elements;
        for (const Value& element : value.elements())
            elements.push_back(dumped(element, depth + 1));
        return Value(std::move(elements));
    }
    if (value.kind() == Kind::dictionary) {
        Dictionary members;
        for (const auto& [key, member] : value.dictionary()) {
            const String text = key.string();
            members.set(text ? text : String(key.description()), dumped(member, depth + 1));
        }
        return Value(members);
    }
    return value;
}

}  // namespace

Value dumped(const Value& value) { return dumped(value, 0); }

}  // namespace qsml::app
