#include "store/views/YapDatabaseViewTransaction.h"

#include <algorithm>
#include <iterator>

#include "foundation/Log.h"
#include "store/detail/StatementRun.h"
#include "store/views/YapDatabaseViewMappings.h"
#include "store/views/detail/ViewFailure.h"
#include "store/views/detail/ViewState.h"
#include "store/views/detail/comparedStates.h"
#include "store/views/detail/mappedChanges.h"

namespace qsml {

YapDatabaseViewTransaction::~YapDatabaseViewTransaction() = default;

void YapDatabaseViewTransaction::noteFailure(std::string_view what) {
    context_.fail(detail::extensionFailure(std::string(what)));
}

template <class Question>
void YapDatabaseViewTransaction::ask(const Question& question) {
    try {
        question();
    } catch (const detail::ViewFailure& failure) {
        noteFailure(failure.what());
    }
}

std::uint64_t YapDatabaseViewTransaction::numberOfGroups() {
    std::uint64_t number = 0;
    ask([&] { number = state().groups().size(); });
    return number;
}

std::vector<String> YapDatabaseViewTransaction::allGroups() {
    std::vector<String> names;
    ask([&] {
        for (const auto& group : state().groups()) names.push_back(group->name);
    });
    return names;
}

bool YapDatabaseViewTransaction::hasGroup(std::string_view group) {
    return numberOfItemsInGroup(group) > 0;
}

std::uint64_t YapDatabaseViewTransaction::numberOfItemsInGroup(std::string_view group) {
    std::uint64_t number = 0;
    ask([&] { number = state().tree(group).count(); });
    return number;
}

std::uint64_t YapDatabaseViewTransaction::numberOfItemsInAllGroups() {
    std::uint64_t number = 0;
    ask([&] { number = state().count(); });
    return number;
}

std::optional<std::int64_t> YapDatabaseViewTransaction::rowidAtIndex(std::uint64_t index,
                                                                     std::string_view group) {
    std::optional<std::int64_t> rowid;
    ask([&] {
        const detail::ViewTree& tree = state().tree(group);
        if (index < tree.count()) rowid = tree.at(index, source()).rowid;
    });
    return rowid;
}

std::optional<YapDatabaseCollectionKey> YapDatabaseViewTransaction::keyAtIndex(
    std::uint64_t index, std::string_view group) {
    const auto rowid = rowidAtIndex(index, group);
    YapDatabaseCollectionKey row;
    if (!rowid || !context_.keyForRowid(*rowid, &row)) return std::nullopt;
    return row;
}

std::optional<YapDatabaseCollectionKey> YapDatabaseViewTransaction::firstKeyInGroup(
    std::string_view group) {
    return keyAtIndex(0, group);
}

std::optional<YapDatabaseCollectionKey> YapDatabaseViewTransaction::lastKeyInGroup(
    std::string_view group) {
    const std::uint64_t count = numberOfItemsInGroup(group);
    return count == 0 ? std::nullopt : keyAtIndex(count - 1, group);
}

Value YapDatabaseViewTransaction::objectAtIndex(std::uint64_t index, std::string_view group) {
    const auto row = keyAtIndex(index, group);
    return row ? context_.transaction().objectForKey(row->key, row->collection) : Value();
}

Value YapDatabaseViewTransaction::firstObjectInGroup(std::string_view group) {
    return objectAtIndex(0, group);
}

Value YapDatabaseViewTransaction::lastObjectInGroup(std::string_view group) {
    const std::uint64_t count = numberOfItemsInGroup(group);
    return count == 0 ? Value() : objectAtIndex(count - 1, group);
}

std::optional<YapDatabaseViewPlace> YapDatabaseViewTransaction::groupAndIndexForKey(
    std::string_view key, std::string_view collection) {
    const auto rowid = context_.rowidForKey(key, collection);
    std::optional<YapDatabaseViewPlace> place;
    if (rowid) ask([&] { place = placeOfRow(*rowid); });
    return place;
}

String YapDatabaseViewTransaction::groupForKey(std::string_view key, std::string_view collection) {
    const auto place = groupAndIndexForKey(key, collection);
    return place ? place->group : String();
}

void YapDatabaseViewTransaction::enumerateKeysInGroup(std::string_view group, const KeyBlock& block,
                                                      Enumeration enumeration) {
    ask([&] {
        const detail::ViewTree& now = state().tree(group);
        const std::uint64_t first = std::min(enumeration.first, now.count());
        const std::uint64_t last = first + std::min(enumeration.length, now.count() - first);
        std::vector<std::int64_t> rowids;  // the block may change the view
        rowids.reserve(last - first);
        now.enumerate(first, last, source(), [&](const detail::ViewEntry& entry) {
            rowids.push_back(entry.rowid);
            return true;
        });
        bool stop = false;
        for (std::size_t i = 0; i < rowids.size() && !stop; ++i) {
            const std::size_t place = enumeration.isReverse ? rowids.size() - 1 - i : i;
            YapDatabaseCollectionKey row;
            if (context_.keyForRowid(rowids[place], &row))
                block(row.collection, row.key, first + place, stop);
        }
    });
}

void YapDatabaseViewTransaction::enumerateKeysAndObjectsInGroup(std::string_view group,
                                                                const ObjectBlock& block,
                                                                Enumeration enumeration) {
    enumerateKeysInGroup(
        group,
        [&](std::string_view collection, std::string_view key, std::uint64_t index, bool& stop) {
            const Value object = context_.transaction().objectForKey(key, collection);
            if (!object.isNil()) block(collection, key, object, index, stop);
        },
        enumeration);
}

std::vector<std::int64_t> YapDatabaseViewTransaction::rowidsInOrder(
    std::string_view group, const std::vector<std::int64_t>& rowids, std::size_t limit) {
    std::vector<std::int64_t> ordered;
    ask([&] {
        const detail::ViewState& now = state();
        const detail::ViewGroup* of = now.group(group);
        if (!of) return;
        const detail::ViewRanks& ranks = now.ranks(source());
        std::vector<std::pair<std::uint32_t, std::int64_t>> found;
        found.reserve(rowids.size());
        for (const std::int64_t rowid : rowids)
            if (const std::uint32_t number = ranks.numberOf(rowid))
                if (ranks.placeOfNumber(number).group == of) found.emplace_back(number, rowid);
        const std::size_t wanted = std::min(limit, found.size());
        std::partial_sort(found.begin(), found.begin() + static_cast<std::ptrdiff_t>(wanted),
                          found.end());
        ordered.reserve(wanted);
        for (std::size_t i = 0; i < wanted; ++i) ordered.push_back(found[i].second);
    });
    return ordered;
}

std::optional<YapDatabaseCollectionKey> YapDatabaseViewTransaction::keyAtIndexPath(
    IndexPath path, const YapDatabaseViewMappings& mappings) {
    const auto place = mappings.placeForIndexPath(path);
    return place ? keyAtIndex(place->index, place->group) : std::nullopt;
}

Value YapDatabaseViewTransaction::objectAtIndexPath(IndexPath path,
                                                    const YapDatabaseViewMappings& mappings) {
    const auto place = mappings.placeForIndexPath(path);
    return place ? objectAtIndex(place->index, place->group) : Value();
}

std::optional<IndexPath> YapDatabaseViewTransaction::indexPathForKey(
    std::string_view key, std::string_view collection, const YapDatabaseViewMappings& mappings) {
    const auto place = groupAndIndexForKey(key, collection);
    return place ? mappings.indexPathForPlace(*place) : std::nullopt;
}

namespace {

/// Whether the notifications lead from one snapshot to the other and say what they changed.
bool isComplete(const YapDatabaseNotifications& notifications, std::uint64_t from,
                std::uint64_t to) {
    std::uint64_t expected = from;
    for (const auto& commit : notifications)
        if (commit->isForeign || commit->snapshot != ++expected) return false;
    return expected == to;
}

bool areAnyForeign(const YapDatabaseNotifications& notifications) {
    return std::any_of(notifications.begin(), notifications.end(),
                       [](const auto& commit) { return commit->isForeign; });
}

/// Those that lie behind what the mappings show.
YapDatabaseNotifications unseen(const YapDatabaseNotifications& notifications,
                                const YapDatabaseViewMappings& mappings) {
    const std::uint64_t seen = mappings.snapshotOfLastUpdate();
    if (seen == YapDatabaseViewMappings::noSnapshot) return notifications;
    YapDatabaseNotifications later;
    std::copy_if(notifications.begin(), notifications.end(), std::back_inserter(later),
                 [&](const auto& commit) { return commit->snapshot > seen; });
    return later;
}

/// What the notifications say of a view; oldest first.
std::vector<const YapDatabaseViewChanges*> changesOf(
    std::string_view view, const YapDatabaseNotifications& notifications) {
    std::vector<const YapDatabaseViewChanges*> changes;
    for (const auto& commit : notifications) {
        const auto found = commit->extensions.find(view);
        if (found == commit->extensions.end()) continue;
        if (const auto* of = dynamic_cast<const YapDatabaseViewChanges*>(found->second.get()))
            changes.push_back(of);
    }
    return changes;
}

}  // namespace

bool YapDatabaseViewTransaction::hasChangesForNotifications(std::string_view view,
                                                            const YapDatabaseNotifications& list) {
    return areAnyForeign(list) || !changesOf(view, list).empty();
}

bool YapDatabaseViewTransaction::hasChangesForGroup(std::string_view group, std::string_view view,
                                                    const YapDatabaseNotifications& list) {
    return hasChangesForAnyGroups({group}, view, list);
}

bool YapDatabaseViewTransaction::hasChangesForAnyGroups(const std::vector<String>& groups,
                                                        std::string_view view,
                                                        const YapDatabaseNotifications& list) {
    if (areAnyForeign(list)) return !groups.empty();
    const auto isAsked = [&](const std::optional<YapDatabaseViewPlace>& place) {
        return place && std::find(groups.begin(), groups.end(), place->group) != groups.end();
    };
    for (const YapDatabaseViewChanges* changes : changesOf(view, list))
        for (const YapDatabaseViewOperation& operation : changes->operations())
            if (isAsked(operation.before) || isAsked(operation.after)) return true;
    return false;
}

void YapDatabaseViewTransaction::getSectionChanges(
    std::vector<YapDatabaseViewSectionChange>* sections,
    std::vector<YapDatabaseViewRowChange>* rows, const YapDatabaseNotifications& notifications,
    YapDatabaseViewMappings& mappings) {
    sections->clear();
    rows->clear();
    const auto commits = unseen(notifications, mappings);
    if (commits.empty()) return;
    const auto before = mappings.copy();
    const std::uint64_t snapshot = context_.transaction().snapshot();
    mappings.update(this, snapshot);
    if (isComplete(commits, before->snapshotOfLastUpdate(), snapshot)) {
        detail::mappedChanges(*before, mappings, changesOf(mappings.view(), commits), *this,
                              sections, rows);
        return;
    }
    bool isCompared = false;
    if (areAnyForeign(commits))
        ask([&] { isCompared = detail::comparedStates(*before, mappings, *this, sections, rows); });
    else
        log("Warning: the mappings of the view \"" + mappings.view() +
            "\" are not on the snapshot before the notifications; the whole list is replaced.");
    if (!isCompared) detail::mappedReplacement(*before, mappings, *this, sections, rows);
}

}  // namespace qsml
