#include "filters/FilterClass.h"

namespace qsml {

FilterClass::FilterClass(std::string_view name, const FilterClass* superclass, Allocate maker,
                         const std::vector<Property>& own)
    : ArchiveClass(name, superclass ? superclass : &Object::rootClass(), maker) {
    if (superclass) properties_ = superclass->properties_;
    properties_.insert(properties_.end(), own.begin(), own.end());
}

}  // namespace qsml
