#pragma once
#include <functional>
#include <memory>
#include <string_view>

#include "store/YapDatabaseNotification.h"
#include "store/YapDatabaseOptions.h"

namespace qsml {

class YapDatabase;
class YapDatabaseReadTransaction;
class YapDatabaseReadWriteTransaction;
namespace detail {
class ConnectionCore;
class DatabaseCore;
}  // namespace detail

/// A view on the database that runs one transaction at a time, in the order in which they were
/// submitted, synchronous and asynchronous alike. Reads of different connections run in parallel,
/// also beside the one read-write transaction of the database; those queue first come, first
/// served. Thread-safe.
///
/// A synchronous transaction of a connection from inside one of its own blocks, or a synchronous
/// write from inside any write block of the database, would wait for itself: it throws
/// YapDatabaseException.
class QSML_EXPORT YapDatabaseConnection
    : public std::enable_shared_from_this<YapDatabaseConnection> {
public:
    using ReadBlock = std::function<void(YapDatabaseReadTransaction&)>;
    using ReadWriteBlock = std::function<void(YapDatabaseReadWriteTransaction&)>;
    /// Gets an error that is false when the transaction was committed.
    using Completion = std::function<void(const Error& error)>;
    using CollectionKeyBlock =
        std::function<void(std::string_view collection, std::string_view key, bool& stop)>;

    ~YapDatabaseConnection();
    YapDatabaseConnection(const YapDatabaseConnection&) = delete;
    YapDatabaseConnection& operator=(const YapDatabaseConnection&) = delete;

    const std::shared_ptr<YapDatabase>& database() const;
    /// A name for log lines.
    void setName(std::string name);
    /// The snapshot this connection is on.
    std::uint64_t snapshot() const;

    /// Runs the block on one snapshot. False, with the block not run, when the file cannot be read.
    bool read(const ReadBlock& block, Error* error = nullptr);
    /// Runs the block and commits what it changed; true when that is on disk (or nothing changed,
    /// or the block rolled back). False with the error when it is not: nothing of it then stays,
    /// neither in the file nor in memory. An exception that leaves the block rolls back and reaches
    /// the caller.
    bool readWrite(const ReadWriteBlock& block, Error* error = nullptr);
    /// The completion runs on the given queue, by default the notification queue, after the commit.
    /// An exception that leaves the block rolls back, is logged and is reported to the completion
    /// as an error.
    void asyncRead(ReadBlock block, std::function<void()> completion = {},
                   DispatchQueue* completionQueue = nullptr);
    void asyncReadWrite(ReadWriteBlock block, Completion completion = {},
                        DispatchQueue* completionQueue = nullptr);
    /// Calls back when everything submitted earlier on this connection is done.
    void flushTransactions(std::function<void()> completion,
                           DispatchQueue* completionQueue = nullptr);

    /// Pins the newest commit and answers the commits since the connection's last snapshot, oldest
    /// first; empty on the first call. Does no decoding.
    YapDatabaseNotifications beginLongLivedReadTransaction();
    YapDatabaseNotifications endLongLivedReadTransaction();
    bool isInLongLivedReadTransaction() const;
    /// Whether a read-write on a pinned connection throws (in the caller, also for the asynchronous
    /// form) instead of ending the pin silently. Off at first.
    void setExceptionsForImplicitlyEndingLongLivedReadTransaction(bool enabled);
    void enableExceptionsForImplicitlyEndingLongLivedReadTransaction() {
        setExceptionsForImplicitlyEndingLongLivedReadTransaction(true);
    }
    void disableExceptionsForImplicitlyEndingLongLivedReadTransaction() {
        setExceptionsForImplicitlyEndingLongLivedReadTransaction(false);
    }

    /// Caches of decoded values: on, least recently used, 250 entries at first. Limit 0 means
    /// unlimited.
    bool objectCacheEnabled() const;
    void setObjectCacheEnabled(bool enabled);
    std::size_t objectCacheLimit() const;
    void setObjectCacheLimit(std::size_t limit);
    bool metadataCacheEnabled() const;
    void setMetadataCacheEnabled(bool enabled);
    std::size_t metadataCacheLimit() const;
    void setMetadataCacheLimit(std::size_t limit);
    YapDatabasePolicy objectPolicy() const;
    void setObjectPolicy(YapDatabasePolicy policy);
    YapDatabasePolicy metadataPolicy() const;
    void setMetadataPolicy(YapDatabasePolicy policy);
    /// Empties this connection's caches.
    void flushMemory();

    /// Questions to a notification list; true for insert, update, touch and removal.
    static bool hasChangeForCollection(std::string_view collection,
                                       const YapDatabaseNotifications& list);
    static bool hasObjectChangeForCollection(std::string_view collection,
                                             const YapDatabaseNotifications&);
    static bool hasMetadataChangeForCollection(std::string_view collection,
                                               const YapDatabaseNotifications&);
    static bool hasChangeForKey(std::string_view key, std::string_view collection,
                                const YapDatabaseNotifications& list);
    static bool hasObjectChangeForKey(std::string_view key, std::string_view collection,
                                      const YapDatabaseNotifications& list);
    static bool hasMetadataChangeForKey(std::string_view key, std::string_view collection,
                                        const YapDatabaseNotifications& list);
    static bool hasChangeForAnyKeys(const OrderedSet<String>& keys, std::string_view collection,
                                    const YapDatabaseNotifications& list);
    static bool hasObjectChangeForAnyKeys(const OrderedSet<String>& keys,
                                          std::string_view collection,
                                          const YapDatabaseNotifications& list);
    static bool hasMetadataChangeForAnyKeys(const OrderedSet<String>& keys,
                                            std::string_view collection,
                                            const YapDatabaseNotifications& list);
    /// Each changed pair once over the whole list, in order of first change. Foreign commits name
    /// no rows.
    static void enumerateChangedCollectionKeys(const YapDatabaseNotifications& list,
                                               const CollectionKeyBlock& block);
    static void enumerateChangedKeysInCollection(
        std::string_view collection, const YapDatabaseNotifications& list,
        const std::function<void(std::string_view key, bool& stop)>& block);

private:
    friend class YapDatabase;
    friend class detail::ConnectionCore;
    friend class detail::DatabaseCore;
    YapDatabaseConnection(std::shared_ptr<YapDatabase> database,
                          std::unique_ptr<detail::ConnectionCore> core);
    std::shared_ptr<YapDatabase> database_;
    std::unique_ptr<detail::ConnectionCore> core_;
};

}  // namespace qsml
