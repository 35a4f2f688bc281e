#pragma once
#include <sqlite3.h>

#include <string>

namespace qsml {

/// A database file through SQLite alone, as another program would use it.
class PlainSqlite {
public:
    explicit PlainSqlite(const std::string& path) { sqlite3_open(path.c_str(), &handle_); }
    ~PlainSqlite() { sqlite3_close(handle_); }
    PlainSqlite(const PlainSqlite&) = delete;
    PlainSqlite& operator=(const PlainSqlite&) = delete;

    std::string query(const std::string& sql) {
        std::string lines;
        const auto collect = [](void* to, int count, char** values, char**) {
            for (int i = 0; i < count; ++i)
                static_cast<std::string*>(to)
                    ->append(i ? "|" : "")
                    .append(values[i] ? values[i] : "");
            static_cast<std::string*>(to)->append("\n");
            return 0;
        };
        char* message = nullptr;
        sqlite3_exec(handle_, sql.c_str(), collect, &lines, &message);
        if (message) lines += message;
        sqlite3_free(message);
        return lines;
    }

private:
    sqlite3* handle_ = nullptr;
};

}  // namespace qsml
