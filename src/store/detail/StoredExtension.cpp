#include "store/detail/StoredExtension.h"

#include <sqlite3.h>

#include <algorithm>
#include <vector>

#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"
#include "store/detail/quotedIdentifier.h"

namespace qsml::detail {

namespace {

// The store's own settings of an extension; see ExtensionContext for the mark.
constexpr std::string_view kindKey = "#kind", formatKey = "#format", tagKey = "#versionTag",
                           configurationKey = "#configuration", staleKey = "#stale",
                           originalKey = "#original", tableKeyPrefix = "#table:";

std::string_view valueOf(const StoredSettings& settings, std::string_view key) {
    const auto found = settings.find(key);
    return found == settings.end() ? std::string_view() : std::string_view(found->second);
}

std::set<std::string> notedTables(const StoredSettings& settings) {
    std::set<std::string> noted;
    for (auto entry = settings.lower_bound(tableKeyPrefix);
         entry != settings.end() &&
         entry->first.compare(0, tableKeyPrefix.size(), tableKeyPrefix) == 0;
         ++entry)
        noted.insert(entry->first.substr(tableKeyPrefix.size()));
    return noted;
}

/// Strikes a table that SQLite can neither read nor drop from the schema. Its pages then belong to
/// nobody, which check() names and compacting mends.
bool forgetTable(ConnectionCore& connection, const std::string& name) {
    SqliteHandle& handle = connection.handle();
    sqlite3* const sqlite = handle.get();
    sqlite3_db_config(sqlite, SQLITE_DBCONFIG_DEFENSIVE, 0, nullptr);
    sqlite3_db_config(sqlite, SQLITE_DBCONFIG_WRITABLE_SCHEMA, 1, nullptr);
    bool isDone = false;
    {
        Statement statement("DELETE FROM sqlite_master WHERE tbl_name=?1");
        isDone = Query(statement, sqlite).bindText(1, name).run();
    }
    std::int64_t version = 0;
    if (isDone) {
        Statement statement("PRAGMA schema_version");
        Query query(statement, sqlite);
        isDone = query.row();
        version = query.number(0) + 1;
    }
    const std::string next = "PRAGMA schema_version=" + std::to_string(version);
    isDone = isDone && handle.execute(next.c_str()) == SQLITE_OK;
    if (!isDone) connection.failWith("changed");
    handle.execute("PRAGMA writable_schema=RESET");
    sqlite3_db_config(sqlite, SQLITE_DBCONFIG_WRITABLE_SCHEMA, 0, nullptr);
    sqlite3_db_config(sqlite, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    return isDone;
}

/// Tables whose pages, or those of their indexes, cannot be read as trees. On a connection of its
/// own, as they were committed: one that has met such a page in a write transaction cannot write in
/// it any more.
std::set<std::string> damagedTables(ConnectionCore& connection,
                                    const std::set<std::string>& names) {
    std::set<std::string> damaged;
    Error error;
    SqliteHandle handle = SqliteHandle::open(connection.handle().path(),
                                             connection.database().sqliteSettings(), &error);
    if (!handle) return damaged;
    for (const std::string& name : names) {
        const std::string sql = "PRAGMA quick_check(" + quotedIdentifier(name) + ")";
        Statement statement(sql.c_str());
        Query query(statement, handle.get());
        const bool isFine =
            query.row() ? query.text(0) == "ok" : (query.code() & 0xff) != SQLITE_CORRUPT;
        if (!isFine) damaged.insert(name);
    }
    return damaged;
}

/// Also where its module cannot begin.
bool dropTable(ConnectionCore& connection, const std::string& name) {
    const std::string sql = "DROP TABLE IF EXISTS " + quotedIdentifier(name);
    const int code = connection.handle().execute(sql.c_str());
    if (code == SQLITE_OK) return true;
    if (!isDamageCode(code)) return connection.failWith("changed");
    return forgetTable(connection, name);
}

std::string difference(std::string_view what, std::string_view before, std::string_view now) {
    std::string text = "its ";
    return text.append(what)
        .append(" was \"")
        .append(before)
        .append("\" and is \"")
        .append(now)
        .append("\"");
}

}  // namespace

bool isDamageCode(std::int64_t code) {
    switch (code & 0xff) {
        case SQLITE_CORRUPT:
        case SQLITE_ERROR:  // tables or columns are missing, a module cannot begin
        case SQLITE_CONSTRAINT:
        case SQLITE_MISMATCH:
            return code > 0;
        default:
            return false;
    }
}

bool isStored(const StoredSettings& settings) { return settings.count(kindKey) > 0; }

bool isSameKind(const StoredSettings& settings, const YapDatabaseExtension& extension) {
    return isStored(settings) && valueOf(settings, kindKey) == extension.kind() &&
           valueOf(settings, formatKey) == std::to_string(extension.formatVersion());
}

bool holdsOriginalData(const StoredSettings& settings, const YapDatabaseExtension& extension) {
    return settings.count(originalKey) > 0 ||
           (valueOf(settings, kindKey) == extension.kind() && !extension.holdsOnlyDerivedData());
}

std::string reasonToBuild(const StoredSettings& settings, const YapDatabaseExtension& extension) {
    if (!isStored(settings)) return "it is new";
    std::string text;
    const auto add = [&text](const std::string& reason) {
        text += (text.empty() ? "" : ", ") + reason;
    };
    const auto compare = [&](std::string_view key, std::string_view what, const std::string& now) {
        const std::string_view before = valueOf(settings, key);
        if (before != now) add(difference(what, before, now));
    };
    compare(kindKey, "kind", extension.kind());
    compare(formatKey, "format", std::to_string(extension.formatVersion()));
    compare(tagKey, "version tag", extension.versionTag());
    compare(configurationKey, "configuration", extension.configuration());
    if (settings.count(staleKey)) add("it missed writes");
    return text;
}

std::set<std::string> tablesOf(ConnectionCore& connection) {
    std::set<std::string> names;
    Query query(connection.statements().tables, connection.handle().get());
    while (query.row()) names.emplace(query.text(0));
    return names;
}

bool hasDamagedTables(ConnectionCore& connection, const StoredSettings& settings) {
    return !damagedTables(connection, notedTables(settings)).empty();
}

/// Virtual tables go first, as they take their shadow tables along, unless one of these is damaged.
bool dropNotedTables(ConnectionCore& connection, const StoredSettings& settings) {
    const std::set<std::string> noted = notedTables(settings);
    const std::set<std::string> damaged = damagedTables(connection, noted);
    std::vector<std::string> virtualTables;
    {
        Query query(connection.statements().tables, connection.handle().get());
        while (query.row())
            if (query.number(1) && noted.count(std::string(query.text(0))))
                virtualTables.emplace_back(query.text(0));
    }
    const auto forget = [&](const std::string& name) { return forgetTable(connection, name); };
    const auto drop = [&](const std::string& name) { return dropTable(connection, name); };
    if (!std::all_of(damaged.begin(), damaged.end(), forget)) return false;
    if (damaged.empty() ? !std::all_of(virtualTables.begin(), virtualTables.end(), drop)
                        : !std::all_of(virtualTables.begin(), virtualTables.end(), forget))
        return false;
    const std::set<std::string> left = tablesOf(connection);
    return std::all_of(noted.begin(), noted.end(), [&](const std::string& name) {
        return left.count(name) == 0 || drop(name);
    });
}

bool removeSettings(ConnectionCore& connection, const std::string& name) {
    Query query(connection.statements().removeSettings, connection.handle().get());
    query.bindText(1, name);
    return query.run() || connection.failWith("written");
}

bool storeSettings(ConnectionCore& connection, const YapDatabaseExtension& extension,
                   const std::string& name, const std::set<std::string>& tablesBefore) {
    {
        Query query(connection.statements().removeSetting, connection.handle().get());
        query.bindText(1, name).bindText(2, staleKey);
        if (!query.run()) return connection.failWith("written");
    }
    const std::pair<std::string_view, std::string> all[] = {
        {kindKey, extension.kind()},
        {formatKey, std::to_string(extension.formatVersion())},
        {configurationKey, extension.configuration()},
        {tagKey, extension.versionTag()}};
    for (const auto& [key, value] : all)
        if (!connection.setSetting(name, key, value)) return false;
    if (!extension.holdsOnlyDerivedData() && !connection.setSetting(name, originalKey, "1"))
        return false;
    for (const std::string& table : tablesOf(connection))
        if (tablesBefore.count(table) == 0 &&
            !connection.setSetting(name, std::string(tableKeyPrefix) + table, ""))
            return false;
    return true;
}

bool markStale(ConnectionCore& connection, const std::string& name) {
    return connection.setSetting(name, staleKey, "1");
}

}  // namespace qsml::detail
