#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "store/detail/Statement.h"
#include "store/relationships/detail/EdgeState.h"

namespace qsml::detail {

inline std::int64_t edgeKind(std::int64_t name, bool isManual) noexcept {
    return name * 2 + (isManual ? 1 : 0);
}

/// The tables of edges on one connection, for the length of a transaction. The first failure is
/// kept, and nothing is done after it. Confined to the transaction.
class EdgeTables {
public:
    EdgeTables(YapDatabaseExtensionContext& context, std::shared_ptr<const EdgeState> state);
    ~EdgeTables();
    EdgeTables(const EdgeTables&) = delete;
    EdgeTables& operator=(const EdgeTables&) = delete;

    /// Of tables that have just been made or that nobody has loaded yet.
    static std::shared_ptr<const EdgeState> loadState(YapDatabaseExtensionContext& context,
                                                      Error* error);
    /// With what this transaction has added.
    std::shared_ptr<const EdgeState> state();

    YapDatabaseExtensionContext& context() { return context_; }
    const EdgeTexts& texts() const { return *texts_; }
    bool ok() const noexcept { return !error_; }
    const Error& error() const noexcept { return error_; }
    void fail(Error error);
    /// Keeps SQLite's last failure.
    void failWith(std::string_view action);
    /// The store answers nothing also when it could not read: fails when its last read did.
    void expectRead();
    /// Runs texts without results.
    void execute(const std::string& sql);
    void execute(const std::vector<std::string>& texts);

    /// 0 when there is none.
    std::int64_t numberOfName(std::string_view name);
    /// Made when there is none.
    std::int64_t numberForName(std::string_view name);
    String name(std::int64_t number);

    /// The row id; nothing when the row is absent.
    std::optional<std::int64_t> row(std::string_view key, std::string_view collection);
    bool hasAbsent() const noexcept { return hasAbsent_; }
    /// Minus the number of an absent row; 0 when nothing leads there.
    std::int64_t absent(std::string_view key, std::string_view collection);
    std::int64_t absentFor(std::string_view key, std::string_view collection);
    /// Of a row or of an absent one; nothing when there is no such row any more.
    std::optional<YapDatabaseCollectionKey> address(std::int64_t end);

    /// In the order of destination and kind.
    std::vector<StoredEdge> outgoing(std::int64_t source);
    std::vector<StoredEdge> incoming(std::int64_t destination);
    /// The next thousand in the order of source, destination and kind.
    std::vector<StoredEdge> after(const StoredEdge& last);
    /// The rules of the stored edge; nothing when there is none.
    std::optional<std::int64_t> rules(const StoredEdge& edge);
    /// Whether an edge leads there that would delete the row when all of its kind are gone.
    bool hasDeletingIncoming(std::int64_t destination);
    bool hasDeletingOutgoing(std::int64_t source);

    /// The list that is stored of a source, where it is a long one that is known; else null.
    std::shared_ptr<const KnownList> knownList(std::int64_t source) const;
    /// To be known from now on, if it is long enough and not too long.
    void keepList(EdgeList list, std::vector<StoredEdge> stored);
    void keepList(std::shared_ptr<const KnownList> known);
    void forgetList(std::int64_t source);

    void insert(const StoredEdge& edge);
    void insertManual(const StoredEdge& edge, const YapDatabaseCollectionKey& source,
                      const YapDatabaseCollectionKey& destination);
    void remove(const StoredEdge& edge);
    /// All of one source, as they were read.
    void removeAll(const std::vector<StoredEdge>& outgoing);
    void move(const StoredEdge& edge, std::int64_t source, std::int64_t destination);
    /// All edges of one end get another, because its row has another row id now.
    void moveEnd(std::int64_t from, std::int64_t to);
    /// The absent row may have lost its last edge.
    void leaveAbsent(std::int64_t end) {
        if (end < 0) leftAbsents_.insert(-end);
    }
    /// Forgets the absent rows to which edges led until now, where no other does.
    void removeUnusedAbsents();

private:
    struct Statements;

    std::vector<StoredEdge> edges(Statement& statement, std::int64_t end);
    bool exists(Statement& statement, std::int64_t end);
    void run(Query& query, const StoredEdge& edge);

    YapDatabaseExtensionContext& context_;
    std::shared_ptr<const EdgeState> state_;
    std::shared_ptr<const EdgeTexts> texts_;
    std::shared_ptr<Statements> statements_;
    std::vector<std::pair<std::int64_t, String>> newNames_;
    std::set<std::int64_t> leftAbsents_;
    std::vector<std::shared_ptr<const KnownList>> lists_;
    bool hasAbsent_ = false;
    Error error_;
};

}  // namespace qsml::detail
