#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "foundation/DispatchQueue.h"
#include "foundation/Error.h"
#include "foundation/Value.h"

namespace qsml {

/// What opening does with a damaged file. There is one answer: an error, and the file is left
/// alone.
enum class YapDatabaseCorruptAction { fail = 0 };

enum class YapDatabaseSynchronous {
    full,   ///< a commit that was acknowledged survives power loss
    normal  ///< it survives a crash of the process; power loss may take back the newest commits
};

/// How connections pass on objects that another connection wrote.
enum class YapDatabasePolicy {
    containment = 0,  ///< the others read the row again
    share = 1,  ///< the others get the writer's instance: for objects that are frozen once stored
    copy = 2    ///< the others get a copy of it
};

struct YapDatabaseOptions {
    YapDatabaseCorruptAction corruptAction = YapDatabaseCorruptAction::fail;
    YapDatabaseSynchronous synchronous = YapDatabaseSynchronous::full;
    /// Write-ahead log size above which a checkpoint runs (in the background, under the writer
    /// lock). Commits wait for it.
    std::uint64_t checkpointBytes = 4u << 20;
    /// A log line warns once when the write-ahead log grows over this size.
    std::uint64_t walWarningBytes = 64u << 20;
    /// Page cache of each connection.
    std::uint64_t pageCacheBytes = 8u << 20;
    /// The SQLite VFS by name; empty means the default one.
    std::string vfsName = {};
    /// Runs asynchronous transactions and checkpoints; null means the process's thread pool.
    std::shared_ptr<Executor> executor = {};
    /// Where the modified notification and default completions run; null means the main queue. What
    /// waits when the queue goes is dropped.
    DispatchQueue* notificationQueue = nullptr;
    /// How far the building of an extension from the rows has come: after each 1,000 rows, and at
    /// its end. Runs on the thread of the registration, inside its transaction, so it must not
    /// start another; what it throws is logged and ignored.
    std::function<void(std::string_view extension, std::uint64_t done, std::uint64_t total)>
        rebuildProgress = {};
};

/// How stored objects become bytes and back, for objects or for metadata. All are called on the
/// thread of the transaction; they must not start transactions. Empty functions do nothing.
struct YapDatabaseObjectCallbacks {
    /// The stored bytes, valid until the next call on the same thread. Fills the error and answers
    /// empty when the object cannot be stored: the write is then refused.
    std::function<std::span<const std::uint8_t>(std::string_view collection, std::string_view key,
                                                const Value& object, Error* error)>
        serializer;
    /// The object; nil when the bytes hold none (the row then reads as absent).
    std::function<Value(std::string_view collection, std::string_view key,
                        std::span<const std::uint8_t> bytes)>
        deserializer;
    /// Runs before the object is serialised; what it returns is written, nil removes the row.
    std::function<Value(std::string_view collection, std::string_view key, Value object)>
        preSanitizer;
    /// Runs after the row is written and the extensions have seen the object.
    std::function<void(std::string_view collection, std::string_view key, const Value& object)>
        postSanitizer;
};

/// The domain of the store's errors. Codes are SQLite's extended result codes, or those of
/// YapDatabaseErrorCode.
inline constexpr std::string_view YapDatabaseErrorDomain = "YapDatabaseErrorDomain";

enum class YapDatabaseErrorCode : std::int64_t {
    alreadyOpen = -1,      ///< this process has the file open already
    notADatabase = -2,     ///< the file is something else
    newerFormat = -3,      ///< written by a newer version of the library
    notARegularFile = -4,  ///< a directory, device or pipe
    cannotLock = -5,
    cannotSerialize = -6,
    extension = -7,
    notKept = -8,       ///< a damaged row was not put in safety, so it stays
    inTheWay = -9,      ///< a reader or another process keeps the file from being compacted
    alreadyThere = -10  ///< a backup does not replace what is there
};

}  // namespace qsml
