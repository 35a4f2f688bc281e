#include "contentpacks/detail/takePresentValue.h"

namespace qsml::detail {

void takePresentValue(PLXDatabaseObject& into, const PLXDatabaseObject& from, std::string_view key,
                      std::optional<int> unknown) {
    const Value theirs = from.valueForKey(key);
    if (theirs.isNil() || (unknown && theirs == Value(*unknown))) return;
    if (theirs != into.valueForKey(key)) (void)into.setValueForKey(key, theirs);
}

}  // namespace qsml::detail
