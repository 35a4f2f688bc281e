#include "store/detail/ExtensionSetup.h"

#include <algorithm>
#include <optional>
#include <set>

#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"
#include "store/detail/ExtensionBuild.h"
#include "store/detail/ExtensionContext.h"
#include "store/detail/StoredExtension.h"
#include "store/detail/quotedIdentifier.h"

namespace qsml::detail {

namespace {

/// The first one that is not there.
std::optional<std::string> missingParent(const SnapshotState& state,
                                         const YapDatabaseExtension& extension) {
    for (std::string& parent : extension.parents())
        if (state.indexOf(parent) == SnapshotState::npos) return std::move(parent);
    return std::nullopt;
}

bool hasParents(const SnapshotState& state, const YapDatabaseExtension& extension,
                const std::string& name, Error* error) {
    const auto missing = missingParent(state, extension);
    return !missing || refuse(name, "\"" + *missing + "\" must be registered before", error);
}

bool mayRegister(const SnapshotState& state, const YapDatabaseExtension& extension,
                 const std::string& name, Error* error) {
    if (!isUsableName(name)) return refuse(name, "the name is empty or holds a zero byte", error);
    if (isReservedName(name))
        return refuse(name, "SQLite keeps names that begin with \"sqlite_\" for itself", error);
    if (state.indexOf(name) != SnapshotState::npos) return refuse(name, "the name is taken", error);
    for (const auto& registered : state.extensions)
        if (registered->extension.get() == &extension)
            return refuse(name, "this instance is registered already", error);
    return hasParents(state, extension, name, error);
}

bool contains(const RegisteredExtensions& all,
              const std::shared_ptr<const RegisteredExtension>& one) {
    return std::find(all.begin(), all.end(), one) != all.end();
}

/// Anew from its parents, with what only memory has of it.
bool remake(ConnectionCore& connection, const SnapshotState& parents,
            const std::shared_ptr<const RegisteredExtension>& one, StatePointer* state,
            Error* error) {
    Error unreadable;
    *state = reloadVolatile(connection, parents, one, &unreadable);
    if (unreadable) report(error, unreadable);
    return !unreadable;
}

/// Anew from the rows, where it may look at its parents.
bool buildOn(ConnectionCore& connection, const SnapshotState& parents,
             const std::shared_ptr<const RegisteredExtension>& one, StatePointer* state,
             Error* error) {
    connection.replaceState(std::make_shared<SnapshotState>(parents));
    if (!buildAgain(connection, one, state, error)) return false;
    connection.active().work.reset();
    return true;
}

}  // namespace

bool setUpExtension(ConnectionCore& connection,
                    const std::shared_ptr<YapDatabaseExtension>& extension, const std::string& name,
                    Error* error) {
    const SnapshotState& state = *connection.state();
    if (!extension) return refuse(name, "there is no instance", error);
    if (!mayRegister(state, *extension, name, error)) return false;
    auto registered = std::make_shared<RegisteredExtension>(RegisteredExtension{name, extension});
    StatePointer loaded;
    if (!loadOrBuild(connection, registered, &loaded, error)) return false;
    if (connection.database().hasPinnedConnection()) {  // nobody else asks what came
        ExtensionContext context(connection, registered);
        if (auto changes = extension->changesOfRegistration(context, loaded))
            connection.active().extensionChanges.emplace(name, std::move(changes));
    }
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
            if (missingParent(*loaded, *one->extension)) continue;
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
        StatePointer state;
        if (known != SnapshotState::npos)
            state = before->states[known];
        else if (one->extension->isPersistent()
                     ? !loadOrBuild(connection, one, &state, error)
                     : !remake(connection, *repaired, one, &state, error))
            return false;
        repaired->add(one, std::move(state));
    }
    connection.active().work.reset();  // what a filling has asked for is of the state before
    connection.replaceState(std::move(repaired));
    return true;
}

bool rebuildExtensions(ConnectionCore& connection, Missing missing, Error* error) {
    const RegisteredExtensions registered = connection.database().registeredExtensions();
    SnapshotState rebuilt;
    const auto all = missing == Missing::areBroughtBack
                         ? connection.database().failedRegistrations().addedTo(registered)
                         : registered;
    for (const auto& one : all) {
        const bool isRegistered = contains(registered, one);
        StatePointer state;
        Error cause;
        if (!isRegistered && !hasParents(rebuilt, *one->extension, one->name, error)) return false;
        const bool isDone = isRegistered && !one->extension->isPersistent()
                                ? remake(connection, rebuilt, one, &state, &cause)
                                : buildOn(connection, rebuilt, one, &state, &cause);
        if (!isDone) {
            if (isRegistered ||
                cause.description.find("\"" + one->name + "\"") != std::string::npos)
                report(error, cause);
            else
                refuse(one->name, cause.description, error);
            return false;
        }
        rebuilt.add(one, std::move(state));
    }
    if (rebuilt.extensions.empty()) return true;
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
