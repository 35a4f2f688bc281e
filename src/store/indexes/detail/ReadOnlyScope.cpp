#include "store/indexes/detail/ReadOnlyScope.h"

#include <sqlite3.h>

#include <algorithm>
#include <string_view>

namespace qsml::detail {

namespace {

/// Functions whose result depends on their arguments alone, and that cannot make something huge out
/// of something small.
constexpr std::string_view allowedFunctions[] = {
    "abs",   "avg",    "ceil",     "ceiling", "coalesce",  "count",    "date",      "datetime",
    "floor", "glob",   "hex",      "ifnull",  "iif",       "instr",    "julianday", "length",
    "like",  "likely", "lower",    "ltrim",   "max",       "min",      "nullif",    "round",
    "rtrim", "sign",   "strftime", "substr",  "substring", "sum",      "time",      "total",
    "trim",  "trunc",  "typeof",   "unicode", "unixepoch", "unlikely", "upper"};

bool isAllowedFunction(const char* name) {
    std::string lowered(name ? name : "");
    for (char& c : lowered)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return std::find(std::begin(allowedFunctions), std::end(allowedFunctions), lowered) !=
           std::end(allowedFunctions);
}

}  // namespace

ReadOnlyScope::ReadOnlyScope(sqlite3* handle, std::string table)
    : handle_(handle), table_(std::move(table)) {
    sqlite3_set_authorizer(handle_, authorize, this);
}

ReadOnlyScope::~ReadOnlyScope() { sqlite3_set_authorizer(handle_, nullptr, nullptr); }

int ReadOnlyScope::authorize(void* self, int action, const char* first, const char* second,
                             const char* database, const char*) {
    const auto& scope = *static_cast<const ReadOnlyScope*>(self);
    switch (action) {
        case SQLITE_SELECT:
            return SQLITE_OK;
        case SQLITE_READ:
            return first && scope.table_ == first &&
                           (!database || std::string_view(database) == "main")
                       ? SQLITE_OK
                       : SQLITE_DENY;
        case SQLITE_FUNCTION:
            return isAllowedFunction(second) ? SQLITE_OK : SQLITE_DENY;
        default:
            return SQLITE_DENY;
    }
}

}  // namespace qsml::detail
