#pragma once
#include <any>
#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "store/detail/CollectionNames.h"
#include "store/detail/CommitHistory.h"
#include "store/detail/ExtensionWork.h"
#include "store/detail/LruCache.h"
#include "store/detail/RowStatements.h"
#include "store/detail/SnapshotState.h"
#include "store/detail/SqliteHandle.h"
#include "store/detail/StoreState.h"
#include "store/detail/TransactionChanges.h"
#include "store/detail/TransactionScheduler.h"
#include "store/detail/WriterLock.h"

namespace qsml::detail {

class DatabaseCore;
class PackedKey;
class RebuildRun;

/// What a connection is set to; read at the start of each transaction. Thread-safe.
struct ConnectionSettings {
    std::atomic<bool> objectCacheEnabled{true}, metadataCacheEnabled{true};
    std::atomic<std::size_t> objectCacheLimit{250}, metadataCacheLimit{250};
    std::atomic<YapDatabasePolicy> objectPolicy{}, metadataPolicy{};
    std::atomic<bool> throwsForImplicitEnd{false};
    std::atomic<bool> mustFlushMemory{false};
};

/// The transaction that a connection runs.
struct ActiveTransaction {
    std::shared_ptr<YapDatabaseConnection> connection;
    bool isWrite = false;
    bool isRolledBack = false;
    bool hasFailed = false;
    bool hasReadDamage = false;
    Error error = {};
    int enumerations = 0;
    StoreState state = {};
    TransactionChanges changes = {};
    std::uint64_t rowOperations = 0;
    std::vector<std::unique_ptr<const Collection>> newCollections = {};
    std::unique_ptr<ExtensionWork> work = {};
    std::any custom = {};
    // Of registrations:
    SnapshotStatePointer replacedState = {};
    std::map<std::string, std::shared_ptr<const YapDatabaseExtensionChanges>, std::less<>>
        extensionChanges = {};
    bool isRegistration = false;
    bool hasRepaired = false;      // extensions that another process left behind
    bool distrustsTables = false;  // of the extension: an attempt to read them met damage
    bool mustCommit = false;
    bool isForeign = false;         // to be announced as if another process had written
    RebuildRun* rebuild = nullptr;  // that reads the rows now
    std::vector<std::string> rebuildLines = {};  // for the log, once it is committed
};

/// While one lives, writes are refused.
class Enumeration {
public:
    explicit Enumeration(ActiveTransaction& transaction) : transaction_(transaction) {
        ++transaction_.enumerations;
    }
    ~Enumeration() { --transaction_.enumerations; }
    Enumeration(const Enumeration&) = delete;
    Enumeration& operator=(const Enumeration&) = delete;

private:
    ActiveTransaction& transaction_;
};

/// A connection behind its public face: SQLite handle, statements, caches, the snapshot it is on
/// and the transaction it runs. Everything but what is marked runs in the connection's turn.
class ConnectionCore {
public:
    ConnectionCore(DatabaseCore& database, SqliteHandle handle);
    ~ConnectionCore();
    ConnectionCore(const ConnectionCore&) = delete;
    ConnectionCore& operator=(const ConnectionCore&) = delete;

    // Any thread.
    DatabaseCore& database() { return database_; }
    TransactionScheduler::Lane& lane() { return lane_; }
    ConnectionSettings& settings() { return settings_; }
    std::uint64_t snapshot() const { return snapshot_.load(std::memory_order_acquire); }
    bool isPinned() const { return isPinned_.load(std::memory_order_acquire); }
    bool wasEverPinned() const { return wasEverPinned_.load(std::memory_order_acquire); }
    std::string name() const;
    void setName(std::string name);
    SqliteHandle& handle() { return handle_; }

    // Transactions, each in its turn. `owner` is what the transaction answers as its connection.
    using ReadBlock = std::function<void(YapDatabaseReadTransaction&)>;
    using WriteBlock = std::function<void(YapDatabaseReadWriteTransaction&)>;
    using Owner = std::shared_ptr<YapDatabaseConnection>;
    bool read(const Owner& owner, const ReadBlock& block, Error* error);
    bool readWrite(const Owner& owner, const WriteBlock& block, Error* error,
                   bool isRegistration = false);
    YapDatabaseNotifications beginLongLivedRead(const Owner& owner);
    YapDatabaseNotifications endLongLivedRead(const Owner& owner);
    /// What a transaction left that could not be rolled back, for lack of memory. Needs none
    /// itself.
    void rollBackRemains();
    /// Reads the same snapshot anew, so that it comes from the file and no longer from the log.
    /// Under the writer lock.
    void restartPinnedRead(std::uint64_t newest);
    void applySettings();
    /// Ends what is pinned and leaves the database's list, in the connection's last turn.
    void retire();

