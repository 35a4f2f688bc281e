#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "store/YapDatabaseOptions.h"

namespace qsml {

class YapDatabaseConnection;
class YapDatabaseExtension;
namespace detail {
class DatabaseCore;
}

/// A key/value store in one SQLite file: rows under (collection, key) with an object and optional
/// metadata, many readers beside one writer, each on one snapshot, and extensions that are kept in
/// step with the rows.
///
/// One instance per file and process; several processes may have the file open. The file is closed
/// when the database and all its connections are gone. Thread-safe.
class QSML_EXPORT YapDatabase : public std::enable_shared_from_this<YapDatabase> {
public:
    /// Opens or creates the file (mode 0600; the folder must exist). Null, with the error filled,
    /// when it cannot be: the error's description names the file and the cause; the file is then as
    /// it was. O(1) in the size of the file, except after a crash, when SQLite recovers the log.
    static std::shared_ptr<YapDatabase> initWithPath(const std::string& path,
                                                     YapDatabaseObjectCallbacks objects,
                                                     YapDatabaseObjectCallbacks metadata,
                                                     YapDatabaseOptions options = {},
                                                     Error* error = nullptr);
    ~YapDatabase();
    YapDatabase(const YapDatabase&) = delete;
    YapDatabase& operator=(const YapDatabase&) = delete;

    /// The canonical path.
    const std::string& databasePath() const;
    /// The newest snapshot this process knows of.
    std::uint64_t snapshot() const;

    /// Policies that new connections start with.
    YapDatabasePolicy defaultObjectPolicy() const;
    void setDefaultObjectPolicy(YapDatabasePolicy policy);
    YapDatabasePolicy defaultMetadataPolicy() const;
    void setDefaultMetadataPolicy(YapDatabasePolicy policy);

    /// A new connection; null when SQLite cannot open one more (error filled).
    std::shared_ptr<YapDatabaseConnection> newConnection(Error* error = nullptr);

    /// Registers in a synchronous read-write transaction of its own: creates and fills what is not
    /// stored yet, or rebuilds where the version tag, kind, format or configuration differs. False,
    /// with nothing changed, when the name is taken, the instance is registered already, a parent
    /// is missing or the set up fails; also where what is stored under the name holds more than the
    /// rows tell (manual edges) and is damaged, or of another kind or format: it is kept. Not from
    /// inside a transaction.
    bool registerExtension(std::shared_ptr<YapDatabaseExtension> extension, const std::string& name,
                           Error* error = nullptr);
    void asyncRegisterExtension(std::shared_ptr<YapDatabaseExtension> extension,
                                const std::string& name,
                                std::function<void(bool ready)> completion = {},
                                DispatchQueue* completionQueue = nullptr);
    /// Removes the extension and what it stored, extensions that depend on it first. False when
    /// absent.
    bool unregisterExtension(const std::string& name, Error* error = nullptr);
    std::shared_ptr<YapDatabaseExtension> registeredExtension(std::string_view name) const;
    /// In order of registration.
    std::vector<std::string> registeredExtensionNames() const;

    /// Bytes of the write-ahead log now.
    std::uint64_t walSize() const;
    /// Moves the log into the file as far as readers allow. False with the error when that fails.
    bool checkpoint(Error* error = nullptr);
    /// Empties all caches, as when the system runs short of memory. Any thread.
    void flushMemory();

    /// Verifies the file: SQLite's own check, every row's checksum and decoding, every extension
    /// against a rebuild from the rows; also each extension that this process could not register
    /// because of what is stored. Calls `fault` for each fault; progress counts rows. True when
    /// there is none.
    struct Fault {
        std::string collection = {};  ///< empty for faults of the file itself
        std::string key = {};
        std::string extension = {};  ///< empty for faults of a row
        std::string description = {};
    };
    bool check(const std::function<void(const Fault&)>& fault,
               const std::function<void(std::uint64_t done, std::uint64_t total)>& progress = {},
               Error* error = nullptr);

    // Maintenance; see YapDatabase+Maintenance.cpp. None of it from inside a transaction.

