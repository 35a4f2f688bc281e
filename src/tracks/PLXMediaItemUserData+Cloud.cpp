#include "foundation/JSON.h"
#include "tracks/PLXMediaItemUserData.h"

namespace qsml {
namespace {

enum class Shape : std::uint8_t { single, array, set };

/// How the value of a key and its JSON objects turn into each other.
struct JSONForm {
    Value (*jsonOf)(const Object&);  ///< nil for what has no JSON object
    std::shared_ptr<const Object> (*objectOf)(const Dictionary&);
    Shape shape;
};

template <class T>
constexpr JSONForm formOf(Shape shape) {
    return {[](const Object& object) {
                return Value(static_cast<const T&>(object).JSONObjectRepresentation());
            },
            [](const Dictionary& json) -> std::shared_ptr<const Object> {
                return T::initWithJSONObject(json);
            },
            shape};
}

constexpr std::pair<std::string_view, JSONForm> jsonForms[] = {
    {"startPoint", formOf<PLXCuePoint>(Shape::single)},
    {"endPoint", formOf<PLXCuePoint>(Shape::single)},
    {"automixStartPoint", formOf<PLXCuePoint>(Shape::single)},
    {"automixEndPoint", formOf<PLXCuePoint>(Shape::single)},
    {"cuePoints", formOf<PLXCuePoint>(Shape::array)},
    {"loopRegions", formOf<PLXLoopRegion>(Shape::array)},
    {"titleIDs", formOf<PLXMediaItemTitleID>(Shape::set)},
};

const JSONForm* jsonFormOf(const String& localKey) {
    for (const auto& [key, form] : jsonForms)
        if (localKey == key) return &form;
    return nullptr;
}

Value textsOf(const Value& objects, const JSONForm& form) {
    Value::Array texts;
    for (const Value& element : objects.elements())
        if (String text = jsonText(form.jsonOf(*element.object()))) texts.emplace_back(text);
    return Value(std::move(texts));
}

/// Nil for what is no text of such an object, or no text at all.
Value objectOf(const Value& text, const JSONForm& form) {
    const Value json = valueOfJSONText(text.string());
    return json.kind() == Value::Kind::dictionary ? Value(form.objectOf(json.dictionary()))
                                                  : Value();
}

Value objectsOf(const Value& texts, const JSONForm& form) {
    Value::Array objects;
    for (const Value& text : texts.elements())
        if (Value object = objectOf(text, form); !object.isNil())
            objects.push_back(std::move(object));
    if (objects.empty()) return {};
    return form.shape == Shape::set ? Value(ValueSet(std::move(objects)))
                                    : Value(std::move(objects));
}

/// What a cloud value says, in one form; nil when it says nothing.
Value meaningOf(const Value& cloudValue, const JSONForm& form) {
    const auto meaningOfText = [&](const Value& text) {
        const Value object = objectOf(text, form);
        return object.isNil() ? Value() : form.jsonOf(*object.object());
    };
    if (form.shape == Shape::single) return meaningOfText(cloudValue);
    Value::Array meanings;
    for (const Value& text : cloudValue.elements())
        if (Value meaning = meaningOfText(text); !meaning.isNil())
            meanings.push_back(std::move(meaning));
    if (meanings.empty()) return {};
    return form.shape == Shape::set ? Value(ValueSet(std::move(meanings)))
                                    : Value(std::move(meanings));
}

}  // namespace

bool PLXMediaItemUserData::isEqualCloudValue(const Value& a, const Value& b,
                                             std::string_view cloudKey) const {
    if (PLXCloudDatabaseObject::isEqualCloudValue(a, b, cloudKey)) return true;
    const JSONForm* form = jsonFormOf(localKeyForCloudKey(cloudKey));
    if (!form) return false;
    const Value meaning = meaningOf(a, *form);
    return !meaning.isNil() && meaning == meaningOf(b, *form);
}

Value PLXMediaItemUserData::cloudValueForCloudKey(std::string_view cloudKey) const {
    const JSONForm* form = jsonFormOf(localKeyForCloudKey(cloudKey));
    const Value local = form ? localValueForCloudKey(cloudKey) : Value();
    if (local.isNil()) return PLXCloudDatabaseObject::cloudValueForCloudKey(cloudKey);
    if (form->shape == Shape::single) return Value(jsonText(form->jsonOf(*local.object())));
    return textsOf(local, *form);
}

bool PLXMediaItemUserData::setLocalValueFromCloudValue(const Value& value,
                                                       std::string_view cloudKey) {
    const String localKey = localKeyForCloudKey(cloudKey);
    const JSONForm* form = jsonFormOf(localKey);
    if (!form || value.isNil())
        return PLXCloudDatabaseObject::setLocalValueFromCloudValue(value, cloudKey);
    if (form->shape == Shape::single)
        return value.kind() == Value::Kind::string &&
               setValueForKey(localKey, objectOf(value, *form));
    return value.isCollection() && setValueForKey(localKey, objectsOf(value, *form));
}

}  // namespace qsml
