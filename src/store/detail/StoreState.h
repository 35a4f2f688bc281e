#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qsml::detail {

/// The one private row that each commit rewrites: the number of the commit and of the last row ever
/// made, as a text with a checksum, "17 4711 <checksum>".
struct StoreState {
    std::uint64_t snapshot = 0;
    std::int64_t lastRowNumber = 0;

    std::string text() const;
    static std::optional<StoreState> fromText(std::string_view text);
};

}  // namespace qsml::detail
