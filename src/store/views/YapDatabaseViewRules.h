#pragma once
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "store/YapDatabaseExtension.h"

namespace qsml {

// The rules of an auto view. They run on the thread of the transaction and see what it has written;
// they must answer the same for the same row and must not write. A row for which a rule throws is
// left out of the view, with a log line.

/// The group of a row; nil leaves it out.
using YapDatabaseViewGrouping =
    std::function<String(YapDatabaseReadTransaction& transaction, const YapDatabaseRow& row)>;

/// An order that lists give: each group has a list of keys, which another row holds. Rows stand in
/// the order in which their group's list names them, those that it does not name behind them by age
/// (row id). When a row that holds lists is written, touched or removed, the groups follow in the
/// same commit.
struct YapDatabaseViewListOrder {
    /// Collections of the rows that hold lists.
    std::set<std::string, std::less<>> collections = {};
    /// The groups whose lists the row holds. The object is nil where the row goes.
    std::function<std::vector<String>(const YapDatabaseRow& holder)> groups = {};
    /// Calls the block with each key of the group's list, in order.
    std::function<void(YapDatabaseReadTransaction& transaction, std::string_view group,
                       const std::function<void(std::string_view key)>& block)>
        keys = {};
};

/// The order of the rows of a group: by keys or by lists. Rows that are equal in it stand by age
/// (row id), so that the order is one for everybody.
struct YapDatabaseViewSorting {
    /// Bytes that sort as the rows do: a row comes before another when its bytes, as unsigned
    /// numbers, do. Null where lists give the order.
    std::function<std::string(YapDatabaseReadTransaction& transaction, std::string_view group,
                              const YapDatabaseRow& row)>
        sortKey = {};
    /// What the sort keys depend on besides the rows, as the locale and the version of its rules: a
    /// library that comes with another is sorted anew when the view is registered. While it is
    /// registered nothing of this may change: capture a Collation rather than ask for the current
    /// locale.
    std::string identity = {};
    YapDatabaseViewListOrder list = {};

    bool isByList() const noexcept { return !sortKey; }
};

struct YapDatabaseViewOptions {
    /// Whose rows the rules see; nothing means all.
    std::optional<std::set<std::string, std::less<>>> allowedCollections = {};
};

}  // namespace qsml
