#pragma once
#include <initializer_list>
#include <string>
#include <string_view>

#include "foundation/collation.h"
#include "store/views/YapDatabaseViewRules.h"

namespace qsml {
class PLXDatabaseManager;
}

namespace qsml::detail {

/// What of a view is known before its rules.
struct AutoViewName {
    std::string_view name;
    std::string_view versionTag;
    std::initializer_list<std::string_view> collections;
};

/// Registers a view on the manager's database; see registerExtension.
void registerAutoView(PLXDatabaseManager& manager, const AutoViewName& view,
                      YapDatabaseViewGrouping grouping, YapDatabaseViewSorting sorting);

/// Makes an order out of a function of the group and the record of a row.
template <class Key>
YapDatabaseViewSorting sortedBy(Key key) {
    YapDatabaseViewSorting sorting;
    sorting.sortKey = [key](YapDatabaseReadTransaction&, std::string_view,
                            const YapDatabaseRow& row) { return key(row.object); };
    return sorting;
}
/// The same for a function that is also given the order of texts for people: by the locale that is
/// current now, so that all keys of a registered view compare, whatever is current later.
template <class Key>
YapDatabaseViewSorting sortedByLocalized(Key key) {
    const Collation collation;
    auto sorting = sortedBy([=](const Value& object) { return key(object, collation); });
    sorting.identity = collation.identity();
    return sorting;
}

}  // namespace qsml::detail
