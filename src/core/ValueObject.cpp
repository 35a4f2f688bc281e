#include "core/ValueObject.h"

#include <algorithm>

namespace qsml {

bool ValueObject::isEqual(const Object& other) const {
    if (this == &other) return true;
    if (!other.archiveClass().isSubclassOf(valueClass())) return false;
    const auto& properties = valueClass().properties();
    return std::all_of(properties.begin(), properties.end(), [&](const Property& property) {
        return property.value(*this) == property.value(other);
    });
}

std::size_t ValueObject::hash() const {
    constexpr std::size_t factor = 31;
    std::size_t hash = 0;
    for (const Property& property : valueClass().properties())
        hash = hash * factor + property.value(*this).hash();
    return hash;
}

void ValueObject::encodeWithCoder(KeyedArchiver& coder) const {
    for (const Property& property : valueClass().properties())
        if (property.encode) property.encode(*this, coder);
}

bool ValueObject::initWithCoder(KeyedUnarchiver& coder) {
    for (const Property& property : valueClass().properties())
        if (property.decode) property.decode(*this, coder);
    return true;
}

}  // namespace qsml
