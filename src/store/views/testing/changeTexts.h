#pragma once
#include <optional>
#include <string>
#include <vector>

#include "store/views/YapDatabaseViewRowChange.h"

namespace qsml {

inline std::string textOf(const std::optional<IndexPath>& path) {
    if (!path) return "-";
    return std::to_string(path->section) + "." + std::to_string(path->row);
}

/// As "move KEY 0.3 1.0"; without the key where it is not known.
inline std::string textOf(const YapDatabaseViewRowChange& change) {
    static const char* const names[] = {"", "insert ", "delete ", "move ", "update "};
    return names[static_cast<int>(change.type)] + change.row.key.str() + " " +
           textOf(change.indexPath) + " " + textOf(change.newIndexPath);
}

inline std::vector<std::string> textsOf(const std::vector<YapDatabaseViewRowChange>& changes) {
    std::vector<std::string> texts;
    for (const auto& change : changes) texts.push_back(textOf(change));
    return texts;
}

}  // namespace qsml