    // What runs inside a transaction.
    ActiveTransaction& active() { return *active_; }
    YapDatabaseReadTransaction& transaction();
    YapDatabaseReadWriteTransaction* readWriteTransaction();
    const SnapshotStatePointer& state() const { return state_; }
    void replaceState(SnapshotStatePointer state) { state_ = std::move(state); }
    bool hasFailed() const { return active_->hasFailed; }
    std::uint64_t numberOfRowOperations() const { return active_->rowOperations; }
    ExtensionWork& work();
    /// The first failure of a write makes the transaction fail.
    bool fail(Error error);
    bool failWith(const char* action);
    void rollback() { active_->isRolledBack = true; }

    // Reading.
    const Collection* collection(std::string_view name);
    const Collection* collection(std::uint32_t id);
    std::optional<std::int64_t> rowid(std::string_view key, std::string_view collection);
    std::optional<std::int64_t> rowid(const Collection& collection, std::string_view key);
    Value object(std::string_view key, std::string_view collection);
    Value metadata(std::string_view key, std::string_view collection);
    bool objectAndMetadata(Value* object, Value* metadata, std::string_view key,
                           std::string_view collection);
    std::uint64_t count(Statement& statement, const Collection* collection);
    std::uint64_t numberOfCollections();
    std::uint64_t numberOfKeys(std::string_view collection);
    std::uint64_t numberOfKeys();
    std::vector<String> collections();

    // Enumerating: a block answers false to end it. False when the file could not be read.
    using RowBlock = std::function<bool(const YapDatabaseRow&)>;
    using KeyBlock = std::function<bool(std::int64_t rowid, std::string_view key)>;
    enum class Decode { object, objectAndMetadata };
    bool enumerateKeys(const Collection& collection, const KeyBlock& block);
    bool enumerateRowids(std::int64_t first, std::int64_t last, Decode decode,
                         const std::function<bool(std::string_view key)>& filter,
                         const RowBlock& block);
    bool enumerateRows(const std::set<std::string, std::less<>>* collections,
                       const std::function<void(const YapDatabaseRow&)>& block);
    bool readRow(std::int64_t rowid, const std::function<void(const YapDatabaseRow&)>& block);
    bool readKey(std::int64_t rowid, YapDatabaseCollectionKey* row);

    /// Every row as it is stored, sound or not. The bytes last until the block returns.
    struct StoredRow {
        std::int64_t rowid = 0;
        std::string collection = {};  ///< empty where it cannot be told
        std::string key = {};         ///< likewise
        std::optional<std::span<const std::uint8_t>> data = {}, metadata = {};
        std::string fault = {};  ///< empty for a sound row
    };
    /// In ascending order; the block answers false to end it.
    bool inspectRows(std::int64_t first, std::int64_t last,
                     const std::function<bool(const StoredRow&)>& block);

    // Writing.
    bool setObject(Value object, std::string_view key, std::string_view collection, Value metadata);
    bool replaceObject(Value object, std::string_view key, std::string_view collection);
    bool replaceMetadata(Value metadata, std::string_view key, std::string_view collection);
    void touch(std::string_view key, std::string_view collection, bool object, bool metadata);
    bool remove(std::string_view key, std::string_view collection);
    bool removeAll(std::string_view collection);
    bool removeAll();

