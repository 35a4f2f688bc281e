#pragma once
#include <cstdint>

namespace qsml::detail {

/// Counts the forks that led to this process: what was opened under another number belongs to the
/// parent and must not be used here. Costs one relaxed read.
std::uint32_t forkGeneration();

}  // namespace qsml::detail
