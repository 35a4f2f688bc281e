#pragma once
#include <cstddef>
#include <map>
#include <string>
#include <string_view>

#include "database/extensions/testing/searchModel.h"

namespace qsml {

/// Whether a filter of that divisor leaves the row: by the number at the end of its key.
bool keyIsShown(std::string_view key, int divisor);

/// What a list shows of a row.
std::string textShown(const Value& object);

/// Compares all views, and the answers of indexes, with what they are to show, worked out from the
/// rows in the plainest way: with the comparisons and not with sort keys, with the lists and not
/// with their changes, with the texts and without a search index. Gives the number of rows of each
/// view.
std::map<std::string, std::size_t> expectViewsOfRows(YapDatabaseReadTransaction& transaction,
                                                     const LibraryRules& rules);

}  // namespace qsml
