#pragma once
#include <vector>

#include "store/views/YapDatabaseViewMappings.h"
#include "store/views/YapDatabaseViewRowChange.h"

namespace qsml::detail {

/// What a list must do to show `after` instead of `before`: the mappings of one view on an older
/// and a newer snapshot, and the changes of the commits in between, oldest first (those that did
/// not touch the view may be left out). `content` is the view on the newer snapshot.
///
/// Sections: deletions descending, insertions ascending. Rows: deletions descending, insertions
/// ascending, moves by new path, updates by old path. Rows of deleted and inserted sections are not
/// listed one by one. Rows that were only shifted are not reported; a row has moved when its
/// section changed or its order among the other rows that stayed. O(k log k) of the changed rows
/// and of the rows that cross the edge of a range.
void mappedChanges(const YapDatabaseViewMappings& before, const YapDatabaseViewMappings& after,
                   const std::vector<const YapDatabaseViewChanges*>& commits,
                   YapDatabaseViewContent& content,
                   std::vector<YapDatabaseViewSectionChange>* sections,
                   std::vector<YapDatabaseViewRowChange>* rows);

/// The same where it is unknown what changed: everything that was there is deleted, everything that
/// is there inserted. Keys of deleted rows are unknown and null.
void mappedReplacement(const YapDatabaseViewMappings& before, const YapDatabaseViewMappings& after,
                       YapDatabaseViewContent& content,
                       std::vector<YapDatabaseViewSectionChange>* sections,
                       std::vector<YapDatabaseViewRowChange>* rows);

/// The places of a longest run of increasing numbers, ascending. O(n log n).
std::vector<std::size_t> longestIncreasingRun(const std::vector<std::uint64_t>& numbers);

}  // namespace qsml::detail
