#include "store/detail/ExtensionSetup.h"

#include <sqlite3.h>

#include <algorithm>
#include <set>

#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"
#include "store/detail/quotedIdentifier.h"

namespace qsml::detail {

namespace {

// The store's own settings of an extension; see ExtensionContext for the mark.
constexpr std::string_view kindKey = "#kind", formatKey = "#format", tagKey = "#versionTag",
                           configurationKey = "#configuration", staleKey = "#stale",
                           tableKeyPrefix = "#table:";

using Settings = std::map<std::string, std::string, std::less<>>;

bool refuse(const std::string& name, std::string_view why, Error* error) {
    std::string text = "The extension \"" + name + "\" cannot be registered: ";
    report(error, {.domain = std::string(YapDatabaseErrorDomain),
                   .code = static_cast<std::int64_t>(YapDatabaseErrorCode::extension),
                   .description = text.append(why).append(".")});
    return false;
}

/// False with whatever is known of the cause.
bool failed(ConnectionCore& connection, const std::string& name, Error* error) {
    if (error && *error) return false;
    if (connection.active().error) {
        report(error, connection.active().error);
        return false;
    }
    return refuse(name, "its set-up failed", error);
}

bool mayRegister(const SnapshotState& state, const YapDatabaseExtension& extension,
                 const std::string& name, Error* error) {
    if (!isUsableName(name)) return refuse(name, "the name is empty or holds a zero byte", error);
    if (state.indexOf(name) != SnapshotState::npos) return refuse(name, "the name is taken", error);
    for (const auto& registered : state.extensions)
        if (registered->extension.get() == &extension)
            return refuse(name, "this instance is registered already", error);
    for (const std::string& parent : extension.parents())
        if (state.indexOf(parent) == SnapshotState::npos)
            return refuse(name, "\"" + parent + "\" must be registered before", error);
    return true;
}

std::string_view valueOf(const Settings& settings, std::string_view key) {
    const auto found = settings.find(key);
    return found == settings.end() ? std::string_view() : std::string_view(found->second);
}

bool isStored(const Settings& settings) { return settings.count(kindKey) > 0; }

bool isSameKind(const Settings& settings, const YapDatabaseExtension& extension) {
    return isStored(settings) && valueOf(settings, kindKey) == extension.kind() &&
           valueOf(settings, formatKey) == std::to_string(extension.formatVersion());
}

bool isUpToDate(const Settings& settings, const YapDatabaseExtension& extension) {
    return isSameKind(settings, extension) &&
           valueOf(settings, configurationKey) == extension.configuration() &&
           valueOf(settings, tagKey) == extension.versionTag() && settings.count(staleKey) == 0;
}

std::set<std::string> tables(ConnectionCore& connection) {
    std::set<std::string> names;
    Query query(connection.statements().tables, connection.handle().get());
    while (query.row()) names.emplace(query.text(0));
    return names;
}

/// Whatever kind of extension made them: the tables that were noted when they were made.
bool dropNotedTables(ConnectionCore& connection, const Settings& settings) {
    std::set<std::string> noted;
    for (auto entry = settings.lower_bound(tableKeyPrefix);
         entry != settings.end() &&
         entry->first.compare(0, tableKeyPrefix.size(), tableKeyPrefix) == 0;
         ++entry)
        noted.insert(entry->first.substr(tableKeyPrefix.size()));
    const auto drop = [&](const std::string& name) {
        const std::string sql = "DROP TABLE IF EXISTS " + quotedIdentifier(name);
        return connection.handle().execute(sql.c_str()) == SQLITE_OK ||
               connection.failWith("changed");
    };
    std::vector<std::string> virtualTables;  // these first: they take their shadow tables along
    {
        Query query(connection.statements().tables, connection.handle().get());
        while (query.row())
            if (query.number(1) && noted.count(std::string(query.text(0))))
                virtualTables.emplace_back(query.text(0));
    }
    if (!std::all_of(virtualTables.begin(), virtualTables.end(), drop)) return false;
    const std::set<std::string> left = tables(connection);
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
    const std::pair<std::string_view, std::string> all[] = {
        {kindKey, extension.kind()},
        {formatKey, std::to_string(extension.formatVersion())},
        {configurationKey, extension.configuration()},
        {tagKey, extension.versionTag()}};
    for (const auto& [key, value] : all)
        if (!connection.setSetting(name, key, value)) return false;
    for (const std::string& table : tables(connection))
        if (tablesBefore.count(table) == 0 &&
            !connection.setSetting(name, std::string(tableKeyPrefix) + table, ""))
            return false;
    return true;
}

/// Brings what is stored of the extension up to date, from nothing or from an older form.
bool build(ConnectionCore& connection, ExtensionContext& context, YapDatabaseExtension& extension,
           const std::string& name, const Settings& settings, Error* error) {
    connection.active().mustCommit = true;
    if (isSameKind(settings, extension)) {
        const std::set<std::string> before = tables(connection);
        if (!extension.rebuild(context, error)) return failed(connection, name, error);
        Query query(connection.statements().removeSetting, connection.handle().get());
        query.bindText(1, name).bindText(2, staleKey);
        if (!query.run()) return connection.failWith("written");
        return storeSettings(connection, extension, name, before) ||
               failed(connection, name, error);
    }
    if (!dropNotedTables(connection, settings) || !removeSettings(connection, name))
        return failed(connection, name, error);
    const std::set<std::string> before = tables(connection);
    if (!extension.createTables(context, error) || !extension.fill(context, error))
        return failed(connection, name, error);
    return storeSettings(connection, extension, name, before) || failed(connection, name, error);
}

using StatePointer = std::shared_ptr<const YapDatabaseExtensionState>;

/// Of an extension that keeps nothing in the file, unlike one of its name that may have done so.
bool loadVolatile(ConnectionCore& connection, ExtensionContext& context,
                  YapDatabaseExtension& extension, const std::string& name,
                  const Settings& settings, StatePointer* loaded, Error* error) {
    if (!settings.empty()) {
        connection.active().mustCommit = true;
        if (!dropNotedTables(connection, settings) || !removeSettings(connection, name))
            return failed(connection, name, error);
    }
    Error unreadable;
    *loaded = extension.loadState(context, &unreadable);
    if (unreadable) report(error, unreadable);
    return !unreadable;
}

/// Reads what is stored, and builds it where it is missing, out of date or unreadable.
bool loadOrBuild(ConnectionCore& connection, ExtensionContext& context,
                 YapDatabaseExtension& extension, const std::string& name, const Settings& settings,
                 StatePointer* loaded, Error* error) {
    if (isUpToDate(settings, extension)) {
        Error unreadable;
        *loaded = extension.loadState(context, &unreadable);
        if (!unreadable) return true;
    }
    if (!build(connection, context, extension, name, settings, error)) return false;
    Error unreadable;
    *loaded = extension.loadState(context, &unreadable);
    if (unreadable) report(error, unreadable);
    return !unreadable;
}

/// The newest state of the extension that this process knows.
StatePointer newestStateOf(ConnectionCore& connection, const std::string& name) {
    const SnapshotStatePointer newest = connection.database().history().newestState();
    const std::size_t index = newest ? newest->indexOf(name) : SnapshotState::npos;
    return index == SnapshotState::npos ? nullptr : newest->states[index];
}

/// An extension that keeps nothing in the file reads its parents, so these must be in place.
StatePointer reloadVolatile(ConnectionCore& connection, const SnapshotState& parents,
                            const std::shared_ptr<const RegisteredExtension>& one, Error* error) {
    const SnapshotStatePointer before = connection.state();
    connection.replaceState(std::make_shared<SnapshotState>(parents));
    ExtensionContext context(connection, one);
    auto state = one->extension->reloadState(context, newestStateOf(connection, one->name), error);
    connection.active().work.reset();
    connection.replaceState(before);
    return state;
}

bool hasParents(const SnapshotState& state, const YapDatabaseExtension& extension) {
    const auto parents = extension.parents();
    return std::all_of(parents.begin(), parents.end(), [&](const std::string& parent) {
        return state.indexOf(parent) != SnapshotState::npos;
    });
}

}  // namespace

bool setUpExtension(ConnectionCore& connection,
                    const std::shared_ptr<YapDatabaseExtension>& extension, const std::string& name,
                    Error* error) {
    const SnapshotState& state = *connection.state();
    if (!extension) return refuse(name, "there is no instance", error);
    if (!mayRegister(state, *extension, name, error)) return false;
    auto registered = std::make_shared<RegisteredExtension>(RegisteredExtension{name, extension});
    ExtensionContext context(connection, registered);
    const Settings settings = connection.settings(name);
    if (connection.active().error) return failed(connection, name, error);

    StatePointer loaded;
    const auto load = extension->isPersistent() ? loadOrBuild : loadVolatile;
    if (!load(connection, context, *extension, name, settings, &loaded, error)) return false;
    if (connection.database().hasPinnedConnection())  // nobody else asks what came
        if (auto changes = extension->changesOfRegistration(context, loaded))
            connection.active().extensionChanges.emplace(name, std::move(changes));
    auto next = std::make_shared<SnapshotState>(state);
    next->add(std::move(registered), std::move(loaded));
    connection.active().replacedState = std::move(next);
    return !connection.hasFailed() || failed(connection, name, error);
}

bool tearDownExtension(ConnectionCore& connection, const std::string& name, Error* error) {
    auto next = std::make_shared<SnapshotState>(*connection.state());
    if (next->indexOf(name) == SnapshotState::npos) {
        refuse(name, "it is not registered", error);
        return false;
    }
    std::set<std::string> going{name};
    for (const auto& registered : next->extensions)  // parents stand before children
        for (const std::string& parent : registered->extension->parents())
            if (going.count(parent)) going.insert(registered->name);
    for (std::size_t i = next->extensions.size(); i-- > 0;) {
        const auto registered = next->extensions[i];
        if (going.count(registered->name) == 0) continue;
        ExtensionContext context(connection, registered);
        const Settings settings = connection.settings(registered->name);
        if (!registered->extension->dropTables(context, error) ||
            !dropNotedTables(connection, settings) || !removeSettings(connection, registered->name))
            return failed(connection, registered->name, error);
        next->remove(i);
    }
    connection.active().mustCommit = true;
    connection.active().replacedState = std::move(next);
    return !connection.hasFailed() || failed(connection, name, error);
}

SnapshotStatePointer loadExtensions(ConnectionCore& connection,
                                    const RegisteredExtensions& registered) {
    auto loaded = std::make_shared<SnapshotState>();
    for (const auto& one : registered) {
        Error error;
        if (!one->extension->isPersistent()) {
            if (!hasParents(*loaded, *one->extension)) continue;
            auto state = reloadVolatile(connection, *loaded, one, &error);
            if (!error) loaded->add(one, std::move(state));
            continue;
        }
        if (!isUpToDate(connection.settings(one->name), *one->extension)) continue;
        ExtensionContext context(connection, one);
        auto state = one->extension->loadState(context, &error);
        if (!error) loaded->add(one, std::move(state));
    }
    return loaded;
}

bool repairExtensions(ConnectionCore& connection, const RegisteredExtensions& registered,
                      Error* error) {
    auto repaired = std::make_shared<SnapshotState>();
    const SnapshotStatePointer before = connection.state();
    for (const auto& one : registered) {
        const std::size_t known = before->indexOf(one->name);
        if (known != SnapshotState::npos) {
            repaired->add(one, before->states[known]);
            continue;
        }
        StatePointer state;
        if (one->extension->isPersistent()) {
            ExtensionContext context(connection, one);
            const Settings settings = connection.settings(one->name);
            if (!loadOrBuild(connection, context, *one->extension, one->name, settings, &state,
                             error))
                return false;
        } else {
            Error unreadable;
            state = reloadVolatile(connection, *repaired, one, &unreadable);
            if (unreadable) {
                report(error, unreadable);
                return false;
            }
        }
        repaired->add(one, std::move(state));
    }
    connection.replaceState(std::move(repaired));
    return true;
}

bool markOrphans(ConnectionCore& connection, Error* error) {
    std::vector<std::string> orphans;
    {
        Query query(connection.statements().storedExtensions, connection.handle().get());
        while (query.row())
            if (connection.state()->indexOf(query.text(0)) == SnapshotState::npos)
                orphans.emplace_back(query.text(0));
        if (!query.ok()) {
            report(error, connection.handle().lastError("read"));
            return false;
        }
    }
    return std::all_of(orphans.begin(), orphans.end(), [&](const std::string& name) {
        return connection.setSetting(name, staleKey, "1") || failed(connection, name, error);
    });
}

}  // namespace qsml::detail
