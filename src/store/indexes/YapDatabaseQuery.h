#pragma once
#include <string>
#include <vector>

#include "foundation/Value.h"

namespace qsml {

/// What follows "SELECT ... FROM table" in a question to a secondary index, in SQLite's language:
///
///     YapDatabaseQuery("WHERE name == ? AND bpm BETWEEN ? AND ? ORDER BY bpm", {name, 120, 128})
///
/// Each ? takes the next parameter; a collection stands for all its elements, as in
/// "WHERE name IN (?)", also for none. A date counts as seconds since the reference date, nil as
/// NULL. Columns of the index and rowid may be used, in any letter case; texts compare by their
/// bytes. Without an ORDER BY of its own, a query answers in the order of row ids. Only reading
/// this index is possible: other tables, statements and functions that do more than compute are
/// refused. A value.
class QSML_EXPORT YapDatabaseQuery {
public:
    explicit YapDatabaseQuery(std::string text = {}, std::vector<Value> parameters = {})
        : text_(std::move(text)), parameters_(std::move(parameters)) {}

    const std::string& text() const noexcept { return text_; }
    const std::vector<Value>& parameters() const noexcept { return parameters_; }

private:
    std::string text_;
    std::vector<Value> parameters_;
};

}  // namespace qsml
