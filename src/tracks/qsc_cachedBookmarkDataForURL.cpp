#include "tracks/qsc_cachedBookmarkDataForURL.h"

#include <exception>
#include <mutex>

#include "foundation/Log.h"

namespace qsml {
namespace {

using Answer = std::shared_ptr<const CachedBookmarkData>;

struct Cache {
    std::mutex mutex;
    Answer answer QSML_GUARDED_BY(mutex);

    /// Answers the former one, so that it goes outside the lock.
    Answer exchange(Answer other) {
        const std::lock_guard hold(mutex);
        answer.swap(other);
        return other;
    }
    Answer current() {
        const std::lock_guard hold(mutex);
        return answer;
    }
};

/// Never destroyed: threads of the host may ask until the process ends.
Cache& cache() {
    static Cache& cache = *new Cache;
    return cache;
}

}  // namespace

void setCachedBookmarkDataForURL(CachedBookmarkData answer) {
    Answer given;
    if (answer) given = std::make_shared<const CachedBookmarkData>(std::move(answer));
    (void)cache().exchange(std::move(given));
}

std::optional<Data> qsc_cachedBookmarkDataForURL(const URL& url) {
    const Answer answer = cache().current();
    if (!answer) return std::nullopt;
    std::string trouble = "something unknown";
    try {
        return (*answer)(url);
    } catch (const std::exception& exception) {
        trouble = exception.what();
    } catch (...) {
    }
    log("-[NSURL qsc_cachedBookmarkDataForURL:]", __LINE__,
        "The host's cached bookmarks threw: " + trouble);
    return std::nullopt;
}

}  // namespace qsml
