#include "store/detail/FailedRegistrations.h"

#include <sqlite3.h>

#include <algorithm>

#include "store/YapDatabaseOptions.h"
#include "store/detail/StoredExtension.h"
#include "store/detail/quotedIdentifier.h"

namespace qsml::detail {

namespace {

/// What SQLite answers where nothing that is stored is wrong. Without memory for a value it also
/// finds that a constraint fails.
bool isOfTheSystem(const Error& cause) {
    return cause.domain == YapDatabaseErrorDomain && cause.code > 0 &&
           (!isDamageCode(cause.code) || (cause.code & 0xff) == SQLITE_CONSTRAINT);
}

}  // namespace

void FailedRegistrations::note(const RegisteredExtension& one, const Error& cause,
                               const Registered& registered) {
    if (!isUsableName(one.name) || isReservedName(one.name)) return;
    for (const auto& other : registered)
        if (other->name == one.name || other->extension == one.extension) return;
    forget(one.name, one.extension);
    bool isFault = !isOfTheSystem(cause);
    bool hasParents = true;
    const std::lock_guard lock(mutex_);
    for (const std::string& parent : one.parents) {
        const auto isParent = [&](const auto& other) { return other->name == parent; };
        if (std::any_of(registered.begin(), registered.end(), isParent)) continue;
        const auto failure =
            std::find_if(failures_.begin(), failures_.end(),
                         [&](const Failure& other) { return isParent(other.one); });
        if (failure == failures_.end()) return;
        isFault = (!hasParents && isFault) || failure->isFaultOfTheFile;
        hasParents = false;
    }
    failures_.push_back({std::make_shared<const RegisteredExtension>(one), cause.description,
                         isFault, registered.size()});
}

void FailedRegistrations::forget(const std::string& name,
                                 const std::shared_ptr<YapDatabaseExtension>& extension) {
    const std::lock_guard lock(mutex_);
    std::erase_if(failures_, [&](const Failure& failure) {
        return failure.one->name == name || failure.one->extension == extension;
    });
}

bool FailedRegistrations::giveUp(const std::string& name) {
    const std::lock_guard lock(mutex_);
    const auto needsIt = [&](const Failure& failure) {
        const auto& parents = failure.one->parents;
        return std::find(parents.begin(), parents.end(), name) != parents.end();
    };
    const auto isIt = [&](const Failure& failure) { return failure.one->name == name; };
    std::erase_if(failures_, needsIt);
    return std::erase_if(failures_, isIt) > 0;
}

void FailedRegistrations::forgetAll() {
    const std::lock_guard lock(mutex_);
    failures_.clear();
}

std::vector<FailedRegistrations::Failure> FailedRegistrations::all() const {
    const std::lock_guard lock(mutex_);
    return failures_;
}

FailedRegistrations::Registered FailedRegistrations::addedTo(Registered registered) const {
    std::size_t added = 0;
    for (const Failure& failure : all()) {
        std::size_t place = std::min(failure.place + added++, registered.size());
        for (const std::string& parent : failure.one->parents)
            for (std::size_t i = place; i < registered.size(); ++i)
                if (registered[i]->name == parent) place = i + 1;  // registered after it failed
        registered.insert(registered.begin() + static_cast<std::ptrdiff_t>(place), failure.one);
    }
    return registered;
}

}  // namespace qsml::detail
