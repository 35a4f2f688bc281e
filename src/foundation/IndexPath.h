#pragma once
#include <cstdint>

namespace qsml {

/// A place in a list of sections of rows; both count from 0.
struct IndexPath {
    std::uint64_t section = 0;
    std::uint64_t row = 0;
    friend bool operator==(const IndexPath&, const IndexPath&) = default;
    friend auto operator<=>(const IndexPath&, const IndexPath&) = default;
};

}  // namespace qsml
