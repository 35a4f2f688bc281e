#pragma once
#include <cstdint>
#include <span>
#include <string>

#include "foundation/Error.h"

namespace qsml {

/// The object graph of a keyed archive as one compact JSON object, for people and tools:
/// {"version":100000,"archiver":"NSKeyedArchiver","top":{"root":{"$uid":1}},"objects":[...]};
/// object 0 is
/// "$null"; a reference is {"$uid":N}; instances keep their keys in stored order with
/// "$class":{"$uid":N}; data is {"$data":"BASE64"}; dates are {"$date":"ISO 8601"}. No class needs
/// to be known. Empty, with the error filled, for damaged input. Linear in the size of the input.
QSML_EXPORT std::string archiveDescription(std::span<const std::uint8_t> bytes,
                                           Error* error = nullptr);

}  // namespace qsml
