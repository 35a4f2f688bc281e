#pragma once
#include <map>
#include <mutex>
#include <string>

#include "foundation/Predicate.h"

namespace qsml {

/// The predicates that a rule has built, one a key path. Thread-safe: a rule that nobody changes
/// any more is shared by all who read its record, and any of them may ask it for a predicate.
class QSML_EXPORT PredicateCache {
public:
    /// The one kept for the key path, or else the one built now; of several built at a time the
    /// first is kept, and all get that one. Null is answered and not kept.
    std::shared_ptr<const Predicate> predicate(
        std::string_view keyPath, const std::function<std::shared_ptr<const Predicate>()>& build);
    void clear();

private:
    std::mutex mutex_;
    std::map<std::string, std::shared_ptr<const Predicate>, std::less<>> predicates_
        QSML_GUARDED_BY(mutex_);
};

}  // namespace qsml