    // Private settings.
    std::optional<std::string> setting(std::string_view extension, std::string_view key);
    bool setSetting(std::string_view extension, std::string_view key, std::string_view value);
    std::map<std::string, std::string, std::less<>> settings(std::string_view extension);
    RowStatements& statements() { return statements_; }
    std::shared_ptr<void>& slot(const std::shared_ptr<const RegisteredExtension>& of);

private:
    void noteReadError(const Query& query, std::string_view action = "read");
    bool beginRead(const Owner& owner, Error* error, YapDatabaseNotifications* passed = nullptr);
    bool beginReadInMemory(const Owner& owner, Error* error, YapDatabaseNotifications* passed);
    void endRead();
    bool beginReadOfFile(Error* error);
    void endPin();
    bool beginWrite(const Owner& owner, Error* error, bool isRegistration);
    bool endWrite(Error* error);
    bool commit(Error* error);
    bool prepareCommit(Error* error);
    bool writeState(Error* error);
    bool hasChanges();
    CommitRecord makeRecord();
    SnapshotStatePointer nextState();
    void afterCommit(const CommitRecord& record);
    void adoptRegistration();
    void abandon() noexcept;
    bool reportFailure(Error* error);
    std::optional<StoreState> readState(Error* error);

    // Moving to a snapshot.
    void moveTo(std::uint64_t snapshot, YapDatabaseNotifications* passed);
    void applyToCaches(const CommitRecord& record);
    void handOver(LruCache& cache, YapDatabasePolicy policy, std::uint32_t collection,
                  std::string_view key, RowValues::Half half, const Value& value);
    void clearCaches();
    void keepWrittenValues(const CommitRecord& record);

    // Rows.
    bool decode(Query& query, const Collection& collection, const PackedKey& packed,
                std::string_view key, Value* object, Value* metadata);
    bool load(const Collection& collection, std::string_view key, Value* object, Value* metadata);
    bool findInMemory(bool isObject, const Collection& collection, std::string_view key,
                      Value* result, bool* mayCache);
    Value value(bool isObject, std::string_view key, std::string_view collection);
    bool emitRow(Query& query, const Collection& collection, std::string_view key, Decode decode,
                 const RowBlock& block, bool* goOn);
    const RowValues* changed(const Collection& collection, std::string_view key) const;

    void refuseDuringEnumeration() const;
    const Collection* collectionForWriting(std::string_view name);
    struct Serialized;
    bool serialize(Serialized* result, const Value& object, const Value& metadata,
                   std::string_view key, std::string_view collection);
    bool findForWriting(const Collection* collection, std::string_view key,
                        std::optional<std::int64_t>* rowid);
    bool store(const Value& object, const Value& metadata, std::string_view key,
               std::string_view collection);
    bool insertRow(const Collection& collection, std::string_view key, const Serialized& bytes,
                   std::int64_t* rowid);
    bool updateRow(std::int64_t rowid, const Collection& collection, std::string_view key,
                   const Serialized& bytes);
    bool replaceHalf(bool isObject, const Value& value, std::string_view key,
                     std::string_view collection);
    bool removeRow(const Collection& collection, std::string_view key, std::int64_t rowid);
    bool removeAllIn(const Collection& collection);

    DatabaseCore& database_;
    TransactionScheduler::Lane lane_;
    ConnectionSettings settings_;
    SqliteHandle handle_;
    RowStatements statements_;
    /// A write failed: what SQLite's modules hold in memory may be left of it.
    bool mustForgetModules_ = false;
    struct Slot {
        std::weak_ptr<const RegisteredExtension> owner;
        std::shared_ptr<void> kept;
    };
    std::unordered_map<std::string, Slot> slots_;  // of extensions, by their names
    LruCache objects_;
    LruCache metadata_;
    YapDatabaseReadTransaction readTransaction_{*this};
    YapDatabaseReadWriteTransaction readWriteTransaction_{*this};

    std::atomic<std::uint64_t> snapshot_{0};
    SnapshotStatePointer state_;
    std::atomic<bool> isPinned_{false};
    std::atomic<bool> wasEverPinned_{false};
    std::optional<ActiveTransaction> active_;
    std::optional<WriterLockHold> writerLock_;
    bool mayCommit_ = false;  // only the store's own COMMIT ends a write
    int walFrames_ = 0;       // after the last commit

    const Collection* lastCollection_ = nullptr;
    std::unordered_map<std::string_view, const Collection*> knownCollections_;
    std::vector<std::uint8_t> serializedObject_;

    mutable std::mutex nameMutex_;
    std::string name_ QSML_GUARDED_BY(nameMutex_);
};

/// Says that memory ran out, as far as memory allows.
void reportNoMemory(Error* error, const std::string& path) noexcept;

}  // namespace qsml::detail
