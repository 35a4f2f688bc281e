#include "store/views/detail/ChildViewWork.h"

#include <algorithm>

#include "store/views/detail/ViewFailure.h"

namespace qsml::detail {

namespace {

/// With more changed rows than this a group is made anew in one walk over the parent's.
constexpr std::size_t fewRows = 64;

}  // namespace

std::string NoNodeSource::nodeData(std::int64_t) {
    throw ViewFailure("A view that is kept in memory has lost a part of itself.");
}

ChildViewWork::ChildViewWork(YapDatabaseExtensionContext& context,
                             std::shared_ptr<const ViewState> base)
    : context_(context), base_(std::move(base)) {
    start();
}

void ChildViewWork::start() {
    editing_.emplace(base_, nodes_, ViewEditing::Storage::volatileOnly);
    changes_.clear();
}

/// Of all rows where none are named.
ChildViewWork::Positions ChildViewWork::positionsOf(const ViewState& state, ViewNodeSource& source,
                                                    const std::unordered_set<std::int64_t>* rows) {
    Positions positions;
    if (rows && rows->empty()) return positions;
    for (const auto& group : state.groups()) {
        std::uint64_t index = 0;
        group->tree.enumerate(0, group->tree.count(), source, [&](const ViewEntry& entry) {
            if (!rows || rows->count(entry.rowid))
                positions.emplace(entry.rowid, YapDatabaseViewPlace{group->name, index});
            ++index;
            return true;
        });
    }
    return positions;
}

void ChildViewWork::note(std::int64_t before, std::int64_t after,
                         const YapDatabaseCollectionKey& row, unsigned flags,
                         const Positions& positionsBefore, const Positions& positionsAfter) {
    const auto was = positionsBefore.find(before);
    const auto is = positionsAfter.find(after);
    YapDatabaseViewOperation change{.row = row, .flags = flags};
    if (was != positionsBefore.end()) {
        change.rowidBefore = before;
        change.before = was->second;
    }
    if (is != positionsAfter.end()) {
        change.rowidAfter = after;
        change.after = is->second;
    }
    if (change.before || change.after) changes_.push_back(std::move(change));
}

void ChildViewWork::remake(YapDatabaseViewTransaction& parent, const String& group,
                           const Belongs& belongs) {
    std::vector<std::int64_t> rows;
    const ViewTree& all = parent.state().tree(group);
    all.enumerate(0, all.count(), parent.source(), [&](const ViewEntry& entry) {
        if (belongs(group, entry.rowid)) rows.push_back(entry.rowid);
        return true;
    });
    fill(group, rows);
}

void ChildViewWork::fill(const String& group, const std::vector<std::int64_t>& rows) {
    std::size_t next = 0;
    const auto entries = [&](ViewEntry* entry) {
        if (next == rows.size()) return false;
        *entry = {rows[next++], {}};
        return true;
    };
    editing_->put(group, ViewTree::build(entries, editing_->edit()));
}

void ChildViewWork::applyWhole(YapDatabaseViewTransaction& parent, const Belongs& belongs) {
    start();
    std::set<String> groups;
    for (const auto& group : base_->groups()) groups.insert(group->name);
    for (const auto& group : parent.state().groups()) groups.insert(group->name);
    for (const String& group : groups) remake(parent, group, belongs);
    tellEverything(parent);
}

void ChildViewWork::applyRows(YapDatabaseViewTransaction& parent,
                              const std::vector<std::int64_t>& rows,
                              const std::function<bool(std::string_view group)>& isShown) {
    start();
    const ViewRanks& ranks = parent.state().ranks(parent.source());
    std::vector<std::pair<std::uint32_t, std::int64_t>> ranked;
    ranked.reserve(rows.size());
    for (const std::int64_t rowid : rows)
        if (const std::uint32_t number = ranks.numberOf(rowid)) ranked.emplace_back(number, rowid);
    std::sort(ranked.begin(), ranked.end());
    for (const auto& group : base_->groups()) fill(group->name, {});
    for (std::size_t i = 0; i < ranked.size();) {
        const ViewGroup* group = ranks.placeOfNumber(ranked[i].first).group;
        const std::uint64_t last =
            ranked[i].first + group->tree.count() - ranks.placeOfNumber(ranked[i].first).index;
        std::vector<std::int64_t> ordered;
        for (; i < ranked.size() && ranked[i].first < last; ++i)
            ordered.push_back(ranked[i].second);
        if (isShown(group->name)) fill(group->name, ordered);
    }
    tellEverything(parent);
}

/// The difference to the view before, row by row.
void ChildViewWork::tellEverything(YapDatabaseViewTransaction& parent) {
    const Positions before = positionsOf(*base_, nodes_, nullptr);
    const Positions after = positionsOf(state(), nodes_, nullptr);
    std::unordered_set<std::int64_t> told;
    for (const YapDatabaseViewOperation& change : parent.rowChanges()) {
        told.insert(change.rowidBefore);
        told.insert(change.rowidAfter);
        note(change.rowidBefore, change.rowidAfter, change.row, change.flags, before, after);
    }
    const auto tell = [&](std::int64_t rowid) {
        if (told.insert(rowid).second)
            note(rowid, rowid, {}, YapDatabaseViewChangedDependency, before, after);
    };
    for (const auto& entry : before)
        if (after.count(entry.first) == 0) tell(entry.first);
    for (const auto& entry : after)
        if (before.count(entry.first) == 0) tell(entry.first);
}

std::vector<ChildViewWork::Listed> ChildViewWork::listedRows(
    YapDatabaseViewTransaction& parent, const std::vector<std::int64_t>& others) {
    std::vector<Listed> listed;
    std::unordered_set<std::int64_t> known;
    for (const YapDatabaseViewOperation& change : parent.rowChanges()) {
        listed.push_back({change});
        known.insert(change.rowidBefore);
        known.insert(change.rowidAfter);
    }
    for (const std::int64_t rowid : others) {
        if (!known.insert(rowid).second) continue;
        const auto place = parent.placeOfRow(rowid);
        YapDatabaseCollectionKey row;
        if (place && context_.keyForRowid(rowid, &row))
            listed.push_back({{row, place, place, 0, rowid, rowid}});
    }
    return listed;
}

void ChildViewWork::decide(std::vector<Listed>& listed, const Passes& passes) {
    for (Listed& one : listed) {
        const auto& after = one.change.after;
        if (!after) continue;
        YapDatabaseCollectionKey& row = one.change.row;
        if (!row.key) context_.keyForRowid(one.change.rowidAfter, &row);
        one.isIn = passes({one.change.rowidAfter, after->group, row});
    }
}

void ChildViewWork::takeOut(const std::vector<Listed>& listed, const Positions& before) {
    std::map<String, std::vector<std::uint64_t>> leaving;
    for (const Listed& one : listed) {
        if (!one.wasIn) continue;
        const YapDatabaseViewPlace& place = before.at(one.change.rowidBefore);
        leaving[place.group].push_back(place.index);
    }
    for (auto& [group, indexes] : leaving) {
        std::sort(indexes.begin(), indexes.end(), std::greater<>());
        ViewTree tree = editing_->tree(group);
        for (const std::uint64_t index : indexes) tree.erase(index, editing_->edit());
        editing_->put(group, std::move(tree));
    }
}

/// Rows that stay come in order of the parent, so each finds its place among those before it.
void ChildViewWork::putIn(YapDatabaseViewTransaction& parent, const std::vector<Listed>& listed) {
    std::map<String, std::vector<std::pair<std::uint64_t, std::int64_t>>> coming;
    for (const Listed& one : listed) {
        if (!one.isIn) continue;
        const auto& after = *one.change.after;
        coming[after.group].emplace_back(after.index, one.change.rowidAfter);
    }
    for (auto& [group, rows] : coming) {
        std::sort(rows.begin(), rows.end());
        ViewTree tree = editing_->tree(group);
        for (const auto& [index, rowid] : rows) {
            const auto isBefore = [&, limit = index](const ViewEntry& entry) {
                const auto place = parent.placeOfRow(entry.rowid);
                if (!place) throw ViewFailure("A row of a view is missing in its parent.");
                return place->index < limit;
            };
            tree.insert(tree.partitionPoint(isBefore, nodes_), {rowid, {}}, editing_->edit());
        }
        editing_->put(group, std::move(tree));
    }
}

void ChildViewWork::remakeGroups(YapDatabaseViewTransaction& parent,
                                 const std::vector<Listed>& listed) {
    std::set<String> groups;
    std::unordered_map<std::int64_t, bool> answers;
    for (const Listed& one : listed) {
        if (one.change.before) groups.insert(one.change.before->group);
        if (one.change.after) groups.insert(one.change.after->group);
        if (one.change.rowidAfter != 0) answers[one.change.rowidAfter] = one.isIn;
    }
    for (const String& group : groups) {
        std::unordered_set<std::int64_t> members;
        const ViewTree tree = editing_->tree(group);
        tree.enumerate(0, tree.count(), nodes_, [&](const ViewEntry& entry) {
            members.insert(entry.rowid);
            return true;
        });
        remake(parent, group, [&](std::string_view, std::int64_t rowid) {
            const auto answer = answers.find(rowid);
            return answer == answers.end() ? members.count(rowid) > 0 : answer->second;
        });
    }
}

void ChildViewWork::applyChanges(YapDatabaseViewTransaction& parent,
                                 const std::vector<std::int64_t>& others, const Passes& passes) {
    start();
    std::vector<Listed> listed = listedRows(parent, others);
    decide(listed, passes);
    std::unordered_set<std::int64_t> rows;
    for (const Listed& one : listed)
        if (one.change.rowidBefore != 0) rows.insert(one.change.rowidBefore);
    const Positions before = positionsOf(*base_, nodes_, &rows);
    for (Listed& one : listed) one.wasIn = before.count(one.change.rowidBefore) > 0;
    // Neither the row nor its place says anything new.
    std::erase_if(listed, [](const Listed& one) {
        return (one.change.flags == 0 && one.wasIn == one.isIn &&
                one.change.before == one.change.after) ||
               (!one.wasIn && !one.isIn);
    });
    if (listed.empty()) return;
    if (listed.size() <= fewRows && parent.findsPlacesQuickly()) {
        takeOut(listed, before);
        putIn(parent, listed);
    } else {
        remakeGroups(parent, listed);
    }
    rows.clear();
    for (const Listed& one : listed)
        if (one.isIn) rows.insert(one.change.rowidAfter);
    const Positions after = positionsOf(state(), nodes_, &rows);
    for (const Listed& one : listed) {
        unsigned flags = one.change.flags;
        if (one.wasIn != one.isIn) flags |= YapDatabaseViewChangedDependency;
        note(one.change.rowidBefore, one.change.rowidAfter, one.change.row, flags, before, after);
    }
}

}  // namespace qsml::detail
