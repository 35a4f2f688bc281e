// What a transaction has done to an auto view, and writing it.
#include <algorithm>

#include "store/views/detail/AutoViewWork.h"
#include "store/views/detail/ViewFailure.h"

namespace qsml::detail {

namespace {

/// From here on one walk over the group is cheaper than a search for each row.
constexpr std::uint64_t rowsPerSearch = 200;

}  // namespace

/// A row whose index in a group is wanted.
struct AutoViewWork::Wish {
    ViewEntry entry;
    YapDatabaseViewPlace* place;
};

void AutoViewWork::findPositions(const ViewState& state,
                                 std::map<String, std::vector<Wish>>& wishes) {
    for (auto& [group, wanted] : wishes) {
        const ViewTree& tree = state.tree(group);
        if (!view_.sorting().isByList() && wanted.size() < tree.count() / rowsPerSearch + 2) {
            for (const Wish& wish : wanted) wish.place->index = positionIn(tree, wish.entry);
            continue;
        }
        std::unordered_map<std::int64_t, YapDatabaseViewPlace*> places;
        for (const Wish& wish : wanted) places.emplace(wish.entry.rowid, wish.place);
        std::uint64_t index = 0;
        tree.enumerate(0, tree.count(), table_, [&](const ViewEntry& entry) {
            const auto found = places.find(entry.rowid);
            if (found != places.end()) {
                found->second->index = index;
                places.erase(found);
            }
            ++index;
            return !places.empty();
        });
        if (!places.empty())
            throw ViewFailure("A row is missing in its group of the view " + context_.name() + ".");
    }
}

namespace {

bool isOlder(const YapDatabaseViewOperation& a, const YapDatabaseViewOperation& b) {
    const auto& x = a.row;
    const auto& y = b.row;
    if (x.collection != y.collection) return x.collection < y.collection;
    if (x.key != y.key) return x.key < y.key;
    return a.rowidBefore > b.rowidBefore;  // what went before what came
}

/// A row that went and came back under its key is one row.
void joinReturned(std::vector<YapDatabaseViewOperation>& changes) {
    std::sort(changes.begin(), changes.end(), isOlder);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < changes.size(); ++i) {
        if (kept > 0 && changes[kept - 1].row == changes[i].row) {
            YapDatabaseViewOperation& first = changes[kept - 1];
            if (changes[i].rowidBefore != 0) {
                first.rowidBefore = changes[i].rowidBefore;
                first.before = std::move(changes[i].before);
            }
            if (changes[i].rowidAfter != 0) {
                first.rowidAfter = changes[i].rowidAfter;
                first.after = std::move(changes[i].after);
            }
            first.flags |= changes[i].flags;
            continue;
        }
        if (kept != i) changes[kept] = std::move(changes[i]);
        ++kept;
    }
    changes.resize(kept);
}

}  // namespace

void AutoViewWork::collectChanges() {
    changes_.clear();
    changes_.reserve(rows_.size());
    for (auto& [rowid, row] : rows_) {
        if (!row.before && !row.now) continue;
        if (!row.row.key && !context_.keyForRowid(rowid, &row.row))
            throw ViewFailure("A row of the view " + context_.name() + " is gone.");
        YapDatabaseViewOperation change{.row = row.row, .flags = row.flags};
        if (row.before) {
            change.rowidBefore = rowid;
            change.before = YapDatabaseViewPlace{row.before->group, 0};
        }
        if (row.now) {
            change.rowidAfter = rowid;
            change.after = YapDatabaseViewPlace{row.now->group, 0};
        }
        changes_.push_back(std::move(change));
    }
    std::map<String, std::vector<Wish>> before, after;
    for (YapDatabaseViewOperation& change : changes_) {
        if (change.before)
            before[change.before->group].push_back(
                {{change.rowidBefore, rows_[change.rowidBefore].before->key}, &*change.before});
        if (change.after)
            after[change.after->group].push_back(
                {{change.rowidAfter, rows_[change.rowidAfter].now->key}, &*change.after});
    }
    findPositions(editing_.base(), before);
    findPositions(editing_.state(), after);
    joinReturned(changes_);
}

const std::vector<YapDatabaseViewOperation>& AutoViewWork::changes() {
    if (collected_ != changeNumber_) {
        collectChanges();
        collected_ = changeNumber_;
    }
    return changes_;
}

std::optional<AutoViewWork::Place> AutoViewWork::currentPlace(std::int64_t rowid) {
    const auto known = rows_.find(rowid);
    if (known != rows_.end() && known->second.isBeforeKnown) return known->second.now;
    const auto stored = table_.place(rowid);
    if (!stored) return std::nullopt;
    const ViewGroup* group = editing_.base().groupWithId(stored->group);
    if (!group) throw ViewFailure("A row of a view stands in a group that is not there.");
    return Place{group->name, stored->key};
}

std::optional<YapDatabaseViewPlace> AutoViewWork::placeOfRow(std::int64_t rowid) {
    if (!editing_.hasChanged()) {
        if (const ViewRanks* ranks = editing_.base().ranksForQuestions(table_)) {
            ViewRanks::Place place{};
            if (!ranks->find(rowid, &place)) return std::nullopt;
            return YapDatabaseViewPlace{place.group->name, place.index};
        }
    }
    const auto place = currentPlace(rowid);
    if (!place) return std::nullopt;
    YapDatabaseViewPlace found{place->group, 0};
    std::map<String, std::vector<Wish>> wishes;
    wishes[place->group].push_back({{rowid, place->key}, &found});
    findPositions(editing_.state(), wishes);
    return found;
}

bool AutoViewWork::writePlaces(Error* error) {
    std::vector<const NotedRow*> moved;
    for (const NotedRow& noted : rows_)
        if (noted.second.before != noted.second.now) moved.push_back(&noted);
    std::sort(moved.begin(), moved.end(),
              [](const NotedRow* a, const NotedRow* b) { return a->first < b->first; });
    for (const NotedRow* noted : moved) {
        const auto& [rowid, row] = *noted;
        if (!row.now) {
            if (!table_.removePlace(rowid, error)) return false;
            continue;
        }
        const ViewGroup* group = editing_.state().group(row.now->group);
        if (!table_.writePlace(rowid, group->id, row.now->key, error)) return false;
    }
    return true;
}

bool AutoViewWork::writeGroup(const String& name, Error* error) {
    const ViewGroup* before = editing_.base().group(name);
    const ViewGroup* now = editing_.state().group(name);
    if (before && (!now || now->id != before->id) && !table_.removeGroup(before->id, error))
        return false;
    if (!now) return true;
    // A row that moves inside its group changes neither root nor count.
    const bool isKnown = before && before->id == now->id &&
                         before->tree.rootId() == now->tree.rootId() &&
                         before->tree.count() == now->tree.count();
    bool isWritten = isKnown || table_.writeGroup(*now, error);
    now->tree.enumerateNew(editing_.edit(), [&](std::int64_t id, std::string&& data) {
        isWritten = isWritten && table_.writeNode(id, data, error);
    });
    return isWritten;
}

bool AutoViewWork::writeTables(Error* error) {
    if (!editing_.hasChanged()) return true;
    for (const std::int64_t id : editing_.edit().removed)
        if (!table_.removeNode(id, error)) return false;
    for (const String& group : editing_.changedGroups())
        if (!writeGroup(group, error)) return false;
    return writePlaces(error);
}

}  // namespace qsml::detail
