#include "store/detail/ExtensionBuild.h"

#include <sqlite3.h>

#include <set>

#include "foundation/Log.h"
#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"
#include "store/detail/ExtensionContext.h"
#include "store/maintenance/RebuildRun.h"

namespace qsml::detail {

bool refuse(const std::string& name, std::string_view why, Error* error) {
    std::string text = "The extension \"" + name + "\" cannot be registered: ";
    report(error, {.domain = std::string(YapDatabaseErrorDomain),
                   .code = static_cast<std::int64_t>(YapDatabaseErrorCode::extension),
                   .description = text.append(why).append(why.back() == '.' ? "" : ".")});
    return false;
}

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

namespace {

/// What becomes of an extension that its damaged tables keep from being rebuilt.
enum class Damage { fails, isReplaced };

/// The making of one extension: what all steps of it need.
class Build {
public:
    Build(ConnectionCore& connection, const std::shared_ptr<const RegisteredExtension>& one,
          Error* error)
        : connection_(connection),
          extension_(*one->extension),
          name_(one->name),
          context_(connection, one),
          settings_(connection.settings(one->name)),
          error_(error) {}

    bool loadOrBuild(StatePointer* loaded) {
        if (connection_.active().error) return fail();
        if (!extension_.isPersistent()) return dropStored() && load(loaded);
        std::string why = reasonToBuild(settings_, extension_);
        if (why.empty() && connection_.active().distrustsTables) why = "its tables are damaged";
        if (why.empty()) {
            Error unreadable;
            *loaded = extension_.loadState(context_, &unreadable);
            if (!unreadable) return true;
            why = "what was stored could not be read: " + unreadable.description;
        }
        return buildFor(why, Damage::fails, loaded);
    }
    bool again(StatePointer* loaded) {
        if (connection_.active().error) return fail();
        if (!extension_.isPersistent()) return dropStored() && load(loaded);
        return buildFor("that was asked for", Damage::isReplaced, loaded);
    }

private:
    bool fail() { return failed(connection_, name_, error_); }

    bool load(StatePointer* loaded) {
        Error unreadable;
        *loaded = extension_.loadState(context_, &unreadable);
        if (unreadable) report(error_, unreadable);
        return !unreadable;
    }

    bool buildFor(const std::string& why, Damage damage, StatePointer* loaded) {
        RebuildRun run(connection_, name_);
        if (!build(damage, run) || !load(loaded)) return false;
        run.finish(isStored(settings_), why);
        return true;
    }

    /// Brings what is stored up to date, from nothing or from an older form.
    bool build(Damage damage, RebuildRun& run) {
        connection_.active().mustCommit = true;
        if (!isSameKind(settings_, extension_)) {
            if (isStored(settings_)) run.mustTell();
            return makeAnew();
        }
        Error cause;
        if (hasDamagedTables(connection_, settings_)) {
            cause = fileError(SQLITE_CORRUPT, connection_.handle().path(), "changed",
                              "tables of the extension \"" + name_ + "\" are damaged");
            return replaceDamaged(cause, damage, run);
        }
        const std::set<std::string> before = tablesOf(connection_);
        if (extension_.rebuild(context_, &cause))
            return storeSettings(connection_, extension_, name_, before) || fail();
        if (!cause) cause = connection_.handle().lastError("changed");
        return replaceDamaged(cause, damage, run);
    }

    bool replaceDamaged(const Error& cause, Damage damage, RebuildRun& run) {
        const bool isDerived = extension_.holdsOnlyDerivedData();
        if (connection_.hasFailed() || !connection_.handle().inTransaction() ||
            cause.domain != YapDatabaseErrorDomain || !isDamageCode(cause.code) ||
            (damage == Damage::fails && !isDerived)) {
            report(error_, cause);
            return fail();
        }
        if (!isDerived)
            log("Warning: the extension \"" + name_ +
                "\" is made anew from the rows, and what only it held is lost: " +
                cause.description);
        run.restart();
        return replace();
    }

    /// From nothing, where something else may have been stored under the name.
    bool makeAnew() { return mayDrop() && replace(); }

    bool replace() {
        if (!dropNotedTables(connection_, settings_) || !removeSettings(connection_, name_))
            return fail();
        const std::set<std::string> before = tablesOf(connection_);
        if (!extension_.createTables(context_, error_) || !extension_.fill(context_, error_))
            return fail();
        return storeSettings(connection_, extension_, name_, before) || fail();
    }

    /// Of an extension of that name that kept something in the file, as this one does not.
    bool dropStored() {
        if (settings_.empty()) return true;
        connection_.active().mustCommit = true;
        if (!mayDrop()) return false;
        return (dropNotedTables(connection_, settings_) && removeSettings(connection_, name_)) ||
               fail();
    }

    /// Another kind or format cannot say what of the stored data the rows do not tell.
    bool mayDrop() {
        if (!holdsOriginalData(settings_, extension_)) return true;
        const std::string why = reasonToBuild(settings_, extension_);
        return refuse(name_,
                      "what is stored of it is not in the rows, and is kept" +
                          (why.empty() ? "" : " although " + why),
                      error_);
    }

    ConnectionCore& connection_;
    YapDatabaseExtension& extension_;
    const std::string& name_;
    ExtensionContext context_;
    const StoredSettings settings_;
    Error* error_;
};

/// The newest state of the extension that this process knows.
StatePointer newestStateOf(ConnectionCore& connection, const std::string& name) {
    const SnapshotStatePointer newest = connection.database().history().newestState();
    const std::size_t index = newest ? newest->indexOf(name) : SnapshotState::npos;
    return index == SnapshotState::npos ? nullptr : newest->states[index];
}

}  // namespace

bool loadOrBuild(ConnectionCore& connection, const std::shared_ptr<const RegisteredExtension>& one,
                 StatePointer* loaded, Error* error) {
    return Build(connection, one, error).loadOrBuild(loaded);
}

bool buildAgain(ConnectionCore& connection, const std::shared_ptr<const RegisteredExtension>& one,
                StatePointer* loaded, Error* error) {
    return Build(connection, one, error).again(loaded);
}

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

}  // namespace qsml::detail
