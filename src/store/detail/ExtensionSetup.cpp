#include "store/detail/ExtensionSetup.h"

#include <sqlite3.h>

#include <algorithm>
#include <set>

#include "foundation/Log.h"
#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"
#include "store/detail/StoredExtension.h"
#include "store/detail/quotedIdentifier.h"
#include "store/maintenance/RebuildRun.h"

namespace qsml::detail {

namespace {

bool refuse(const std::string& name, std::string_view why, Error* error) {
    std::string text = "The extension \"" + name + "\" cannot be registered: ";
    report(error, {.domain = std::string(YapDatabaseErrorDomain),
                   .code = static_cast<std::int64_t>(YapDatabaseErrorCode::extension),
                   .description = text.append(why).append(why.back() == '.' ? "" : ".")});
    return false;
}

/// False with whatever is known of the cause.
bool failed(ConnectionCore& connection, const std::string& name, Error* error) {
    if (error && *error) return false;
    if (connection.active().error) {
        report(error, connection.active().error);
        return false;
    }
    const Error last = connection.handle().lastError("changed");
    const bool isKnown = last.code != 0 && last.code != SQLITE_ROW && last.code != SQLITE_DONE;
    return refuse(name, isKnown ? last.description : "it could not be built and gives no reason",
                  error);
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

/// From nothing.
bool makeAnew(ConnectionCore& connection, ExtensionContext& context,
              YapDatabaseExtension& extension, const std::string& name,
              const StoredSettings& settings, Error* error) {
    if (!dropNotedTables(connection, settings) || !removeSettings(connection, name))
        return failed(connection, name, error);
    const std::set<std::string> before = tablesOf(connection);
    if (!extension.createTables(context, error) || !extension.fill(context, error))
        return failed(connection, name, error);
    return storeSettings(connection, extension, name, before) || failed(connection, name, error);
}

/// What becomes of an extension that its damaged tables keep from being rebuilt.
enum class Damage { fails, isReplaced };

/// Brings what is stored of the extension up to date, from nothing or from an older form.
bool build(ConnectionCore& connection, ExtensionContext& context, YapDatabaseExtension& extension,
           const std::string& name, const StoredSettings& settings, Damage damage, RebuildRun& run,
           Error* error) {
    connection.active().mustCommit = true;
    if (!isSameKind(settings, extension))
        return makeAnew(connection, context, extension, name, settings, error);
    Error cause;
    if (hasDamagedTables(connection, settings)) {
        cause = fileError(SQLITE_CORRUPT, connection.handle().path(), "changed",
                          "tables of the extension \"" + name + "\" are damaged");
    } else {
        const std::set<std::string> before = tablesOf(connection);
        if (extension.rebuild(context, &cause))
            return storeSettings(connection, extension, name, before) ||
                   failed(connection, name, error);
        if (!cause) cause = connection.handle().lastError("changed");
    }
    const bool isDerived = extension.holdsOnlyDerivedData();
    if (connection.hasFailed() || !connection.handle().inTransaction() ||
        cause.domain != YapDatabaseErrorDomain || !isDamageCode(cause.code) ||
        (damage == Damage::fails && !isDerived)) {
        report(error, cause);
        return failed(connection, name, error);
    }
    if (!isDerived)
        log("Warning: the extension \"" + name +
            "\" is made anew from the rows, and what only it held is lost: " + cause.description);
    run.restart();
    return makeAnew(connection, context, extension, name, settings, error);
}

using StatePointer = std::shared_ptr<const YapDatabaseExtensionState>;

/// Of an extension that keeps nothing in the file, unlike one of its name that may have done so.
bool loadVolatile(ConnectionCore& connection, ExtensionContext& context,
                  YapDatabaseExtension& extension, const std::string& name,
                  const StoredSettings& settings, StatePointer* loaded, Error* error) {
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

/// What a build has made; false when it cannot be read.
bool loadBuilt(ExtensionContext& context, YapDatabaseExtension& extension, StatePointer* loaded,
               Error* error) {
    Error unreadable;
    *loaded = extension.loadState(context, &unreadable);
    if (unreadable) report(error, unreadable);
    return !unreadable;
}

/// Reads what is stored, and builds it where it is missing, out of date or unreadable.
bool loadOrBuild(ConnectionCore& connection, ExtensionContext& context,
                 YapDatabaseExtension& extension, const std::string& name,
                 const StoredSettings& settings, StatePointer* loaded, Error* error) {
    std::string why = reasonToBuild(settings, extension);
    if (why.empty() && connection.active().distrustsTables) why = "its tables are damaged";
    if (why.empty()) {
        Error unreadable;
        *loaded = extension.loadState(context, &unreadable);
        if (!unreadable) return true;
        why = "what was stored could not be read: " + unreadable.description;
    }
    RebuildRun run(connection, name);
    if (!build(connection, context, extension, name, settings, Damage::fails, run, error) ||
        !loadBuilt(context, extension, loaded, error))
        return false;
    run.finish(isStored(settings), why);
    return true;
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
    const StoredSettings settings = connection.settings(name);
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
        const StoredSettings settings = connection.settings(registered->name);
        const bool isSound = !hasDamagedTables(connection, settings);
        if ((isSound && !registered->extension->dropTables(context, error)) ||
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
        if (!reasonToBuild(connection.settings(one->name), *one->extension).empty()) continue;
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
            const StoredSettings settings = connection.settings(one->name);
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

bool rebuildExtensions(ConnectionCore& connection, const RegisteredExtensions& registered,
                       Error* error) {
    SnapshotState rebuilt;
    for (const auto& one : registered) {
        StatePointer state;
        if (one->extension->isPersistent()) {
            connection.replaceState(std::make_shared<SnapshotState>(rebuilt));  // its parents
            ExtensionContext context(connection, one);
            const StoredSettings settings = connection.settings(one->name);
            if (connection.active().error) return failed(connection, one->name, error);
            RebuildRun run(connection, one->name);
            if (!build(connection, context, *one->extension, one->name, settings,
                       Damage::isReplaced, run, error) ||
                !loadBuilt(context, *one->extension, &state, error))
                return false;
            run.finish(true, "that was asked for");
            connection.active().work.reset();
        } else {
            Error unreadable;
            state = reloadVolatile(connection, rebuilt, one, &unreadable);
            if (unreadable) {
                report(error, unreadable);
                return false;
            }
        }
        rebuilt.add(one, std::move(state));
    }
    auto next = std::make_shared<SnapshotState>(std::move(rebuilt));
    connection.replaceState(next);
    connection.active().replacedState = std::move(next);
    connection.active().mustCommit = connection.active().isForeign = true;
    return !connection.hasFailed();
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
        return markStale(connection, name) || failed(connection, name, error);
    });
}

}  // namespace qsml::detail
