#pragma once
#include <cstddef>
#include <cstdint>

namespace qsml::detail {

/// What one archive may hold. The writer refuses what the reader would refuse: an archive that is
/// stored and cannot be read again would be lost data.
inline constexpr std::size_t mostArchiveBytes = std::size_t{64} << 20;
inline constexpr std::size_t mostArchiveNodes = 1'000'000;
/// Levels of objects and collections, the root being the first. Bounds recursion here, and in
/// whatever walks or destroys the decoded graph.
inline constexpr std::uint32_t mostArchiveDepth = 512;

}  // namespace qsml::detail
