#include "store/views/detail/composedChanges.h"

#include <functional>
#include <span>
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

}  // namespace

std::vector<YapDatabaseViewOperation> composedChanges(
    const std::vector<const YapDatabaseViewChanges*>& commits) {
    Operations operations = composed(commits);
    for (Operation& operation : operations) {
        if (operation.flags == wasAway)
            operation.flags = YapDatabaseViewChangedObject | YapDatabaseViewChangedMetadata;
        operation.flags &= ~wasAway;
    }
    return operations;
}

}  // namespace qsml::detail
