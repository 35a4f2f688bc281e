#pragma once
#include <memory>
#include <string>
#include <unordered_map>

struct sqlite3;
struct sqlite3_stmt;

namespace qsml::detail {

/// Statements that stay prepared on a connection from one transaction to the next: preparing one
/// takes longer than the work of a small commit. Goes when SQLite closes the connection (the
/// connection's trace callback, which tells that, is taken). Confined to the connection's thread.
class StatementCache {
public:
    /// Of that connection; made when it is first asked for. From then on a name in double quotes
    /// that is no column is an error on it, as it should be, and not a text. Any thread.
    static StatementCache& of(::sqlite3* handle);

    explicit StatementCache(::sqlite3* handle) : handle_(handle) {}
    StatementCache(const StatementCache&) = delete;
    StatementCache& operator=(const StatementCache&) = delete;

    ::sqlite3* handle() const noexcept { return handle_; }
    /// The statement of that text, which is ours: there are few. Null when it cannot be prepared.
    ::sqlite3_stmt* statement(const std::string& sql);
    /// A statement whose text comes from the application, when it is kept: not so many are.
    ::sqlite3_stmt* kept(const std::string& sql) const;
    /// Prepares and keeps it; null when it cannot be prepared. No kept statement may be running.
    ::sqlite3_stmt* keep(const std::string& sql);

private:
    struct Finalize {
        void operator()(::sqlite3_stmt* statement) const noexcept;
    };
    using Statements = std::unordered_map<std::string, std::unique_ptr<::sqlite3_stmt, Finalize>>;
    ::sqlite3_stmt* add(Statements& statements, const std::string& sql);

    ::sqlite3* handle_;
    Statements statements_;
    Statements kept_;
    std::size_t keptBytes_ = 0;
};

}  // namespace qsml::detail
