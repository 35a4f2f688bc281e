// Registering and removing extensions, as writes of a connection that only this file uses.
#include <sqlite3.h>

#include <exception>
#include <functional>
#include <new>

#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"
#include "store/detail/ExtensionSetup.h"

namespace qsml::detail {

bool DatabaseCore::runWrite(const std::shared_ptr<YapDatabase>& database,
                            const std::function<void(ConnectionCore&)>& block, Error* error) {
    if (!registrar_) registrar_ = newConnection(error);
    if (!registrar_) return false;
    // The transaction answers a connection like any other; its core comes back when it ends. It
    // takes its place last: a connection that goes for lack of memory would lose it.
    const std::shared_ptr<YapDatabaseConnection> face(new YapDatabaseConnection(database, nullptr));
    face->core_ = std::move(registrar_);
    struct ComeBack {
        DatabaseCore& database;
        YapDatabaseConnection& face;
        ~ComeBack() { database.registrar_ = std::move(face.core_); }
    } comeBack{*this, *face};
    ConnectionCore& core = *face->core_;
    return core.readWrite(
        face, [&](YapDatabaseReadWriteTransaction&) { block(core); }, error, true);
}

bool DatabaseCore::registerExtension(const std::shared_ptr<YapDatabase>& database,
                                     const std::shared_ptr<YapDatabaseExtension>& extension,
                                     const std::string& name, Error* error) {
    bool distrustsTables = false;
    const auto setUp = [&](ConnectionCore& connection) {
        connection.active().distrustsTables = distrustsTables;
        Error cause;
        if (!setUpExtension(connection, extension, name, &cause)) {
            connection.fail(cause);
            return;
        }
        // A pinned connection learns of the extension by moving over a commit.
        if (hasPinnedConnection()) connection.active().mustCommit = true;
    };
    Error cause;
    bool isDone = runWriteOfExtension(database, std::cref(setUp), &cause);
    if (!isDone && cause.domain == YapDatabaseErrorDomain &&
        (cause.code & 0xff) == SQLITE_CORRUPT) {
        // After that SQLite writes nothing more in the transaction; in another, which does not read
        // the extension's tables, it can replace them.
        distrustsTables = true;
        cause = {};
        isDone = runWriteOfExtension(database, std::cref(setUp), &cause);
    }
    if (isDone) {
        failedRegistrations_.forget(name, extension);
        return true;
    }
    try {
        if (extension) failedRegistrations_.note({name, extension}, cause, registeredExtensions());
    } catch (const std::exception&) {  // then it is missing without a word from check()
    }
    report(error, cause);
    return false;
}

bool DatabaseCore::unregisterExtension(const std::shared_ptr<YapDatabase>& database,
                                       const std::string& name, Error* error) {
    const auto tearDown = [&](ConnectionCore& connection) {
        Error cause;
        if (!tearDownExtension(connection, name, &cause)) connection.fail(cause);
    };
    const bool wasMissing = failedRegistrations_.giveUp(name);
    return runWriteOfExtension(database, std::cref(tearDown), wasMissing ? nullptr : error) ||
           wasMissing;
}

/// What an extension throws is an error of the operation.
bool DatabaseCore::runWriteOfExtension(const std::shared_ptr<YapDatabase>& database,
                                       const std::function<void(ConnectionCore&)>& block,
                                       Error* error) {
    try {
        return runWrite(database, block, error);
    } catch (const std::bad_alloc&) {
        reportNoMemory(error, path());
    } catch (const std::exception& exception) {
        report(error,
               fileError(YapDatabaseErrorCode::extension, path(), "changed", exception.what()));
    }
    return false;
}

}  // namespace qsml::detail
