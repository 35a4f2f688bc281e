#pragma once
#include <memory>
#include <vector>

namespace qsml {

class PLXMediaItemTagGroup;

namespace detail {

/// The groups of the library bundle's DefaultMediaItemTagGroups.plist, in its order. Elements that
/// are no dictionary or have no UUID are left out. None, without a word, when the file is missing;
/// none, with a log line, when it cannot be read or holds no array. Thread-safe.
std::vector<std::shared_ptr<PLXMediaItemTagGroup>> defaultMediaItemTagGroups();

}  // namespace detail
}  // namespace qsml
