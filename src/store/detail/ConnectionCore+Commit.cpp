// What happens between the end of a write block and the commit, and after it.
#include <sqlite3.h>

#include <new>

#include "foundation/Log.h"
#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"
#include "store/detail/ExtensionSetup.h"

namespace qsml::detail {

bool ConnectionCore::reportFailure(Error* error) {
    const Error cause = std::move(active_->error);
    abandon();
    report(error, cause);
    return false;
}

bool ConnectionCore::hasChanges() {
    return active_->mustCommit || !active_->changes.empty() ||
           (active_->work && active_->work->hasOwnChanges());
}

bool ConnectionCore::endWrite(Error* error) {
    if (active_->isRolledBack) {
        const bool hasFailed = active_->hasFailed;
        abandon();
        mustForgetModules_ = hasFailed;
        return true;
    }
    if (!active_->hasFailed && !handle_.inTransaction())
        fail(fileError(SQLITE_ABORT, handle_.path(), "written",
                       "SQLite had to roll back the transaction"));
    if (active_->hasFailed) return reportFailure(error);
    if (!hasChanges()) {
        adoptRegistration();
        abandon();
        mustForgetModules_ = false;
        return true;
    }
    return commit(error);
}

/// A registration that found everything in place: nothing is written, and whoever begins a
/// transaction from now on sees the extension.
void ConnectionCore::adoptRegistration() {
    if (!active_->replacedState) return;
    state_ = active_->replacedState;
    database_.history().replaceNewestState(state_);
    database_.setRegisteredExtensions(state_->extensions);
}

/// Lets the extensions finish. Row changes, theirs included, are complete after it.
bool ConnectionCore::prepareCommit(Error* error) {
    const bool isWorkToDo = !active_->changes.empty() || active_->work;
    if (isWorkToDo && !work().isEmpty()) {
        if (!work().flush(error) || active_->hasFailed) return false;
        active_->extensionChanges.merge(work().changes());
        if (!work().writeTables(error) || active_->hasFailed) return false;
    }
    const bool isFirstWrite = !active_->isRegistration && !database_.areOrphansMarked;
    if (isFirstWrite && !active_->changes.empty() && !markOrphans(*this, error)) return false;
    return writeState(error);
}

bool ConnectionCore::writeState(Error* error) {
    StoreState next = active_->state;
    ++next.snapshot;
    const std::string text = next.text();
    Query query(statements_.setState, handle_.get());
    query.bindText(1, text);
    if (query.run() && sqlite3_changes(handle_.get()) == 1) return true;
    report(error, handle_.lastError("written"));
    return false;
}

SnapshotStatePointer ConnectionCore::nextState() {
    const SnapshotState& base = active_->replacedState ? *active_->replacedState : *state_;
    auto next = std::make_shared<SnapshotState>();
    next->extensions = base.extensions;
    next->states = base.states;
    if (!active_->work) return next;
    for (std::size_t i = 0; i < base.extensions.size(); ++i) {
        const std::size_t before = state_->indexOf(base.extensions[i]->name);
        if (before != SnapshotState::npos) next->states[i] = work().newState(before);
    }
    return next;
}

CommitRecord ConnectionCore::makeRecord() {
    auto commit = std::make_shared<YapDatabaseCommit>();
    commit->snapshot = active_->state.snapshot + 1;
    commit->isForeign = active_->isForeign;
    if (!commit->isForeign) commit->connection = active_->connection.get();
    commit->changes = active_->changes.takeChanges();
    commit->extensions = std::move(active_->extensionChanges);
    commit->custom = std::move(active_->custom);
    CommitRecord record;
    record.first = commit->snapshot;
    record.commit = std::move(commit);
    record.values = std::make_shared<const std::vector<RowValues>>(active_->changes.takeValues());
    record.state = nextState();
    return record;
}

bool ConnectionCore::commit(Error* error) {
    Error cause;
    if (!prepareCommit(&cause)) {
        if (!active_->hasFailed) fail(cause ? cause : handle_.lastError("written"));
        return reportFailure(error);
    }
    const CommitRecord record = makeRecord();
    database_.history().addPending(record);
    mayCommit_ = true;
    const bool isCommitted = Query(statements_.commit, handle_.get()).run();
    mayCommit_ = false;
    if (!isCommitted) {
        const Error failure = handle_.lastError("written");
        database_.history().takeBackPending();
        abandon();
        report(error, failure);
        return false;
    }
    afterCommit(record);
    return true;
}

void ConnectionCore::afterCommit(const CommitRecord& record) {
    database_.history().confirmPending();
    state_ = record.state;
    snapshot_.store(record.commit->snapshot, std::memory_order_release);
    if (active_->isRegistration) database_.setRegisteredExtensions(state_->extensions);
    if (!active_->isRegistration && !record.commit->changes.empty())
        database_.areOrphansMarked = true;
    auto work = std::move(active_->work);
    auto newCollections = std::move(active_->newCollections);
    const auto rebuildLines = std::move(active_->rebuildLines);
    const auto connection = std::move(active_->connection);
    active_.reset();
    lastCollection_ = nullptr;
    writerLock_.reset();
    try {
        for (const auto& collection : newCollections) database_.collections().add(*collection);
        for (const std::string& line : rebuildLines) log(line);
        keepWrittenValues(record);
        if (work) work->didCommit();
        database_.announceCommits();
        database_.forgetPassedCommits();
        database_.noteLog(walFrames_);
    } catch (const std::bad_alloc&) {  // it is committed, whatever memory says
        clearCaches();
    }
}

}  // namespace qsml::detail
