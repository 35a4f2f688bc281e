#pragma once
#include <cstdint>
#include <string_view>

#include "foundation/Object.h"

namespace qsml::detail {

/// The process's classes and substitutions by name. Thread-safe, by a lock of its own.

void substituteGlobalClass(const ArchiveClass& archiveClass, std::string_view forClassName);
/// Null when nothing is substituted for the name.
const ArchiveClass* globalSubstitute(std::string_view name);
/// Rises whenever an answer of this file may have changed, so that readers can keep answers.
std::uint64_t classNamesGeneration() noexcept;

}  // namespace qsml::detail
