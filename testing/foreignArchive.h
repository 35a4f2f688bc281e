#pragma once
#include <cstdint>
#include <vector>

#include "foundation/Dictionary.h"

namespace qsml {

/// The keyed archive that another program would write, made with another library. A dictionary that
/// has a "$class" (a text, or an array of texts from the class to its last superclass) is an object
/// of that class whose other entries are its keys; the root must be one. {"$boxed", number} is a
/// number behind a reference, {"$nil", true} the reference to nothing; numbers elsewhere under keys
/// are inline. Whole numbers must not be negative.
std::vector<std::uint8_t> foreignArchive(const Dictionary& root);

/// An object of the class without keys.
inline Value foreignObject(std::string_view className) {
    return Value(Dictionary{{"$class", className}});
}

}  // namespace qsml
