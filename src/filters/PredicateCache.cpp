#include "filters/PredicateCache.h"

namespace qsml {

std::shared_ptr<const Predicate> PredicateCache::predicate(
    std::string_view keyPath, const std::function<std::shared_ptr<const Predicate>()>& build) {
    {
        const std::lock_guard lock(mutex_);
        if (const auto kept = predicates_.find(keyPath); kept != predicates_.end())
            return kept->second;
    }
    auto built = build();
    if (!built) return built;
    const std::lock_guard lock(mutex_);
    return predicates_.try_emplace(std::string(keyPath), std::move(built)).first->second;
}

void PredicateCache::clear() {
    const std::lock_guard lock(mutex_);
    predicates_.clear();
}

}  // namespace qsml
