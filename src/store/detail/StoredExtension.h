#pragma once
#include <map>
#include <set>
#include <string>

#include "foundation/Error.h"
#include "store/YapDatabaseExtension.h"

namespace qsml::detail {

class ConnectionCore;

// What the file holds of an extension: its settings, and the tables that were noted when they were
// made. All of it in the connection's write transaction; what answers false has made that fail.

using StoredSettings = std::map<std::string, std::string, std::less<>>;

bool isStored(const StoredSettings& settings);
bool isSameKind(const StoredSettings& settings, const YapDatabaseExtension& extension);
/// Whether something is stored that the rows do not tell, which an extension of another kind or
/// format would lose. Of its own kind the extension knows that itself.
bool holdsOriginalData(const StoredSettings& settings, const YapDatabaseExtension& extension);
/// Why what is stored cannot be used as it is, as the end of a sentence; empty when it can.
std::string reasonToBuild(const StoredSettings& settings, const YapDatabaseExtension& extension);

/// The names of all tables of the file.
std::set<std::string> tablesOf(ConnectionCore& connection);
/// Reads the tables that were noted when they were made. True when one of them cannot be dropped as
/// others are.
bool hasDamagedTables(ConnectionCore& connection, const StoredSettings& settings);
/// Whatever kind of extension made them, damaged ones too.
bool dropNotedTables(ConnectionCore& connection, const StoredSettings& settings);
bool removeSettings(ConnectionCore& connection, const std::string& name);
/// Of an extension that is up to date now, with the tables that were not there before.
bool storeSettings(ConnectionCore& connection, const YapDatabaseExtension& extension,
                   const std::string& name, const std::set<std::string>& tablesBefore);
/// From now on it misses writes.
bool markStale(ConnectionCore& connection, const std::string& name);

/// Whether SQLite's result code says that what it met is wrong, and not that the system failed.
bool isDamageCode(std::int64_t code);

}  // namespace qsml::detail
