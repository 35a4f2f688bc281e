#pragma once
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "store/YapDatabase.h"
#include "store/detail/CollectionNames.h"
#include "store/detail/CommitHistory.h"
#include "store/detail/DatabaseFile.h"
#include "store/detail/FailedRegistrations.h"
#include "store/detail/SqliteHandle.h"
#include "store/detail/TransactionScheduler.h"
#include "store/detail/WriterLock.h"

namespace qsml::detail {

class ConnectionCore;

/// What the connections of a database share. Thread-safe.
class DatabaseCore : public std::enable_shared_from_this<DatabaseCore> {
public:
    static std::shared_ptr<DatabaseCore> open(const std::string& path,
                                              YapDatabaseObjectCallbacks objects,
                                              YapDatabaseObjectCallbacks metadata,
                                              YapDatabaseOptions options, Error* error);
    ~DatabaseCore();
    /// Once, when the database and all connections are gone.
    void close();

    const std::string& path() const { return file_->path(); }
    const YapDatabaseOptions& options() const { return options_; }
    const YapDatabaseObjectCallbacks& objectCallbacks() const { return objects_; }
    const YapDatabaseObjectCallbacks& metadataCallbacks() const { return metadata_; }
    TransactionScheduler& scheduler() { return *scheduler_; }
    TransactionScheduler::Lane& writers() { return writers_; }
    WriterLock& writerLock() { return writerLock_; }
    CollectionNames& collections() { return collections_; }
    CommitHistory& history() { return history_; }
    /// To the notification queue, which may go before the last connection does.
    const DispatchQueue::Poster& notify() const { return notify_; }
    SqliteSettings sqliteSettings() const;
    bool isForkedChild() const;
    /// Throws YapDatabaseException in a forked child.
    void refuseInForkedChild() const;

    std::unique_ptr<ConnectionCore> newConnection(Error* error);
    void addConnection(ConnectionCore& connection);
    void removeConnection(ConnectionCore& connection);
    /// Runs the block for each connection, with the list locked.
    void forEachConnection(const std::function<void(ConnectionCore&)>& block);
    bool hasPinnedConnection();
    void flushMemory();

    /// Who sends the notifications.
    void setOwner(const std::shared_ptr<YapDatabase>& owner);
    void announceCommits();
    void forgetPassedCommits();

    /// All that this process has registered, also where another process has damaged what is stored.
    std::vector<std::shared_ptr<const RegisteredExtension>> registeredExtensions() const;
    void setRegisteredExtensions(std::vector<std::shared_ptr<const RegisteredExtension>> all);
    FailedRegistrations& failedRegistrations() { return failedRegistrations_; }
    // Registration; see DatabaseCore+Extensions.cpp.
    bool registerExtension(const std::shared_ptr<YapDatabase>& database,
                           const std::shared_ptr<YapDatabaseExtension>& extension,
                           const std::string& name, Error* error);
    bool unregisterExtension(const std::shared_ptr<YapDatabase>& database, const std::string& name,
                             Error* error);

    // Maintenance; see DatabaseCore+Maintenance.cpp.
    bool rebuildExtensions(const std::shared_ptr<YapDatabase>& database, Error* error);
    bool setAsideDamagedRows(const std::shared_ptr<YapDatabase>& database,
                             const std::function<bool(const YapDatabase::DamagedRow&)>& keep,
                             std::uint64_t* count, Error* error);
    bool compact(Error* error);

    // Checkpoints; see DatabaseCore+Checkpoint.cpp.
    void noteLog(int frames);
    void noteReaderMoved();
    bool checkpoint(Error* error);
    /// Waits for the writers' turn and takes the writer lock; not in a write transaction.
    bool runAsWriter(const std::function<bool(Error*)>& work, Error* error);
    std::uint64_t walSize() const;

    std::atomic<YapDatabasePolicy> defaultObjectPolicy{YapDatabasePolicy::containment};
    std::atomic<YapDatabasePolicy> defaultMetadataPolicy{YapDatabasePolicy::containment};
    /// Stored extensions that nobody has registered are marked by the first commit of rows, and by
    /// the first after commits of another process, which may have mended them.
    std::atomic<bool> areOrphansMarked{false};
    std::atomic<bool> mustVerifyExtensions{false};
    /// A connection could not roll back, for lack of memory, and may hold SQLite's write lock.
    std::atomic<bool> hasRemains{false};
    /// Rolls it back, where the connection is at rest. In the turn of the writer, which has done so
    /// for itself.
    void rollBackRemains(const ConnectionCore& writer);

private:
    DatabaseCore(std::unique_ptr<DatabaseFile> file, YapDatabaseObjectCallbacks objects,
                 YapDatabaseObjectCallbacks metadata, YapDatabaseOptions options);
    bool prepareFile(Error* error);
    bool runWrite(const std::shared_ptr<YapDatabase>& database,
                  const std::function<void(ConnectionCore&)>& block, Error* error);
    bool runWriteOfExtension(const std::shared_ptr<YapDatabase>& database,
                             const std::function<void(ConnectionCore&)>& block, Error* error);
    void requestCheckpoint();
    void runRequestedCheckpoint() noexcept;
    bool runCheckpoint(Error* error);
    bool runLockedCheckpoint(Error* error);
    bool emptyLog(std::string_view consequence, Error* error);
    std::string readerInTheWay();
    bool runCompaction(Error* error);
    void restartPinnedReads();
    void warnAboutLog();
    void postCommit(const std::shared_ptr<const YapDatabaseCommit>& commit);
    void finalCheckpoint();

    std::unique_ptr<DatabaseFile> file_;
    YapDatabaseObjectCallbacks objects_;
    YapDatabaseObjectCallbacks metadata_;
    YapDatabaseOptions options_;
    DispatchQueue::Poster notify_;
    std::uint32_t forkGeneration_;
    std::shared_ptr<TransactionScheduler> scheduler_;
    TransactionScheduler::Lane writers_;
    WriterLock writerLock_;
    CollectionNames collections_;
    CommitHistory history_;
    std::weak_ptr<YapDatabase> owner_;
    const void* ownerIdentity_ = nullptr;

    std::mutex connectionsMutex_;
    std::vector<ConnectionCore*> connections_ QSML_GUARDED_BY(connectionsMutex_);

    mutable std::mutex registeredMutex_;
    std::vector<std::shared_ptr<const RegisteredExtension>> registered_
        QSML_GUARDED_BY(registeredMutex_);
    FailedRegistrations failedRegistrations_;

    // In the writers' turn:
    std::unique_ptr<ConnectionCore> registrar_;
    SqliteHandle checkpointHandle_;  // the one that opened the file; never waits for others

    std::mutex checkpointMutex_;
    TransactionScheduler::Ticket checkpointTicket_ QSML_GUARDED_BY(checkpointMutex_);
    std::atomic<bool> isCheckpointPending_{false};
    std::atomic<bool> isClosed_{false};
    std::atomic<std::uint64_t> logBytes_{0};          // in use since the log was last restarted
    std::atomic<std::uint64_t> nextCheckpointAt_{0};  // bytes
    std::atomic<bool> isLogBlocked_{false};           // the last checkpoint could not finish
    std::atomic<bool> hasWarned_{false};
};

}  // namespace qsml::detail
