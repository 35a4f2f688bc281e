#pragma once
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "foundation/Export.h"
#include "store/detail/SnapshotState.h"

namespace qsml::detail {

/// Extensions that this process wanted and could not register: they are missing until they are
/// registered after all, or until a rebuild. Thread-safe.
class FailedRegistrations {
public:
    using Registered = std::vector<std::shared_ptr<const RegisteredExtension>>;
    struct Failure {
        std::shared_ptr<const RegisteredExtension> one;
        std::string why;        ///< a sentence
        bool isFaultOfTheFile;  ///< and not of the system, as when the disk is full
        std::size_t place;      ///< how many were registered before it
    };

    /// Unless the caller has made a mistake: the name or the instance is registered, or a parent
    /// was never meant to be.
    void note(const RegisteredExtension& one, const Error& cause, const Registered& registered);
    void forget(const std::string& name, const std::shared_ptr<YapDatabaseExtension>& extension);
    void forgetAll();
    /// Forgets it and those that need it. True when it was missing.
    bool giveUp(const std::string& name);
    /// In the order of the attempts.
    std::vector<Failure> all() const;
    /// Those that are registered, with the others where they would have been: parents stand before
    /// children.
    Registered addedTo(Registered registered) const;

private:
    mutable std::mutex mutex_;
    std::vector<Failure> failures_ QSML_GUARDED_BY(mutex_);
};

}  // namespace qsml::detail
