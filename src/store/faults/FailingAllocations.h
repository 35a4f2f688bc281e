#pragma once
#include <cstdint>

namespace qsml {

/// Makes allocations of this program fail: those of C++ and those of SQLite. A program links this
/// once; it replaces the global operator new. Not for use under the address sanitizer's own
/// replacement.
namespace failingAllocations {

enum class Repeat { once, forever };

/// Sets SQLite's allocator; before anything else uses SQLite.
void install();
/// The number-th allocation of the calling thread from now on fails.
void fail(std::uint64_t number, Repeat repeat);
/// Allocations succeed again; how many failed.
std::uint64_t heal();

}  // namespace failingAllocations

}  // namespace qsml
