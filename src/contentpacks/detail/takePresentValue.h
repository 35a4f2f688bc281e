#pragma once
#include "core/PLXDatabaseObject.h"

namespace qsml::detail {

/// Gives a record the other's value under a key, through the setter, where the other has one and it
/// differs. Nil is no value, nor is the number that stands for "unknown".
void takePresentValue(PLXDatabaseObject& into, const PLXDatabaseObject& from, std::string_view key,
                      std::optional<int> unknown = {});

}  // namespace qsml::detail
