#include "cloudkit/CKRecordID.h"

#include <algorithm>

namespace qsml {

bool isValidCloudName(std::string_view name) noexcept {
    constexpr std::size_t longest = 255;
    return !name.empty() && name.size() <= longest && name.front() != '_' &&
           std::all_of(name.begin(), name.end(), [](char c) { return c > 0 && c < 127; });
}

}  // namespace qsml
