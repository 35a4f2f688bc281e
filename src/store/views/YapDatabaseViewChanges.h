#pragma once
#include <cstdint>
#include <optional>
#include <vector>

#include "store/YapDatabaseNotification.h"

namespace qsml {

/// Where a row stands in a view: the group, and the row's index in the whole of it, from 0.
struct YapDatabaseViewPlace {
    String group;
    std::uint64_t index = 0;
    friend bool operator==(const YapDatabaseViewPlace&, const YapDatabaseViewPlace&) = default;
};

/// What of a row changed, or why it must be shown again; bits.
enum YapDatabaseViewChangesBits : unsigned {
    YapDatabaseViewChangedObject = 1,
    YapDatabaseViewChangedMetadata = 2,
    YapDatabaseViewChangedDependency = 4
};

/// What one commit did to one row of a view.
struct YapDatabaseViewOperation {
    /// Null keys where a filter or a search let the row in or out: reading thousands of keys would
    /// keep everybody waiting who only wants to know places.
    YapDatabaseCollectionKey row;
    /// Before the commit; nothing: it was not there.
    std::optional<YapDatabaseViewPlace> before = {};
    /// After the commit; nothing: it is gone.
    std::optional<YapDatabaseViewPlace> after = {};
    unsigned flags = 0;  ///< YapDatabaseViewChangesBits
    /// The ids of the row; they differ where it went and came back under its key. 0: it was not
    /// there, is gone, or the id is unknown.
    std::int64_t rowidBefore = 0;
    std::int64_t rowidAfter = 0;
};

/// What one commit did to a view. Immutable; thread-safe.
///
/// Each row stands in it at most once. Rows that do not stand in it are in the view after the
/// commit if and only if they were before, in the same group and the same order among each other;
/// so the whole can be undone: take away what stands at `after`, put back what stood at `before`.
class QSML_EXPORT YapDatabaseViewChanges final : public YapDatabaseExtensionChanges {
public:
    explicit YapDatabaseViewChanges(std::vector<YapDatabaseViewOperation> operations)
        : operations_(std::move(operations)) {}

    /// In no stated order.
    const std::vector<YapDatabaseViewOperation>& operations() const noexcept { return operations_; }

private:
    std::vector<YapDatabaseViewOperation> operations_;
};

}  // namespace qsml
