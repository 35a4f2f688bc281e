#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "store/indexes/YapDatabaseQuery.h"

namespace qsml::detail {

/// A query's text made ready for SQLite.
struct QueryText {
    std::string text;                  ///< with one ? for each value, and ordered
    std::vector<const Value*> values;  ///< of the query's parameters
    std::string fault;                 ///< why it cannot be used; empty when it can
};

/// Looks at the text only as far as needed: at parameters, at an order of its own, and at what
/// could end the statement. Whether it makes sense is for SQLite to say.
QueryText preparedQueryText(const YapDatabaseQuery& query);

}  // namespace qsml::detail
