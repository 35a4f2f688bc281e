#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <QSMediaLibraryData/foundation/IndexPath.h>
#include <QSMediaLibraryData/foundation/String.h>

namespace qsml::app {

/// A row of a list, and what is shown of it as one text.
struct ListedRow {
    String collection = {}, key = {};
    std::string shown = {};
};
struct ListedSection {
    String group;
    std::vector<ListedRow> rows;
};
/// What stands on a screen: sections of different groups, in a fixed order of groups, and in each
/// its rows; no row stands twice. A value.
using ListedRows = std::vector<ListedSection>;

/// One change of a list. As a list on a screen takes them: sections and paths of deletions, of
/// moves (before) and of updates count as they were, the others as they are afterwards.
struct ListedChange {
    enum class Type { deleteSection, insertSection, deleteRow, insertRow, moveRow, updateRow };
    Type type = Type::updateRow;
    String group = {};          ///< where it is, or was when it is gone
    std::uint64_t section = 0;  ///< of changes of sections
    std::optional<IndexPath> before = {}, after = {};
    ListedRow row = {};  ///< as it is, or was when it is gone
};

/// The fewest moves that make one list of the other, with all else that has to be done: sections,
/// then deletions, insertions, moves and updates, each in the order of the paths. A moved row that
/// is also shown differently is a move alone, which tells its new text. O(n log n).
///
/// Not the library's own changes of mapped rows: whoever watches only hears of other processes'
/// commits. After these each row that stayed counts as changed, a row that went has no key, and a
/// long list is replaced as a whole, so that what is shown has to be compared in any case.
std::vector<ListedChange> changesBetween(const ListedRows& before, const ListedRows& after);

}  // namespace qsml::app
