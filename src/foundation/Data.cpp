#include "foundation/Data.h"

#include <algorithm>

namespace qsml {

Data::Data(std::span<const std::uint8_t> bytes) {
    if (bytes.empty()) return;
    bytes_ = std::make_shared<const std::vector<std::uint8_t>>(bytes.begin(), bytes.end());
}

QSML_EXPORT bool operator==(const Data& a, const Data& b) noexcept {
    return a.bytes_ == b.bytes_ || std::ranges::equal(a.bytes(), b.bytes());
}

}  // namespace qsml
