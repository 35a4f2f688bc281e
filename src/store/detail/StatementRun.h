#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/Error.h"
#include "foundation/Value.h"
#include "store/detail/StatementCache.h"

namespace qsml::detail {

/// SQLite's last failure on the connection.
Error failureOf(::sqlite3* handle, std::string_view action);
/// A failure of our own: a column or a query that cannot be used.
Error extensionFailure(std::string description);

/// What columns and queries can hold: numbers, texts, dates (as seconds since the reference date),
/// bytes, URLs and UUIDs (as texts); nil and NaN are NULL.
bool isColumnValue(const Value& value);

/// One run of a cached statement; at most one at a time of each text. Bound values and texts must
/// live as long as it. Confined to the connection's thread.
class StatementRun {
public:
    StatementRun(StatementCache& cache, const std::string& sql);
    StatementRun(StatementCache& cache, ::sqlite3_stmt* statement);
    ~StatementRun();
    StatementRun(const StatementRun&) = delete;
    StatementRun& operator=(const StatementRun&) = delete;

    StatementRun& bind(int index, std::int64_t number);
    StatementRun& bindText(int index, std::string_view text);
    StatementRun& bindBlob(int index, std::string_view bytes);
    /// With the column's type, as what the column would store. Others than column values are NULL.
    StatementRun& bindValue(int index, const Value& value, std::string_view type = {});

    /// The next row; false at the end and after a failure.
    bool row();
    /// Runs to the end; true when that worked.
    bool run();
    bool ok() const noexcept;
    /// SQLite's extended result code.
    int code() const noexcept { return code_; }
    /// What went wrong; empty after a success.
    Error failure(std::string_view action) const;

    std::int64_t number(int column) const;
    std::string_view text(int column) const;
    bool isText(int column) const;
    /// Integer, 64-bit real, text, data or nil.
    Value value(int column) const;

private:
    StatementCache& cache_;
    ::sqlite3_stmt* statement_;
    int code_ = 0;
};

}  // namespace qsml::detail
