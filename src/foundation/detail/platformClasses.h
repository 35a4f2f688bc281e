#pragma once
#include <string_view>

#include "foundation/Object.h"

namespace qsml::detail {

/// The platform's value classes, which archives hold without being records of ours.
enum class PlatformClass : std::uint8_t {
    none,
    string,
    date,
    data,
    url,
    uuid,
    null,
    array,
    set,
    orderedSet,
    dictionary
};

/// The kind that a class name stands for; mutable and immutable classes are one kind.
PlatformClass platformClassNamed(std::string_view name) noexcept;

/// As which class a value of the kind is written: the immutable one.
const ArchiveClass& archiveClassOf(PlatformClass platformClass) noexcept;

}  // namespace qsml::detail
