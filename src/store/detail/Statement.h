#pragma once
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace qsml::detail {

/// A statement that is prepared when first used and kept. Uses may nest: each takes an instance of
/// its own. Confined to the connection's thread; must go before the connection does.
class Statement {
public:
    /// The text must outlive the statement.
    explicit Statement(const char* sql) : sql_(sql) {}
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    /// Frees what is prepared, before the connection closes.
    void finalize();

private:
    friend class Query;
    const char* sql_;
    std::vector<::sqlite3_stmt*> idle_;
};

/// One run of a statement. Bound texts and blobs must live as long as it; so do the columns' bytes,
/// until the next row.
class Query {
public:
    Query(Statement& statement, ::sqlite3* handle);
    ~Query();
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;

    Query& bind(int index, std::int64_t number);
    Query& bindText(int index, std::string_view text);
    Query& bindBlob(int index, std::span<const std::uint8_t> bytes);
    Query& bindNull(int index);

    /// The next row; false at the end and after a failure.
    bool row();
    /// Runs a statement without rows; true when that worked.
    bool run() { return !row() && ok(); }
    bool ok() const noexcept;
    /// SQLite's extended result code of the failure.
    int code() const noexcept { return code_; }

    std::int64_t number(int column) const;
    std::string_view text(int column) const;
    std::span<const std::uint8_t> blob(int column) const;
    bool isNull(int column) const;
    int type(int column) const;

private:
    Statement& statement_;
    ::sqlite3_stmt* prepared_ = nullptr;
    int code_ = 0;
};

}  // namespace qsml::detail
