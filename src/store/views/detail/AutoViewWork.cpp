#include "store/views/detail/AutoViewWork.h"

#include <algorithm>

#include "foundation/Log.h"
#include "store/detail/PackedKey.h"
#include "store/detail/troubleOf.h"
#include "store/views/detail/ViewFailure.h"
#include "store/views/detail/listOrder.h"

namespace qsml::detail {

AutoViewWork::AutoViewWork(const YapDatabaseAutoView& view, YapDatabaseExtensionContext& context,
                           std::shared_ptr<const ViewState> base, ViewEditing::Storage storage)
    : view_(view), context_(context), table_(context), editing_(std::move(base), table_, storage) {}

AutoViewWork::NotedRow& AutoViewWork::rowOf(std::int64_t rowid) {
    return *rows_.try_emplace(rowid).first;
}

AutoViewWork::NotedRow& AutoViewWork::rowOf(const YapDatabaseRow& from) {
    NotedRow& noted = rowOf(from.rowid);
    if (!noted.second.row.key) {
        if (lastCollection_.view() != from.collection) lastCollection_ = from.collection;
        noted.second.row = {lastCollection_, from.key};
    }
    return noted;
}

void AutoViewWork::note(NotedRow& noted) {
    ++changeNumber_;
    if (noted.second.isPending) return;
    noted.second.isPending = true;
    pending_.push_back(&noted);
}

std::optional<AutoViewWork::Place> AutoViewWork::placeFor(const YapDatabaseRow& row) {
    if (row.object.isNil() || !view_.grouping()) return std::nullopt;
    Place place;
    const YapDatabaseViewSorting& sorting = view_.sorting();
    const auto trouble = troubleOf([&] {
        place.group = view_.grouping()(context_.transaction(), row);
        if (!place.group) return;
        place.key = sorting.isByList() ? listKey(row.key)
                                       : sorting.sortKey(context_.transaction(), place.group, row);
    });
    if (trouble)
        log("Warning: the row \"" + std::string(row.key) + "\" of \"" +
            std::string(row.collection) + "\" is not in the view " + context_.name() + ": " +
            *trouble);
    if (trouble || !place.group) return std::nullopt;
    return place;
}

void AutoViewWork::insert(const YapDatabaseRow& from) {
    NotedRow& noted = rowOf(from);
    Row& row = noted.second;
    row.isNew = row.isBeforeKnown = true;
    row.keepsPlace = false;
    row.flags |= YapDatabaseViewChangedObject | YapDatabaseViewChangedMetadata;
    row.wanted = placeFor(from);
    note(noted);
}

void AutoViewWork::update(const YapDatabaseRow& from, YapDatabaseUpdate update) {
    NotedRow& noted = rowOf(from);
    Row& row = noted.second;
    if (update.object) row.flags |= YapDatabaseViewChangedObject;
    if (update.metadata) row.flags |= YapDatabaseViewChangedMetadata;
    if (update.object) {
        row.keepsPlace = false;
        row.wanted = placeFor(from);
    }
    note(noted);
}

void AutoViewWork::remove(const YapDatabaseRow& from) {
    NotedRow& noted = rowOf(from);
    noted.second.keepsPlace = false;
    noted.second.wanted.reset();
    note(noted);
}

void AutoViewWork::noteListHolder(const YapDatabaseRow& row) {
    const YapDatabaseViewListOrder& list = view_.sorting().list;
    if (!view_.sorting().isByList() || !list.groups) return;
    for (String& group : list.groups(row)) dirtyLists_.insert(std::move(group));
}

void AutoViewWork::readBefore(std::int64_t rowid, Row& row) {
    if (row.isBeforeKnown) return;
    row.isBeforeKnown = true;
    const auto stored = table_.place(rowid);
    if (!stored) return;
    const ViewGroup* group = editing_.base().groupWithId(stored->group);
    if (!group)
        throw ViewFailure("A row of the view " + context_.name() +
                          " stands in a group that is not there.");
    row.now = row.before = Place{group->name, stored->key};
}

/// What is to be done in each group, and forgets what was noted.
AutoViewWork::GroupWorks AutoViewWork::sortedWork() {
    GroupWorks groups;
    std::sort(pending_.begin(), pending_.end(),
              [](const NotedRow* a, const NotedRow* b) { return a->first < b->first; });
    for (NotedRow* noted : pending_) {
        Row& row = noted->second;
        row.isPending = false;
        readBefore(noted->first, row);
        if (row.keepsPlace || row.wanted == row.now) continue;
        if (row.now) groups[row.now->group].going.push_back(noted);
        if (row.wanted) groups[row.wanted->group].coming.push_back(noted);
    }
    pending_.clear();
    if (view_.sorting().isByList())
        for (const String& group : dirtyLists_) groups[group];
    dirtyLists_.clear();
    return groups;
}

void AutoViewWork::apply() {
    if (pending_.empty() && dirtyLists_.empty()) return;
    GroupWorks groups = sortedWork();
    for (auto& [group, work] : groups) {
        if (view_.sorting().isByList())
            applyToListed(group, work);
        else
            applyToSorted(group, work);
    }
    for (auto& [group, work] : groups) {
        for (NotedRow* noted : work.going) noted->second.now.reset();
    }
    for (auto& [group, work] : groups) {
        for (NotedRow* noted : work.coming) noted->second.now = noted->second.wanted;
    }
}

std::uint64_t AutoViewWork::positionIn(const ViewTree& tree, const ViewEntry& entry) {
    if (const auto position = tree.positionOf(entry, table_)) return *position;
    throw ViewFailure("Row " + std::to_string(entry.rowid) +
                      " is missing in its group of the view " + context_.name() + ".");
}

void AutoViewWork::applyToSorted(const String& group, GroupWork& work) {
    ViewTree tree = editing_.tree(group);
    for (const NotedRow* noted : work.going)
        tree.erase(positionIn(tree, {noted->first, noted->second.now->key}), editing_.edit());
    std::vector<ViewEntry> coming;
    coming.reserve(work.coming.size());
    for (const NotedRow* noted : work.coming)
        coming.push_back({noted->first, noted->second.wanted->key});
    std::sort(coming.begin(), coming.end(), [](const ViewEntry& a, const ViewEntry& b) {
        return a.key != b.key ? a.key < b.key : a.rowid < b.rowid;
    });
    mergeInto(tree, coming);
    editing_.put(group, std::move(tree));
}

/// Few rows go in one by one; many are built into a tree together with those that are there.
void AutoViewWork::mergeInto(ViewTree& tree, std::vector<ViewEntry>& coming) {
    if (coming.size() < 256 || coming.size() < tree.count() / 8) {
        for (const ViewEntry& entry : coming)
            tree.insert(tree.lowerBound(entry, table_), entry, editing_.edit());
        return;
    }
    ViewEntryList existing;
    tree.enumerate(0, tree.count(), table_, [&](const ViewEntry& entry) {
        existing.insert(existing.size(), entry.rowid, entry.key);
        return true;
    });
    std::size_t nextComing = 0, nextExisting = 0;
    tree.clear(editing_.edit());
    tree = ViewTree::build(
        [&](ViewEntry* entry) {
            const bool hasExisting = nextExisting < existing.size();
            if (hasExisting) *entry = {existing.rowid(nextExisting), existing.key(nextExisting)};
            if (nextComing < coming.size()) {
                const ViewEntry& other = coming[nextComing];
                if (!hasExisting || other.key < entry->key ||
                    (other.key == entry->key && other.rowid < entry->rowid)) {
                    *entry = other;
                    ++nextComing;
                    return true;
                }
            }
            if (hasExisting) ++nextExisting;
            return hasExisting;
        },
        editing_.edit());
}

void AutoViewWork::applyToListed(const String& group, const GroupWork& work) {
    ViewTree tree = editing_.tree(group);
    std::set<std::int64_t> going;
    for (const NotedRow* noted : work.going) going.insert(noted->first);
    ListedRows rows;
    std::vector<std::uint64_t> leaving;
    std::uint64_t position = 0;
    tree.enumerate(0, tree.count(), table_, [&](const ViewEntry& entry) {
        if (going.count(entry.rowid))
            leaving.push_back(position);
        else
            rows.add(entry, position);
        ++position;
        return true;
    });
    if (leaving.size() != going.size())
        throw ViewFailure("A row is missing in its group of the view " + context_.name() + ".");
    for (const NotedRow* noted : work.coming)
        rows.addNew({noted->first, noted->second.wanted->key});
    const auto trouble = troubleOf([&] {
        view_.sorting().list.keys(context_.transaction(), group,
                                  [&](std::string_view key) { rows.name(key); });
    });
    if (trouble) {
        log("Warning: the list of the group \"" + group.str() + "\" of the view " +
            context_.name() + " cannot be read: " + *trouble);
        rows.forgetNames();
    }
    for (const std::int64_t moved : rows.moveIn(tree, std::move(leaving), editing_.edit())) {
        Row& row = rowOf(moved).second;
        readBefore(moved, row);
        row.flags |= YapDatabaseViewChangedDependency;
        ++changeNumber_;
    }
    if (rows.hasChanged()) editing_.put(group, std::move(tree));
}

}  // namespace qsml::detail
