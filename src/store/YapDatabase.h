#pragma once
#include <memory>
#include <string>
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
    /// is missing or the set up fails. Not from inside a transaction.
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
    /// against a rebuild from the rows. Calls `fault` for each fault; progress counts rows. True
    /// when there is none.
    struct Fault {
        std::string collection = {};  ///< empty for faults of the file itself
        std::string key = {};
        std::string extension = {};  ///< empty for faults of a row
        std::string description = {};
    };
    bool check(const std::function<void(const Fault&)>& fault,
               const std::function<void(std::uint64_t done, std::uint64_t total)>& progress = {},
               Error* error = nullptr);

private:
    friend class YapDatabaseConnection;
    friend class detail::DatabaseCore;
    explicit YapDatabase(std::shared_ptr<detail::DatabaseCore> core);
    std::shared_ptr<detail::DatabaseCore> core_;
};

}  // namespace qsml
