#pragma once
#include <string>

struct sqlite3;

namespace qsml::detail {

/// While one lives, what is prepared on the connection may read one table and compute, and nothing
/// else. SQLite then prepares the connection's other statements again, so results should be kept.
class ReadOnlyScope {
public:
    /// The table's name, not quoted.
    ReadOnlyScope(::sqlite3* handle, std::string table);
    ~ReadOnlyScope();
    ReadOnlyScope(const ReadOnlyScope&) = delete;
    ReadOnlyScope& operator=(const ReadOnlyScope&) = delete;

private:
    static int authorize(void* self, int action, const char* first, const char* second,
                         const char* database, const char* trigger);

    ::sqlite3* handle_;
    std::string table_;
};

}  // namespace qsml::detail
