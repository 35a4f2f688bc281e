#include "store/maintenance/contentChecksum.h"

#include <sqlite3.h>

#include <string>

#include "store/detail/Statement.h"
#include "store/detail/checksum.h"

namespace qsml::detail {

std::optional<std::uint64_t> contentChecksum(SqliteHandle& handle, std::string_view action,
                                             Error* error) {
    Statement rows(
        "SELECT rowid, collection, key, data, metadata, checksum FROM row ORDER BY rowid");
    std::uint64_t sum = 0;
    Query row(rows, handle.get());
    while (row.row()) {
        for (const int column : {0, 1, 5})
            sum = textChecksum(std::to_string(row.number(column)), sum);
        for (const int column : {2, 3, 4}) {
            const auto bytes = row.blob(column);
            sum = textChecksum({reinterpret_cast<const char*>(bytes.data()), bytes.size()},
                               sum + bytes.size() + (row.isNull(column) ? 1u : 0u));
        }
    }
    if (row.ok()) return sum;
    report(error, handle.lastError(action));
    return std::nullopt;
}

Content contentOf(SqliteHandle& handle, std::uint64_t expected, std::string_view action,
                  Error* error) {
    Statement check("PRAGMA integrity_check(1)");
    Query checked(check, handle.get());
    if (!checked.row()) {
        report(error, handle.lastError(action));
        return Content::unreadable;
    }
    const bool isSound = checked.text(0) == "ok";
    const auto found = contentChecksum(handle, action, error);
    if (!found) return Content::unreadable;
    if (isSound && *found == expected) return Content::same;
    report(error, fileError(SQLITE_CORRUPT, handle.path(), action,
                            "what was written does not read back as it should"));
    return Content::different;
}

}  // namespace qsml::detail
