#pragma once
#include <array>

#include "foundation/String.h"

namespace qsml {

/// A 128-bit identifier.
struct QSML_EXPORT UUID {
    std::array<std::uint8_t, 16> bytes{};

    /// A random one of version four, from the process's RandomSource.
    static UUID random();
    /// Reads the 36-character form in either case; nothing for any other text.
    static std::optional<UUID> fromString(std::string_view text);

    /// 36 characters, 8-4-4-4-12, upper-case hexadecimal.
    String UUIDString() const;

    friend auto operator<=>(const UUID&, const UUID&) = default;
};

}  // namespace qsml
