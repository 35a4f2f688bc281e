// Keeping the write-ahead log short. Every checkpoint runs in the writers' turn and under the
// writer lock: SQLite before 3.51.3 can damage the file when a commit meets the start of a
// checkpoint.
#include <sqlite3.h>
#include <sys/stat.h>

#include <new>

#include "foundation/Log.h"
#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"
#include "store/detail/TakenTurns.h"

namespace qsml::detail {

namespace {
constexpr std::uint64_t frameBytes = pageSize + 24;
constexpr int rounds = 3;  // a reader may move on while a checkpoint runs; the next gets further
}  // namespace

std::uint64_t DatabaseCore::walSize() const {
    struct stat facts {};
    const std::string log = path() + "-wal";
    return ::stat(log.c_str(), &facts) == 0 ? static_cast<std::uint64_t>(facts.st_size) : 0;
}

void DatabaseCore::noteLog(int frames) {
    const std::uint64_t bytes = static_cast<std::uint64_t>(frames) * frameBytes;
    logBytes_ = bytes;
    if (bytes > options_.walWarningBytes)
        warnAboutLog();
    else
        hasWarned_ = false;
    if (bytes <= options_.checkpointBytes)
        nextCheckpointAt_ = options_.checkpointBytes;
    else if (bytes > nextCheckpointAt_)
        requestCheckpoint();
}

void DatabaseCore::noteReaderMoved() {
    if (isLogBlocked_ || logBytes_ > options_.checkpointBytes) requestCheckpoint();
}

/// The item takes its place among the writers at once: behind it, no commit comes between a reader
/// that has just moved and the checkpoint.
void DatabaseCore::requestCheckpoint() {
    if (isClosed_ || isCheckpointPending_.exchange(true)) return;
    try {
        auto ticket = scheduler_->runAsync(
            nullptr, &writers_, [self = shared_from_this()] { self->runRequestedCheckpoint(); });
        const std::lock_guard lock(checkpointMutex_);
        checkpointTicket_ = std::move(ticket);
    } catch (const std::bad_alloc&) {  // a later commit asks again
        isCheckpointPending_ = false;
    }
}

void DatabaseCore::runRequestedCheckpoint() noexcept {
    isCheckpointPending_ = false;
    try {
        Error error;
        if (!isClosed_ && !runCheckpoint(&error))
            log("Warning: a checkpoint failed: " + error.description);
    } catch (const std::bad_alloc&) {  // the log stays longer; a later commit asks again
    }
}

bool DatabaseCore::runAsWriter(const std::function<bool(Error*)>& work, Error* error) {
    bool isDone = false;
    scheduler_->runSync(nullptr, &writers_, [&] {
        const WriterLockHold lock(writerLock_, error);
        isDone = lock && work(error);
    });
    return isDone;
}

bool DatabaseCore::checkpoint(Error* error) {
    try {
        return runAsWriter([this](Error* cause) { return runLockedCheckpoint(cause); }, error);
    } catch (const std::bad_alloc&) {
        reportNoMemory(error, path());
        return false;
    }
}

bool DatabaseCore::runCheckpoint(Error* error) {
    const WriterLockHold lock(writerLock_, error);
    return lock && runLockedCheckpoint(error);
}

bool DatabaseCore::runLockedCheckpoint(Error* error) {
    int frames = 0, copied = 0;
    for (int round = 0; round < rounds; ++round) {
        const int before = copied;
        const int code = sqlite3_wal_checkpoint_v2(checkpointHandle_.get(), nullptr,
                                                   SQLITE_CHECKPOINT_PASSIVE, &frames, &copied);
        if (code != SQLITE_OK && (code & 0xff) != SQLITE_BUSY) {
            report(error, checkpointHandle_.lastError("checkpointed"));
            return false;
        }
        if (copied >= frames || (round > 0 && copied == before)) break;
    }
    isLogBlocked_ = copied < frames;
    logBytes_ = static_cast<std::uint64_t>(frames > 0 ? frames : 0) * frameBytes;
    nextCheckpointAt_ = logBytes_ + options_.checkpointBytes;
    if (isLogBlocked_) return true;
    logBytes_ = 0;  // the next writer starts the log again, unless a reader still needs it
    nextCheckpointAt_ = options_.checkpointBytes;
    restartPinnedReads();
    return true;
}

/// Readers that rest on the newest snapshot take it from the file from now on, and so let go of the
/// log. Nobody waits: a reader that is busy keeps the log until it moves.
void DatabaseCore::restartPinnedReads() {
    const std::uint64_t newest = history_.newestSnapshot();
    TakenTurns resting(*scheduler_);
    forEachConnection([&](ConnectionCore& connection) {
        if (connection.isPinned() && !resting.take(connection)) isLogBlocked_ = true;
    });
    resting.useEach([&](ConnectionCore& connection) {
        if (connection.snapshot() != newest) isLogBlocked_ = true;
        connection.restartPinnedRead(newest);
    });
}

void DatabaseCore::warnAboutLog() {
    if (hasWarned_.exchange(true)) return;
    std::uint64_t oldest = ~std::uint64_t{0};
    std::string reader = "none";
    forEachConnection([&](const ConnectionCore& connection) {
        if (!connection.isPinned() || connection.snapshot() >= oldest) return;
        oldest = connection.snapshot();
        reader = "\"" + connection.name() + "\" since snapshot " + std::to_string(oldest);
    });
    log("Warning: the write-ahead log of the database \"" + path() + "\" has grown to " +
        std::to_string(logBytes_) + " bytes; the oldest long-lived reader: " + reader);
}

/// Leaves an empty log behind when nobody else uses the file.
void DatabaseCore::finalCheckpoint() {
    Error error;
    const WriterLockHold lock(writerLock_, &error);
    if (!lock) return;
    sqlite3_wal_checkpoint_v2(checkpointHandle_.get(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr,
                              nullptr);
}

}  // namespace qsml::detail
