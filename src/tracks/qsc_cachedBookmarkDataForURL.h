#pragma once
#include <functional>

#include "foundation/Data.h"
#include "foundation/URL.h"

namespace qsml {

/// Answers the bookmark that the host keeps for a file, or nothing.
using CachedBookmarkData = std::function<std::optional<Data>(const URL& url)>;

/// The host's bookmarks, for files that it may open by their bookmark only. None until it is set;
/// an empty function takes it away. It is called on any thread, several at once, also within a
/// write transaction, so it must not start a synchronous one. Thread-safe.
QSML_EXPORT void setCachedBookmarkDataForURL(CachedBookmarkData answer);

/// What the host answers; nothing, with a log line, where it throws. Thread-safe.
QSML_EXPORT std::optional<Data> qsc_cachedBookmarkDataForURL(const URL& url);

}  // namespace qsml
