#pragma once
#include <cstdint>

namespace qsml {

/// A part of a group, of fixed length as far as the group has rows.
struct YapDatabaseViewRangeOptions {
    enum class Pin { beginning, end };

    std::uint64_t length = 0;
    std::uint64_t offset = 0;  ///< from the pinned end of the group
    Pin pin = Pin::beginning;

    static YapDatabaseViewRangeOptions fixedRange(std::uint64_t length, std::uint64_t offset,
                                                  Pin pin = Pin::beginning) {
        return {length, offset, pin};
    }
    friend bool operator==(const YapDatabaseViewRangeOptions&,
                           const YapDatabaseViewRangeOptions&) = default;
};

}  // namespace qsml
