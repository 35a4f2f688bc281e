// Repair and compaction, in the writers' turn.
#include <sqlite3.h>

#include <functional>
#include <new>

#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"
#include "store/detail/ExtensionSetup.h"
#include "store/maintenance/compactFile.h"
#include "store/maintenance/damagedRows.h"

namespace qsml::detail {

namespace {
constexpr int patienceMilliseconds = 1000;  // with readers that are about to end
}

bool DatabaseCore::rebuildExtensions(const std::shared_ptr<YapDatabase>& database, Error* error) {
    const auto rebuild = [&](Missing missing, Error* cause) {
        const auto work = [&](ConnectionCore& connection) {
            Error itsCause;
            if (!detail::rebuildExtensions(connection, missing, &itsCause))
                connection.fail(itsCause);
        };
        if (!runWriteOfExtension(database, std::cref(work), cause)) return false;
        mustVerifyExtensions = false;
        return true;
    };
    Error cause;
    if (rebuild(Missing::areBroughtBack, &cause)) {
        failedRegistrations_.forgetAll();
        return true;
    }
    // What stays missing must not keep the others from being mended.
    Error second;
    const bool areOthersDone =
        failedRegistrations_.all().empty() || rebuild(Missing::stay, &second);
    report(error, areOthersDone ? cause : second);
    return false;
}

bool DatabaseCore::setAsideDamagedRows(
    const std::shared_ptr<YapDatabase>& database,
    const std::function<bool(const YapDatabase::DamagedRow&)>& keep, std::uint64_t* count,
    Error* error) {
    std::uint64_t removed = 0;
    const auto setAside = [&](ConnectionCore& connection) {
        Error cause;
        if (!removeDamagedRows(connection, keep, &removed, &cause)) connection.fail(cause);
    };
    const bool isDone = runWriteOfExtension(database, std::cref(setAside), error);
    if (isDone && removed > 0) mustVerifyExtensions = false;  // all are rebuilt
    if (count) *count = isDone ? removed : 0;
    return isDone;
}

bool DatabaseCore::compact(Error* error) {
    bool isDone = false;
    try {
        scheduler_->runSync(nullptr, &writers_, [&] { isDone = runCompaction(error); });
    } catch (const std::bad_alloc&) {
        reportNoMemory(error, path());
    }
    return isDone;
}

/// The log is emptied first: whoever keeps it from that would keep the file from shrinking, too.
/// All resting connections then are on the snapshot that is compacted, and can read it anew.
bool DatabaseCore::runCompaction(Error* error) {
    const WriterLockHold lock(writerLock_, error);
    if (!lock || !emptyLog("nothing was done", error)) return false;
    if (!compactFile(path(), sqliteSettings(), error)) {
        (void)emptyLog("", nullptr);  // of what it had written so far
        return false;
    }
    restartPinnedReads();
    return emptyLog("the file is in order, and shrinks at the next checkpoint after that", error);
}

bool DatabaseCore::emptyLog(std::string_view consequence, Error* error) {
    if (!runLockedCheckpoint(error)) return false;
    sqlite3* const handle = checkpointHandle_.get();
    sqlite3_busy_timeout(handle, patienceMilliseconds);
    const int code =
        sqlite3_wal_checkpoint_v2(handle, nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
    sqlite3_busy_timeout(handle, 0);
    if (code == SQLITE_OK) {
        logBytes_ = 0;
        isLogBlocked_ = false;
        return true;
    }
    if ((code & 0xff) != SQLITE_BUSY) {
        report(error, checkpointHandle_.lastError("checkpointed"));
        return false;
    }
    isLogBlocked_ = true;  // a reader of this process that moves asks for the next checkpoint
    report(error, fileError(YapDatabaseErrorCode::inTheWay, path(), "compacted",
                            readerInTheWay() + "; " + std::string(consequence)));
    return false;
}

std::string DatabaseCore::readerInTheWay() {
    const std::uint64_t newest = history_.newestSnapshot();
    std::string reader;
    forEachConnection([&](const ConnectionCore& connection) {
        if (connection.isPinned() && (reader.empty() || connection.snapshot() < newest))
            reader = "the long-lived read transaction of the connection \"" + connection.name() +
                     "\" may still need the log (move it to the newest commit or end it, and "
                     "compact again)";
    });
    if (!reader.empty()) return reader;
    return "a read transaction or another process still needs the log (let it end or close the "
           "file there, and compact again)";
}

}  // namespace qsml::detail
