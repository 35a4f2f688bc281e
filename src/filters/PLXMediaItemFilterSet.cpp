#include "filters/PLXMediaItemFilterSet.h"

#include <algorithm>

namespace qsml {

QSML_DEFINE_RECORD(PLXMediaItemFilterSet)

bool PLXMediaItemFilterSet::isEqualToFilterSet(const PLXMediaItemFilterSet* other) const {
    if (other == this) return true;
    if (!isEqualToDatabaseObject(other) || name() != other->name()) return false;
    const auto &mine = filters(), &theirs = other->filters();
    if (!mine || !theirs) return !mine && !theirs;
    return std::equal(
        mine->begin(), mine->end(), theirs->begin(), theirs->end(),
        [](const auto& rule, const auto& another) { return rule->isEqualToFilter(another.get()); });
}

bool PLXMediaItemFilterSet::isEqual(const Object& other) const {
    return other.archiveClass().isSubclassOf(classObject()) &&
           isEqualToFilterSet(static_cast<const PLXMediaItemFilterSet*>(&other));
}

}  // namespace qsml
