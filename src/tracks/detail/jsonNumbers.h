#pragma once
#include <algorithm>
#include <initializer_list>

#include "foundation/Dictionary.h"

namespace qsml::detail {

/// Whether each of the keys has a number, which may be given as text.
inline bool holdsNumbers(const Dictionary& json, std::initializer_list<const char*> keys) {
    return std::all_of(keys.begin(), keys.end(), [&](const char* key) {
        const Value& entry = json[key];
        return entry.isNumber() || entry.kind() == Value::Kind::string;
    });
}

}  // namespace qsml::detail
