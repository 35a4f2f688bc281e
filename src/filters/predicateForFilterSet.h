#pragma once
#include <memory>

#include "foundation/Export.h"
#include "foundation/String.h"

namespace qsml {

class PLXMediaItemFilterSet;
class Predicate;

enum class RulesToMeet { all, any };
enum class DisabledRules { areSkipped, count };

/// The rules of a set as one predicate, for applications that evaluate it: a set says neither how
/// its rules combine nor whether the disabled ones count, so the caller does. The prefix is that of
/// PLXMediaItemFilter::predicateForKeyPathPrefix(). Rules that form no predicate are left out; null
/// when none is left, for then there is nothing to meet. What it answers does not change with the
/// set.
QSML_EXPORT std::shared_ptr<const Predicate> predicateForFilterSet(
    const PLXMediaItemFilterSet& set, RulesToMeet rulesToMeet, DisabledRules disabledRules,
    const String& keyPathPrefix = {});

}  // namespace qsml
