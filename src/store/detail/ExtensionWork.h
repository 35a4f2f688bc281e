#pragma once
#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "store/YapDatabaseExtension.h"
#include "store/detail/ExtensionContext.h"
#include "store/detail/SnapshotState.h"

namespace qsml::detail {

class ConnectionCore;

/// The extensions' parts in one transaction: made when they are first needed, told of each row,
/// flushed before the commit. Confined to the transaction.
class ExtensionWork {
public:
    ExtensionWork(ConnectionCore& connection, SnapshotStatePointer state);
    ~ExtensionWork();
    ExtensionWork(const ExtensionWork&) = delete;
    ExtensionWork& operator=(const ExtensionWork&) = delete;

    bool isEmpty() const noexcept { return state_->extensions.empty(); }
    /// Null when the name is not registered in this snapshot.
    YapDatabaseExtensionTransaction* named(std::string_view name);

    void didInsert(const YapDatabaseRow& row);
    void didUpdate(const YapDatabaseRow& row, YapDatabaseUpdate update);
    void willRemove(const YapDatabaseRow& row);
    void didRemove(const YapDatabaseRow& row);

    /// Of those that the transaction has used.
    bool hasOwnChanges() const;
    /// Those that take part, in order, and again until none of them writes rows any more.
    bool flush(Error* error);
    bool writeTables(Error* error);
    std::map<std::string, std::shared_ptr<const YapDatabaseExtensionChanges>, std::less<>>
    changes();
    std::shared_ptr<const YapDatabaseExtensionState> newState(std::size_t index);
    void didCommit();

private:
    using RowKey = std::pair<String, String>;
    struct Part {
        std::unique_ptr<ExtensionContext> context;
        std::unique_ptr<YapDatabaseExtensionTransaction> transaction;
        std::set<RowKey> knownDependents;
        std::vector<YapDatabaseCollectionKey> dependents;  // in order of arrival
    };

    /// The places of those that the rows of a collection concern, ascending.
    struct Concerned {
        std::vector<std::size_t> seeing, withDependents;
    };

    YapDatabaseExtensionTransaction& part(std::size_t index);
    void useChildren();
    bool sees(std::size_t index, std::string_view collection) const;
    const Concerned& concernedBy(std::string_view collection);
    void gatherDependents(const YapDatabaseRow& row);
    bool deliverDependents(std::size_t index);
    bool flushOnce(Error* error);

    ConnectionCore& connection_;
    SnapshotStatePointer state_;
    std::vector<Part> parts_;
    std::map<std::string, Concerned, std::less<>> concerned_;
};

}  // namespace qsml::detail
