// Beginning and ending transactions.
#include <sqlite3.h>

#include <new>

#include "foundation/Log.h"
#include "store/YapDatabaseException.h"
#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"
#include "store/detail/ExtensionSetup.h"

namespace qsml::detail {

namespace {

/// Also for failures for lack of memory, when there may be none for the line.
void warn(const char* what, const Error& error) noexcept {
    try {
        log(std::string("Warning: ") + what + error.description);
    } catch (const std::bad_alloc&) {
    }
}

/// Before a transaction begins: what ends it must need no memory then. A transaction that stayed
/// would keep all others from writing, and a read ends where nothing can be thrown.
bool prepareEnd(RowStatements& statements, const SqliteHandle& handle) {
    return Query(statements.commit, handle.get()).ok() &&
           Query(statements.rollback, handle.get()).ok();
}

}  // namespace

std::optional<StoreState> ConnectionCore::readState(Error* error) {
    Query query(statements_.state, handle_.get());
    if (query.row()) {
        if (auto state = StoreState::fromText(query.text(0))) return state;
        report(error, fileError(YapDatabaseErrorCode::notADatabase, handle_.path(), "read",
                                "its private table is damaged"));
    } else if (query.ok()) {
        report(error, fileError(YapDatabaseErrorCode::notADatabase, handle_.path(), "read",
                                "its private table is empty"));
    } else {
        report(error, handle_.lastError("read"));
    }
    return std::nullopt;
}

void ConnectionCore::rollBackRemains() {
    if (handle_.inTransaction()) Query(statements_.rollback, handle_.get()).run();
    if (handle_.inTransaction()) handle_.execute("ROLLBACK");
    // A failure inside the full-text module rolls back before the module is done with its part:
    // what it then notes down would go into the next commit. New instances of it know nothing.
    // Pinned by GivenAnOperationThatMeetsAFault.
    if (mustForgetModules_ && handle_.execute("PRAGMA writable_schema=RESET") == SQLITE_OK)
        mustForgetModules_ = false;
}

/// Begins SQLite's transaction and pins its snapshot, which BEGIN alone does not.
bool ConnectionCore::beginReadOfFile(Error* error) {
    rollBackRemains();
    if (!prepareEnd(statements_, handle_) || !Query(statements_.begin, handle_.get()).run()) {
        report(error, handle_.lastError("read"));
        return false;
    }
    if (auto state = readState(error)) {
        active_->state = *state;
        return true;
    }
    Query(statements_.rollback, handle_.get()).run();
    handle_.forgetPages();
    return false;
}

bool ConnectionCore::beginRead(const Owner& owner, Error* error, YapDatabaseNotifications* passed) {
    applySettings();
    active_.emplace();
    active_->connection = owner;
    if (isPinned()) {
        if (handle_.inTransaction()) return true;
        isPinned_ = false;  // SQLite had to give it up after a failure
    }
    try {
        if (!beginReadOfFile(error)) {
            active_.reset();
            return false;
        }
        moveTo(active_->state.snapshot, passed);
    } catch (...) {
        clearCaches();
        abandon();
        throw;
    }
    return true;
}

void ConnectionCore::endRead() {
    const bool hasReadDamage = active_->hasReadDamage;
    active_.reset();
    if (!isPinned()) {
        Query(statements_.commit, handle_.get()).run();
        if (handle_.inTransaction()) Query(statements_.rollback, handle_.get()).run();
    }
    if (hasReadDamage) handle_.forgetPages();
}

bool ConnectionCore::read(const Owner& owner, const ReadBlock& block, Error* error) {
    if (!beginReadInMemory(owner, error, nullptr)) return false;
    struct End {
        ConnectionCore& core;
        ~End() { core.endRead(); }
    } end{*this};
    block(readTransaction_);
    return true;
}

void ConnectionCore::endPin() {
    isPinned_ = false;
    rollBackRemains();
}

/// As beginRead, with a lack of memory as one more error.
bool ConnectionCore::beginReadInMemory(const Owner& owner, Error* error,
                                       YapDatabaseNotifications* passed) {
    try {
        return beginRead(owner, error, passed);
    } catch (const std::bad_alloc&) {
        reportNoMemory(error, handle_.path());
        return false;
    }
}

YapDatabaseNotifications ConnectionCore::beginLongLivedRead(const Owner& owner) {
    YapDatabaseNotifications passed;
    const bool isFirst = !wasEverPinned_.exchange(true);
    endPin();
    Error error;
    if (!beginReadInMemory(owner, &error, &passed)) {
        warn("a long-lived read transaction could not begin: ", error);
        return {};
    }
    active_.reset();
    isPinned_.store(true, std::memory_order_release);
    if (isFirst) passed.clear();
    return passed;
}

YapDatabaseNotifications ConnectionCore::endLongLivedRead(const Owner& owner) {
    YapDatabaseNotifications passed;
    if (!isPinned()) return passed;
    endPin();
    Error error;
    if (beginReadInMemory(owner, &error, &passed)) endRead();
    if (error) warn("the end of a long-lived read transaction could not read: ", error);
    return passed;
}

void ConnectionCore::restartPinnedRead(std::uint64_t newest) {
    if (!isPinned() || snapshot() != newest || !handle_.inTransaction()) return;
    rollBackRemains();
    active_.emplace();
    Error error;
    // Twice, since nobody has asked for it: a failure that passes must not cost the snapshot.
    const bool isRead = beginReadOfFile(nullptr) || beginReadOfFile(&error);
    if (!isRead || active_->state.snapshot != newest) {
        warn("a long-lived read transaction had to end: ", error);
        endPin();
    }
    active_.reset();
}

bool ConnectionCore::beginWrite(const Owner& owner, Error* error, bool isRegistration) {
    applySettings();
    endPin();
    rollBackRemains();
    if (mustForgetModules_) {
        report(error, handle_.lastError("written"));
        return false;
    }
    writerLock_.emplace(database_.writerLock(), error);
    active_.emplace();
    active_->connection = owner;
    active_->isWrite = true;
    active_->isRegistration = isRegistration;
    if (!*writerLock_) {
        abandon();
        return false;
    }
    if (database_.hasRemains) database_.rollBackRemains(*this);
    if (!prepareEnd(statements_, handle_) ||
        !Query(statements_.beginImmediate, handle_.get()).run()) {
        report(error, handle_.lastError("written"));
        abandon();
        return false;
    }
    auto state = readState(error);
    if (!state) {
        active_->hasReadDamage = true;
        abandon();
        return false;
    }
    active_->state = *state;
    moveTo(state->snapshot, nullptr);
    if (isRegistration || !database_.mustVerifyExtensions.exchange(false)) return true;
    active_->hasRepaired = true;
    if (repairExtensions(*this, database_.registeredExtensions(), error)) return true;
    abandon();
    return false;
}

/// Ends a transaction with nothing of it left.
void ConnectionCore::abandon() noexcept {
    if (active_ && active_->hasRepaired) database_.mustVerifyExtensions = true;
    const bool hasReadDamage = !active_ || active_->hasReadDamage;
    mustForgetModules_ = mustForgetModules_ || !active_ || active_->isWrite;
    try {
        active_.reset();
        lastCollection_ = nullptr;
        if (handle_.inTransaction()) Query(statements_.rollback, handle_.get()).run();
    } catch (...) {
    }
    if (handle_.inTransaction()) handle_.execute("ROLLBACK");
    if (handle_.inTransaction()) database_.hasRemains = true;
    if (hasReadDamage) handle_.forgetPages();
    writerLock_.reset();
}

bool ConnectionCore::readWrite(const Owner& owner, const WriteBlock& block, Error* error,
                               bool isRegistration) {
    try {
        if (!beginWrite(owner, error, isRegistration)) return false;
    } catch (const std::bad_alloc&) {
        clearCaches();
        abandon();
        reportNoMemory(error, handle_.path());
        return false;
    } catch (...) {
        clearCaches();
        abandon();
        throw;
    }
    try {
        block(readWriteTransaction_);
    } catch (...) {
        abandon();
        throw;
    }
    try {
        return endWrite(error);
    } catch (const std::bad_alloc&) {
        reportNoMemory(error, handle_.path());
    } catch (const std::exception& exception) {
        report(error, fileError(YapDatabaseErrorCode::extension, handle_.path(), "written",
                                exception.what()));
    }
    database_.history().takeBackPending();
    abandon();
    return false;
}

}  // namespace qsml::detail
