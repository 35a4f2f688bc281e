#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "store/views/YapDatabaseViewChanges.h"

namespace qsml {

class YapDatabaseExtensionState;

/// The rows of a view on one snapshot. Groups are there while they have rows.
class QSML_EXPORT YapDatabaseViewContent {
public:
    virtual ~YapDatabaseViewContent() = default;

    /// O(log g) of the number of groups.
    virtual std::uint64_t numberOfItemsInGroup(std::string_view group) = 0;
    /// Nothing when the index is out of range. O(log n).
    virtual std::optional<YapDatabaseCollectionKey> keyAtIndex(std::uint64_t index,
                                                               std::string_view group) = 0;
    /// Nothing when the row is not in the view. O(log n).
    virtual std::optional<YapDatabaseViewPlace> groupAndIndexForKey(
        std::string_view key, std::string_view collection) = 0;
    /// What memory has of it, to be compared with a later snapshot; null where there is nothing.
    virtual std::shared_ptr<const YapDatabaseExtensionState> keptState() { return nullptr; }
};

}  // namespace qsml
