#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "foundation/Error.h"
#include "store/YapDatabaseNotification.h"
#include "store/YapDatabaseTransaction.h"

struct sqlite3;

namespace qsml {

class YapDatabaseExtensionTransaction;

/// What an extension keeps in memory of one snapshot. Immutable; shared by all connections on it.
class QSML_EXPORT YapDatabaseExtensionState {
public:
    virtual ~YapDatabaseExtensionState() = default;
};

/// A row as the hooks see it.
struct YapDatabaseRow {
    std::int64_t rowid = 0;  ///< never reused
    std::string_view collection;
    std::string_view key;
    const Value& object;    ///< nil where the row does not decode, and in removals
    const Value& metadata;  ///< nil in removals
};

/// What changed in a row's update.
struct YapDatabaseUpdate {
    bool object = false;
    bool metadata = false;
    bool isTouch = false;  ///< nothing was written
};

/// The database as an extension sees it while it works: its own tables on the connection's SQLite
/// handle and the rows of the transaction.
class QSML_EXPORT YapDatabaseExtensionContext {
public:
    virtual ~YapDatabaseExtensionContext() = default;
    virtual ::sqlite3* handle() = 0;
    /// The transaction; a YapDatabaseReadWriteTransaction when the extension may write.
    virtual YapDatabaseReadTransaction& transaction() = 0;
    virtual YapDatabaseReadWriteTransaction* readWriteTransaction() = 0;
    /// The registered name.
    virtual const std::string& name() const = 0;
    /// The name, quoted as an SQL identifier with a suffix: "name_suffix".
    virtual std::string tableName(std::string_view suffix) const = 0;
    /// Settings of this extension that live and die with it.
    virtual std::optional<std::string> setting(std::string_view key) = 0;
    virtual bool setSetting(std::string_view key, std::string_view value) = 0;
    /// Every row of the allowed collections (null: of all), in ascending rowid, decoded.
    virtual bool enumerateRows(const std::set<std::string, std::less<>>* collections,
                               const std::function<void(const YapDatabaseRow&)>& block) = 0;
    virtual bool rowForRowid(std::int64_t rowid,
                             const std::function<void(const YapDatabaseRow&)>& block) = 0;
    virtual std::optional<std::int64_t> rowidForKey(std::string_view key,
                                                    std::string_view collection) = 0;
    /// False when there is no such row.
    virtual bool keyForRowid(std::int64_t rowid, YapDatabaseCollectionKey* row) = 0;
    /// What is kept in memory of the snapshot that is read; null before registration is through.
    virtual std::shared_ptr<const YapDatabaseExtensionState> state() = 0;
    /// A place of this extension on this connection for what outlives a transaction, as prepared
    /// statements. Emptied before SQLite closes the connection.
    virtual std::shared_ptr<void>& slot() = 0;
    /// In a read transaction: runs the work while no write transaction of any process does; those
    /// that begin wait for it. For work that SQLite takes for a write, on a connection of its own.
    /// False when the work is, or when the lock cannot be had.
    virtual bool withoutWriters(const std::function<bool()>& work, Error* error) = 0;
    /// Something stored cannot be read: becomes the transaction's error and makes a write fail.
    virtual void fail(Error error) = 0;
};

/// A kind of derived data that follows the rows: a view, an index, a search, a graph of edges.
///
/// Registered once per database; keeps no state of its own that a transaction changes (that is the
/// transaction's and the state's). Rules for what happens when:
/// - every row operation calls the transactions of all extensions that see its collection, in order
///   of registration, right after the row was written and before the post-sanitiser;
/// - before the commit: flush() of all in order that take part, again while any of them wrote rows;
///   then changes() and newState(); then COMMIT. What takes part was told of a row, was asked for,
///   or has a parent that takes part;
/// - a rollback drops the transactions; nothing of them may stay.
class QSML_EXPORT YapDatabaseExtension {
public:
    virtual ~YapDatabaseExtension();

    /// Kind and layout of the stored form: a difference to what is stored rebuilds.
    virtual std::string kind() const = 0;
    virtual std::int64_t formatVersion() const = 0;
    /// Columns, persistence and the like: a difference rebuilds.
    virtual std::string configuration() const { return {}; }
    const std::string& versionTag() const { return versionTag_; }
    /// False: it keeps nothing in the file. It has no tables then; loadState() computes its content
    /// from the rows and from its parents, at registration and after commits of other processes.
    virtual bool isPersistent() const { return true; }
    /// False: its tables hold something that the rows do not tell. They are then replaced only on
    /// request when damage keeps them from being rebuilt, and never by another kind or format.
    virtual bool holdsOnlyDerivedData() const { return true; }
    /// Names of extensions that must be registered before.
    virtual std::vector<std::string> parents() const { return {}; }
    /// The collections whose rows its hooks see; null means all.
    virtual const std::set<std::string, std::less<>>* allowedCollections() const { return nullptr; }
    /// The collections whose rows others may depend on: dependentsOfRow() is asked about these
    /// alone. Null means all; by default none.
    virtual const std::set<std::string, std::less<>>* collectionsWithDependents() const;

