#include "store/maintenance/damagedRows.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"
#include "store/detail/ExtensionSetup.h"
#include "store/detail/StoredExtension.h"
#include "store/detail/troubleOf.h"

namespace qsml::detail {

namespace {

using KeepBlock = std::function<bool(const YapDatabase::DamagedRow&)>;
using StoredRow = ConnectionCore::StoredRow;

bool failedRead(ConnectionCore& connection, Error* error) {
    const Error& known = connection.active().error;
    report(error, known ? known : connection.handle().lastError("read"));
    return false;
}

/// Why a row was not put in safety; nothing when it was.
std::optional<std::string> refusal(const StoredRow& row, const KeepBlock& keep) {
    bool isKept = false;
    const auto trouble = troubleOf([&] {
        isKept = keep && keep({.collection = row.collection,
                               .key = row.key,
                               .rowid = row.rowid,
                               .data = row.data,
                               .metadata = row.metadata,
                               .description = row.fault});
    });
    if (isKept && !trouble) return std::nullopt;
    std::string text = "the row \"" + row.key + "\" of \"" + row.collection + "\" (" +
                       std::to_string(row.rowid) + ") was not put in safety, so nothing is removed";
    if (trouble) text += ": " + *trouble;
    return text;
}

bool findAndKeep(ConnectionCore& connection, const KeepBlock& keep,
                 std::vector<std::int64_t>* rowids, Error* error) {
    std::optional<std::string> refused;
    const bool isRead = connection.inspectRows(INT64_MIN, INT64_MAX, [&](const StoredRow& row) {
        if (row.fault.empty()) return true;
        refused = refusal(row, keep);
        rowids->push_back(row.rowid);
        return !refused;
    });
    if (!isRead) return failedRead(connection, error);
    if (!refused) return true;
    report(error, fileError(YapDatabaseErrorCode::notKept, connection.handle().path(), "repaired",
                            *refused));
    return false;
}

/// What was read may be wrong, and the file right.
void readFromTheFile(ConnectionCore& connection) {
    connection.settings().mustFlushMemory = true;
    connection.applySettings();
}

/// Rows that the index knows under another key, or not at all, can only go without it.
class RowRemoval {
public:
    explicit RowRemoval(ConnectionCore& connection) : connection_(connection) {}

    bool remove(std::int64_t rowid) {
        int code = deleteRow(rowid);
        if (code != 0 && isDamageCode(code) && !isWithoutIndex_) {
            isWithoutIndex_ = true;
            if (!execute("DROP INDEX row_key")) return false;
            code = deleteRow(rowid);
        }
        return code == 0 || connection_.failWith("repaired");
    }
    bool finish() {
        return !isWithoutIndex_ || execute("CREATE UNIQUE INDEX row_key ON row(collection, key)");
    }

private:
    int deleteRow(std::int64_t rowid) {
        Query query(connection_.statements().deleteRow, connection_.handle().get());
        query.bind(1, rowid);
        return query.run() ? 0 : query.code();
    }
    bool execute(const char* sql) {
        return connection_.handle().execute(sql) == 0 || connection_.failWith("repaired");
    }

    ConnectionCore& connection_;
    bool isWithoutIndex_ = false;
};

/// Without the extensions: they are rebuilt.
bool removeRows(ConnectionCore& connection, const std::vector<std::int64_t>& rowids,
                std::uint64_t* count) {
    RowRemoval removal(connection);
    for (const std::int64_t rowid : rowids) {
        bool isDamaged = false;
        const auto look = [&](const StoredRow& row) { return isDamaged = !row.fault.empty(); };
        if (!connection.inspectRows(rowid, rowid, look)) return false;
        if (!isDamaged) continue;
        if (!removal.remove(rowid)) return false;
        ++*count;
    }
    return removal.finish();
}

}  // namespace

bool removeDamagedRows(ConnectionCore& connection, const KeepBlock& keep, std::uint64_t* count,
                       Error* error) {
    readFromTheFile(connection);
    std::vector<std::int64_t> rowids;
    if (!findAndKeep(connection, keep, &rowids, error)) return false;
    if (rowids.empty()) return true;
    readFromTheFile(connection);
    if (!removeRows(connection, rowids, count)) return failedRead(connection, error);
    if (*count == 0) return true;
    connection.active().mustCommit = connection.active().isForeign = true;
    return rebuildExtensions(connection, Missing::stay, error) && markOrphans(connection, error);
}

}  // namespace qsml::detail
