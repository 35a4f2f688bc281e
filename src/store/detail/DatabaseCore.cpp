#include "store/detail/DatabaseCore.h"

#include <sqlite3.h>

#include <algorithm>
#include <new>

#include "foundation/Log.h"
#include "foundation/NotificationCenter.h"
#include "store/YapDatabaseException.h"
#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseSchema.h"
#include "store/detail/TakenTurns.h"
#include "store/detail/forkGeneration.h"

namespace qsml::detail {

namespace {
// Connections that were never pinned and lag further behind than this drop their caches instead.
constexpr std::size_t keptForIdle = 1024;
}  // namespace

DatabaseCore::DatabaseCore(std::unique_ptr<DatabaseFile> file, YapDatabaseObjectCallbacks objects,
                           YapDatabaseObjectCallbacks metadata, YapDatabaseOptions options)
    : file_(std::move(file)),
      objects_(std::move(objects)),
      metadata_(std::move(metadata)),
      options_(std::move(options)),
      notify_((options_.notificationQueue ? *options_.notificationQueue : DispatchQueue::main())
                  .poster()),
      forkGeneration_(forkGeneration()),
      scheduler_(std::make_shared<TransactionScheduler>(
          options_.executor ? options_.executor : Executor::threadPool())) {}

DatabaseCore::~DatabaseCore() = default;

std::shared_ptr<DatabaseCore> DatabaseCore::open(const std::string& path,
                                                 YapDatabaseObjectCallbacks objects,
                                                 YapDatabaseObjectCallbacks metadata,
                                                 YapDatabaseOptions options, Error* error) {
    if (!SqliteHandle::isLibraryUsable(error)) return nullptr;
    auto file = DatabaseFile::claim(path, error);
    if (!file) return nullptr;
    std::shared_ptr<DatabaseCore> core(new DatabaseCore(std::move(file), std::move(objects),
                                                        std::move(metadata), std::move(options)));
    return core->prepareFile(error) ? core : nullptr;
}

bool DatabaseCore::prepareFile(Error* error) {
    if (!writerLock_.open(path(), error)) return false;
    const WriterLockHold lock(writerLock_, error);
    if (!lock) return false;
    SqliteHandle handle = SqliteHandle::open(path(), sqliteSettings(), error);
    if (!handle || !prepareSchema(handle, error)) return false;
    Statement statement("SELECT data FROM yap WHERE extension='' AND key='state'");
    Query query(statement, handle.get());
    const auto state = query.row() ? StoreState::fromText(query.text(0)) : std::nullopt;
    if (!state) {
        report(error, query.ok() ? fileError(YapDatabaseErrorCode::notADatabase, path(), "opened",
                                             "its private table is damaged")
                                 : handle.lastError("opened"));
        return false;
    }
    history_.start(state->snapshot, std::make_shared<const SnapshotState>());
    sqlite3_busy_timeout(handle.get(), 0);
    checkpointHandle_ = std::move(handle);
    return true;
}

void DatabaseCore::close() {
    isClosed_ = true;
    TransactionScheduler::Ticket waiting;
    {
        const std::lock_guard lock(checkpointMutex_);
        waiting = checkpointTicket_;
    }
    try {
        scheduler_->cancel(waiting);
        scheduler_->runSync(nullptr, &writers_, [this] {
            registrar_.reset();
            finalCheckpoint();
            checkpointHandle_.close();
        });
        file_.reset();
        notify_([sender = ownerIdentity_] {
            NotificationCenter::defaultCenter().post(
                {.name = std::string(YapDatabaseClosedNotification), .sender = sender});
        });
    } catch (const std::bad_alloc&) {  // the log stays as it is, and nobody is told
    }
}

bool DatabaseCore::isForkedChild() const { return forkGeneration_ != forkGeneration(); }

SqliteSettings DatabaseCore::sqliteSettings() const {
    return {.vfsName = options_.vfsName,
            .synchronous = options_.synchronous,
            .pageCacheBytes = options_.pageCacheBytes,
            .logLimitBytes = options_.checkpointBytes + options_.checkpointBytes / 2};
}

void DatabaseCore::refuseInForkedChild() const {
    if (isForkedChild())
        throw YapDatabaseException(
            "A database that was opened before fork() was used in the child. Open it there anew, "
            "after exec.");
}

std::unique_ptr<ConnectionCore> DatabaseCore::newConnection(Error* error) {
    SqliteHandle handle = SqliteHandle::open(path(), sqliteSettings(), error);
    if (!handle) return nullptr;
    return std::make_unique<ConnectionCore>(*this, std::move(handle));
}

void DatabaseCore::addConnection(ConnectionCore& connection) {
    const std::lock_guard lock(connectionsMutex_);
    connections_.push_back(&connection);
}

void DatabaseCore::removeConnection(ConnectionCore& connection) {
    const std::lock_guard lock(connectionsMutex_);
    std::erase(connections_, &connection);
}

void DatabaseCore::forEachConnection(const std::function<void(ConnectionCore&)>& block) {
    const std::lock_guard lock(connectionsMutex_);
    for (ConnectionCore* connection : connections_) block(*connection);
}

void DatabaseCore::rollBackRemains(const ConnectionCore& writer) {
    bool isDone = true;
    TakenTurns resting(*scheduler_);
    forEachConnection([&](ConnectionCore& connection) {
        if (&connection != &writer && !connection.isPinned() && !resting.take(connection))
            isDone = false;
    });
    resting.useEach([&](ConnectionCore& connection) {
        if (connection.isPinned()) return;  // since the look above; a pinned read is no remains
        connection.rollBackRemains();
        if (connection.handle().inTransaction()) isDone = false;
    });
    if (isDone) hasRemains = false;
}

bool DatabaseCore::hasPinnedConnection() {
    const std::lock_guard lock(connectionsMutex_);
    return std::any_of(connections_.begin(), connections_.end(),
                       [](const ConnectionCore* connection) { return connection->isPinned(); });
}

/// Connections that are at rest empty their caches now, the others when their next turn begins.
void DatabaseCore::flushMemory() {
    TakenTurns resting(*scheduler_);
    forEachConnection([&](ConnectionCore& connection) {
        connection.settings().mustFlushMemory = true;
        (void)resting.take(connection);
    });
    resting.useEach([&](ConnectionCore& connection) {
        if (&connection != registrar_.get()) connection.applySettings();
    });
}

void DatabaseCore::forgetPassedCommits() {
    const bool isLong = history_.size() > keptForIdle;
    std::uint64_t passed = ~std::uint64_t{0};
    forEachConnection([&](const ConnectionCore& connection) {
        if (!isLong || connection.wasEverPinned()) passed = std::min(passed, connection.snapshot());
    });
    history_.prune(passed);
}

std::vector<std::shared_ptr<const RegisteredExtension>> DatabaseCore::registeredExtensions() const {
    const std::lock_guard lock(registeredMutex_);
    return registered_;
}

void DatabaseCore::setRegisteredExtensions(
    std::vector<std::shared_ptr<const RegisteredExtension>> all) {
    const std::lock_guard lock(registeredMutex_);
    registered_ = std::move(all);
}

void DatabaseCore::setOwner(const std::shared_ptr<YapDatabase>& owner) {
    owner_ = owner;
    ownerIdentity_ = owner.get();
}

/// Hands the commits to the notification queue in order, by one thread at a time.
void DatabaseCore::announceCommits() {
    for (bool isFirst = true;; isFirst = false) {
        const auto commit = history_.nextToAnnounce(isFirst);
        if (!commit) return;
        try {
            postCommit(commit);
        } catch (const std::bad_alloc&) {  // with the next commit, then
            history_.putBack(*commit);
            return;
        }
    }
}

void DatabaseCore::postCommit(const std::shared_ptr<const YapDatabaseCommit>& commit) {
    notify_([weak = owner_, commit] {
        const auto database = weak.lock();
        if (!database) return;
        Notification notification{.name = std::string(YapDatabaseModifiedNotification),
                                  .sender = database.get()};
        auto& info = notification.userInfo;
        info.emplace(YapDatabaseCommitKey, commit);
        info.emplace(YapDatabaseSnapshotKey, commit->snapshot);
        info.emplace(YapDatabaseConnectionKey, commit->connection);
        info.emplace(YapDatabaseExtensionsKey, commit->extensions);
        if (commit->custom.has_value()) info.emplace(YapDatabaseCustomKey, commit->custom);
        NotificationCenter::defaultCenter().post(notification);
    });
}

}  // namespace qsml::detail
