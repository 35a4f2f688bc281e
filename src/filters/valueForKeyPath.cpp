#include "filters/valueForKeyPath.h"

#include <algorithm>

#include "core/PLXDatabaseObject.h"
#include "core/ValueObject.h"
#include "filters/PLXMediaItemFilter.h"
#include "foundation/Predicate.h"

namespace qsml {
namespace {

Value valueOfProperty(const std::vector<Property>& properties, const Object& object,
                      std::string_view key) {
    const auto found = std::find_if(properties.begin(), properties.end(),
                                    [&](const Property& property) { return property.name == key; });
    return found == properties.end() ? Value() : found->value(object);
}

Value valueForKey(const Object& object, std::string_view key) {
    if (const auto* record = dynamic_cast<const PLXDatabaseObject*>(&object))
        return record->valueForKey(key);
    if (const auto* value = dynamic_cast<const ValueObject*>(&object))
        return valueOfProperty(value->valueClass().properties(), object, key);
    if (const auto* rule = dynamic_cast<const PLXMediaItemFilter*>(&object))
        return valueOfProperty(rule->filterClass().properties(), object, key);
    return {};
}

}  // namespace

Value valueForKeyPath(const Object& object, std::string_view keyPath) {
    return valueForKeyPath(object, keyPath, valueForKey);
}

}  // namespace qsml
