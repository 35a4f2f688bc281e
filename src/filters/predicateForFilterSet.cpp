#include "filters/predicateForFilterSet.h"

#include <algorithm>

#include "filters/PLXMediaItemFilterSet.h"

namespace qsml {

std::shared_ptr<const Predicate> predicateForFilterSet(const PLXMediaItemFilterSet& set,
                                                       RulesToMeet rulesToMeet,
                                                       DisabledRules disabledRules,
                                                       const String& keyPathPrefix) {
    std::vector<std::shared_ptr<const Predicate>> rules;
    if (!set.filters()) return nullptr;
    for (const auto& rule : *set.filters())
        if (rule->isEnabled() || disabledRules == DisabledRules::count)
            if (auto predicate = rule->predicateForKeyPathPrefix(keyPathPrefix))
                rules.push_back(std::move(predicate));
    if (rules.empty()) return nullptr;
    return predicateWithBlock([rules = std::move(rules), rulesToMeet](const Object& object) {
        const auto isMet = [&](const auto& rule) { return rule->evaluate(object); };
        return rulesToMeet == RulesToMeet::all ? std::all_of(rules.begin(), rules.end(), isMet)
                                               : std::any_of(rules.begin(), rules.end(), isMet);
    });
}

}  // namespace qsml