    /// Creates the tables, empty. They must not exist.
    virtual bool createTables(YapDatabaseExtensionContext& context, Error* error) = 0;
    virtual bool dropTables(YapDatabaseExtensionContext& context, Error* error) = 0;
    /// Fills the empty tables from the rows, in one pass.
    virtual bool fill(YapDatabaseExtensionContext& context, Error* error) = 0;
    /// Brings the tables of an extension of the same kind and format up to date, when another tag
    /// or configuration built them or when they missed writes. By default drops, creates and fills
    /// them.
    virtual bool rebuild(YapDatabaseExtensionContext& context, Error* error);
    /// The state of the snapshot that the context reads, loaded from the tables; may be null.
    virtual std::shared_ptr<const YapDatabaseExtensionState> loadState(
        YapDatabaseExtensionContext& context, Error* error) = 0;
    /// The same after commits of another process; `newest` is the last state of this process that
    /// is known, or null. For what only memory has: a filter, a search.
    virtual std::shared_ptr<const YapDatabaseExtensionState> reloadState(
        YapDatabaseExtensionContext& context,
        const std::shared_ptr<const YapDatabaseExtensionState>& newest, Error* error);
    /// What the commit of the registration tells of the extension: its whole content as insertions,
    /// say. Null when there is nothing to tell.
    virtual std::shared_ptr<const YapDatabaseExtensionChanges> changesOfRegistration(
        YapDatabaseExtensionContext&, const std::shared_ptr<const YapDatabaseExtensionState>&) {
        return nullptr;
    }
    /// Work of one transaction on the given state. Read transactions make one when ext() asks for
    /// it.
    virtual std::unique_ptr<YapDatabaseExtensionTransaction> newTransaction(
        YapDatabaseExtensionContext& context,
        std::shared_ptr<const YapDatabaseExtensionState> state) = 0;
    /// Compares what is stored with what the rows of the context's snapshot would give; calls
    /// `fault` for each difference.
    virtual bool check(YapDatabaseExtensionContext& context,
                       const std::function<void(std::string_view collection, std::string_view key,
                                                std::string_view description)>& fault,
                       Error* error) = 0;

protected:
    explicit YapDatabaseExtension(std::string versionTag) : versionTag_(std::move(versionTag)) {}

private:
    std::string versionTag_;
};

/// One extension's part in one transaction. Confined to it.
class QSML_EXPORT YapDatabaseExtensionTransaction {
public:
    virtual ~YapDatabaseExtensionTransaction();

    virtual void didInsertRow(const YapDatabaseRow&) {}
    virtual void didUpdateRow(const YapDatabaseRow&, YapDatabaseUpdate) {}
    /// Before the row is gone: it can still be read.
    virtual void willRemoveRow(const YapDatabaseRow&) {}
    virtual void didRemoveRow(const YapDatabaseRow&) {}

    /// Rows whose derived data must be computed again because the given row, of a collection with
    /// dependents, changed or went. They get dependentChanged before the next flush ends, each
    /// once.
    virtual std::vector<YapDatabaseCollectionKey> dependentsOfRow(const YapDatabaseRow&) {
        return {};
    }
    virtual void dependentChanged(const YapDatabaseRow&) {}

    /// Applies what was gathered; may write rows (then all extensions flush again). False fails the
    /// commit.
    virtual bool flush(Error*) { return true; }
    /// Writes its tables. After the last flush, before newState().
    virtual bool writeTables(Error*) { return true; }
    /// True when the extension's own content changed although no row did (a new filter or search):
    /// the transaction is then a commit.
    virtual bool hasOwnChanges() const { return false; }
    /// For the modified notification; null when nothing changed.
    virtual std::shared_ptr<const YapDatabaseExtensionChanges> changes() { return nullptr; }
    /// The state of the commit that is being made; the old one when nothing changed.
    virtual std::shared_ptr<const YapDatabaseExtensionState> newState() = 0;
    /// After COMMIT, outside the transaction, once: for effects on files and the like.
    virtual void didCommit() {}
};

}  // namespace qsml
