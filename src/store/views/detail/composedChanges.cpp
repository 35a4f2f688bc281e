#include "store/views/detail/composedChanges.h"

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "store/views/detail/ListedIndexes.h"

namespace qsml::detail {
namespace {

using Operation = YapDatabaseViewOperation;
using Operations = std::vector<Operation>;
using Place = std::optional<YapDatabaseViewPlace>;

struct RowHash {
    std::size_t operator()(const YapDatabaseCollectionKey& row) const noexcept {
        const std::size_t collection = std::hash<String>()(row.collection);
        return std::hash<String>()(row.key) + 0x9E3779B97F4A7C15u * collection;
    }
};

/// Carries rows that a set of changes does not list from one of its snapshots to the other.
class Carrier {
public:
    explicit Carrier(const Operations& operations) {
        for (const Operation& operation : operations) {
            if (operation.before) groups_[operation.before->group].old.add(operation.before->index);
            if (operation.after) groups_[operation.after->group].recent.add(operation.after->index);
        }
        for (auto& [group, indexes] : groups_) {
            indexes.old.sort();
            indexes.recent.sort();
        }
    }

    void forward(Place& place) const {
        if (const Indexes* indexes = indexesAt(place))
            place->index =
                indexes->recent.indexOfUnlisted(indexes->old.unlistedBefore(place->index));
    }
    void backward(Place& place) const {
        if (const Indexes* indexes = indexesAt(place))
            place->index =
                indexes->old.indexOfUnlisted(indexes->recent.unlistedBefore(place->index));
    }

private:
    struct Indexes {
        ListedIndexes old, recent;
    };

    const Indexes* indexesAt(const Place& place) const {
        if (!place) return nullptr;
        const auto found = groups_.find(place->group);
        return found == groups_.end() ? nullptr : &found->second;
    }

    std::unordered_map<String, Indexes> groups_;
};

/// A flag of rows that were not in the view after some commit in between.
constexpr unsigned wasAway = 1u << 31;

/// A row that both list: `first` becomes both.
void join(Operation& first, const Operation& second) {
    first.flags |= second.flags;
    if (!first.after) first.flags |= wasAway;
    first.after = second.after;
    first.rowidAfter = second.rowidAfter;
}

Operations joined(Operations first, const Operations& second) {
    const Carrier overFirst(first), overSecond(second);
    std::unordered_map<YapDatabaseCollectionKey, std::size_t, RowHash> positions;
    positions.reserve(first.size());
    for (std::size_t i = 0; i < first.size(); ++i) positions.emplace(first[i].row, i);

    std::vector<bool> isInBoth(first.size(), false);
    for (const Operation& operation : second) {
        if (const auto found = positions.find(operation.row); found != positions.end()) {
            join(first[found->second], operation);
            isInBoth[found->second] = true;
            continue;
        }
        first.push_back(operation);
        overFirst.backward(first.back().before);
    }
    for (std::size_t i = 0; i < isInBoth.size(); ++i)
        if (!isInBoth[i]) overSecond.forward(first[i].after);
    return first;
}

/// By halves: each operation is looked at once in each of log c levels.
Operations composed(std::span<const YapDatabaseViewChanges* const> commits) {
    if (commits.empty()) return {};
    if (commits.size() == 1) return commits.front()->operations();
    const std::size_t half = commits.size() / 2;
    return joined(composed(commits.first(half)), composed(commits.subspan(half)));
}

/// Rows without a key get the one that another commit knows them by, or one of their own.
class NamedRows {
public:
    explicit NamedRows(const std::vector<const YapDatabaseViewChanges*>& commits) {
        for (const YapDatabaseViewChanges* commit : commits)
            for (const Operation& operation : commit->operations()) note(operation);
        if (!isIncomplete_) {
            named_ = commits;
            return;
        }
        changes_.reserve(commits.size());
        for (const YapDatabaseViewChanges* commit : commits) {
            Operations operations = commit->operations();
            for (Operation& operation : operations)
                if (!operation.row.key) operation.row = nameOf(operation);
            changes_.emplace_back(std::move(operations));
        }
        for (const YapDatabaseViewChanges& changes : changes_) named_.push_back(&changes);
    }
    std::span<const YapDatabaseViewChanges* const> commits() const { return named_; }

    static void takeAway(Operations& operations) {
        for (Operation& operation : operations)
            if (operation.row.collection.view() == unnamedCollection) operation.row = {};
    }

private:
    static constexpr std::string_view unnamedCollection = "\1";  // of no row

    void note(const Operation& operation) {
        isIncomplete_ = isIncomplete_ || !operation.row.key;
        if (!operation.row.key) return;
        for (const std::int64_t rowid : {operation.rowidBefore, operation.rowidAfter})
            if (rowid != 0) names_.emplace(rowid, operation.row);
    }
    YapDatabaseCollectionKey nameOf(const Operation& operation) const {
        const std::int64_t rowid =
            operation.rowidAfter != 0 ? operation.rowidAfter : operation.rowidBefore;
        const auto found = names_.find(rowid);
        if (found != names_.end()) return found->second;
        return {unnamedCollection, std::to_string(rowid)};
    }

    bool isIncomplete_ = false;
    std::unordered_map<std::int64_t, YapDatabaseCollectionKey> names_;
    std::vector<YapDatabaseViewChanges> changes_;
    std::vector<const YapDatabaseViewChanges*> named_;
};

}  // namespace

std::vector<YapDatabaseViewOperation> composedChanges(
    const std::vector<const YapDatabaseViewChanges*>& commits) {
    const NamedRows named(commits);
    Operations operations = composed(named.commits());
    NamedRows::takeAway(operations);
    for (Operation& operation : operations) {
        if ((operation.flags & wasAway) == 0) continue;
        operation.flags |= YapDatabaseViewChangedObject | YapDatabaseViewChangedMetadata;
        operation.flags &= ~wasAway;
    }
    return operations;
}

}  // namespace qsml::detail