    /// Builds every registered extension anew from the rows, in order, in one transaction: the way
    /// out when check() finds fault with one, also when its tables are damaged. Those whose
    /// registration failed are registered in their old places. Those that keep nothing in the file
    /// are made anew after their parents, with their present filters. What an extension holds
    /// beyond the rows (manual edges) is kept where it can be read, and otherwise lost with a
    /// warning line. Reports to rebuildProgress and writes a log line for each.
    ///
    /// All or nothing; but where one that is missing cannot be brought back, the others are built
    /// without it, and the answer is false with its error. Announced like a commit of another
    /// process (isForeign), since everything may look different: lists are loaded anew. Other
    /// processes load the extensions at their next transaction. Pages of tables that were too
    /// damaged to be dropped belong to nobody afterwards, which check() names until compact() frees
    /// them. Takes as long as the first registrations did.
    bool rebuildExtensions(Error* error = nullptr);

    /// A row that check() finds fault with, as it is stored. The bytes last until `keep` returns.
    struct DamagedRow {
        std::string_view collection;  ///< empty where it cannot be told
        std::string_view key;         ///< likewise
        std::int64_t rowid = 0;
        std::optional<std::span<const std::uint8_t>> data;      ///< absent: null in the file
        std::optional<std::span<const std::uint8_t>> metadata;  ///< likewise
        std::string_view description;                           ///< what is wrong
    };
    /// Removes the rows that are damaged or do not decode, and no other, in one transaction, after
    /// `keep` has put each in safety and answered true. If it once answers false or throws, nothing
    /// is removed. It runs inside the transaction and must not start another. Rows are read from
    /// the file once more before they go. `count` gets how many went, 0 after a failure.
    ///
    /// No rule of a relationship is carried out, since the row is not meant to be gone: it would
    /// take sound rows along. Instead all registered extensions are rebuilt in the same
    /// transaction, see rebuildExtensions(), also for the announcement. Without damaged rows
    /// nothing is written. False also when pages of the file cannot be read.
    bool setAsideDamagedRows(const std::function<bool(const DamagedRow&)>& keep,
                             std::uint64_t* count = nullptr, Error* error = nullptr);

    /// Gives the free pages of the file back to the disk, puts its content in order and leaves an
    /// empty log. Rows, row ids, extensions and snapshots stay as they are; nothing of removed rows
    /// stays but what extensions hold of them: words that a full-text index has yet to merge away,
    /// sort keys that are limits inside a view (rebuildExtensions() removes these). Writers wait
    /// meanwhile, readers go on; on the disk there must be room for twice the content. The copy
    /// that it makes ("FILE-compact", mode 0600) goes in the end; what a crash left of one goes at
    /// the next call. What was written is read back: where that fails twice, the copy stays, whole,
    /// as "FILE-rescued" (or -rescued-2 and on), and the error names it.
    ///
    /// All or nothing. False (YapDatabaseErrorCode::inTheWay) when a long-lived read transaction or
    /// another process needs what is in the log; the text names it, says what to do, and whether
    /// only the shrinking of the file is left to a later checkpoint.
    bool compact(Error* error = nullptr);

    /// Copies the newest snapshot to a new file while readers and writers go on: a database of its
    /// own that opens with all extensions as they are. It is written to "PATH.partial" (mode 0600),
    /// synced, opened for a look, and then given its name. Whatever is there under either name, or
    /// as a log beside them, is refused (YapDatabaseErrorCode::alreadyThere) and left alone; a
    /// failure leaves nothing behind. Damage is copied as it is: check() the copy. Progress counts
    /// pages; what it throws is logged and ignored. The log of the source cannot shrink meanwhile.
    bool backup(const std::string& path,
                const std::function<void(std::uint64_t done, std::uint64_t total)>& progress = {},
                Error* error = nullptr);

private:
    friend class YapDatabaseConnection;
    friend class detail::DatabaseCore;
    explicit YapDatabase(std::shared_ptr<detail::DatabaseCore> core);
    std::shared_ptr<detail::DatabaseCore> core_;
};

}  // namespace qsml
