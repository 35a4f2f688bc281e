#include "store/views/detail/mappedChanges.h"

#include <algorithm>
#include <tuple>

#include "store/views/detail/ListedIndexes.h"
#include "store/views/detail/composedChanges.h"

namespace qsml::detail {
namespace {

using Mappings = YapDatabaseViewMappings;
using Operation = YapDatabaseViewOperation;
using RowChange = YapDatabaseViewRowChange;
using SectionChange = YapDatabaseViewSectionChange;
using Type = YapDatabaseViewChangeType;

/// Half-open.
struct Ranks {
    std::uint64_t first = 0, last = 0;
};

Ranks common(Ranks a, Ranks b) {
    const std::uint64_t first = std::max(a.first, b.first);
    return {first, std::max(first, std::min(a.last, b.last))};
}

/// Calls the block for each of `ranks` that is not in `without`.
template <class Block>
void forEachOf(Ranks ranks, Ranks without, const Block& block) {
    const std::uint64_t end = std::clamp(without.first, ranks.first, ranks.last);
    const std::uint64_t next = std::clamp(without.last, end, ranks.last);
    for (std::uint64_t rank = ranks.first; rank < end; ++rank) block(rank);
    for (std::uint64_t rank = next; rank < ranks.last; ++rank) block(rank);
}

/// A group of the mappings on its way from the old snapshot to the new one.
struct Group {
    String name;
    Mappings::Range oldRange, newRange;
    /// Of groups that are visible on both snapshots: the rows of the others are not listed.
    std::optional<std::pair<std::uint64_t, std::uint64_t>> sections;
    ListedIndexes oldListed, newListed;
    std::vector<const Operation*> stayed;  // listed, and shown in this group before and after

    /// Of the unlisted rows that are shown.
    Ranks oldRanks() const { return ranksOf(oldRange, oldListed); }
    Ranks newRanks() const { return ranksOf(newRange, newListed); }
    IndexPath oldPath(std::uint64_t index) const {
        return {sections->first, index - oldRange.first};
    }
    IndexPath newPath(std::uint64_t index) const {
        return {sections->second, index - newRange.first};
    }

private:
    static Ranks ranksOf(Mappings::Range range, const ListedIndexes& listed) {
        return {listed.unlistedBefore(range.first),
                listed.unlistedBefore(range.first + range.length)};
    }
};

bool contains(Mappings::Range range, std::uint64_t index) {
    return index >= range.first && index - range.first < range.length;
}

class Comparison {
public:
    Comparison(const Mappings& before, const Mappings& after, YapDatabaseViewContent& content,
               std::vector<RowChange>& rows)
        : after_(after), content_(content), rows_(rows) {
        groups_.resize(after.allGroups().size());
        for (std::size_t i = 0; i < groups_.size(); ++i) {
            Group& group = groups_[i];
            group.name = after.allGroups()[i];
            group.oldRange = before.rangeAtPosition(i);
            group.newRange = after.rangeAtPosition(i);
            const auto from = before.sectionAtPosition(i), to = after.sectionAtPosition(i);
            if (from && to) group.sections = {*from, *to};
        }
    }

    void compare(const std::vector<Operation>& operations) {
        rows_.reserve(operations.size());
        for (const Operation& operation : operations) list(operation);
        for (Group& group : groups_) {
            if (!group.sections) continue;
            group.oldListed.sort();
            group.newListed.sort();
            addCrossingRows(group);
            addStayedRows(group);
        }
    }

    void replace() {
        for (const Group& group : groups_) {
            if (!group.sections) continue;
            for (std::uint64_t i = 0; i < group.oldRange.length; ++i)
                rows_.push_back(
                    {Type::deletion, {}, group.oldPath(group.oldRange.first + i), {}, 0});
            for (std::uint64_t i = 0; i < group.newRange.length; ++i)
                addInsertion(group, group.newRange.first + i);
        }
    }

private:
    Group* groupOf(const std::optional<YapDatabaseViewPlace>& place) {
        const auto position =
            place ? after_.positionOfGroup(place->group) : std::optional<std::size_t>();
        return position ? &groups_[*position] : nullptr;
    }

    void list(const Operation& operation) {
        Group* from = groupOf(operation.before);
        Group* to = groupOf(operation.after);
        if (from) from->oldListed.add(operation.before->index);
        if (to) to->newListed.add(operation.after->index);
        if (from && (!from->sections || !contains(from->oldRange, operation.before->index)))
            from = nullptr;
        if (to && (!to->sections || !contains(to->newRange, operation.after->index))) to = nullptr;
        if (from && from == to)
            from->stayed.push_back(&operation);
        else if (from && to)
            add(Type::move, operation, from, to);
        else if (from)
            add(Type::deletion, operation, from, nullptr);
        else if (to)
            add(Type::insertion, operation, nullptr, to);
    }

    void add(Type type, const Operation& operation, const Group* from, const Group* to) {
        RowChange change{type, operation.row, {}, {}, operation.flags};
        if (from) change.indexPath = from->oldPath(operation.before->index);
        if (to) change.newIndexPath = to->newPath(operation.after->index);
        rows_.push_back(std::move(change));
    }

    YapDatabaseCollectionKey rowAt(const Group& group, std::uint64_t newIndex) {
        return content_.keyAtIndex(newIndex, group.name).value_or(YapDatabaseCollectionKey{});
    }
    void addInsertion(const Group& group, std::uint64_t newIndex) {
        rows_.push_back({Type::insertion, rowAt(group, newIndex), {}, group.newPath(newIndex), 0});
    }

    /// Unlisted rows that others pushed over an edge of the range. They are in the view on both
    /// snapshots, so the new one knows their names.
    void addCrossingRows(const Group& group) {
        const Ranks before = group.oldRanks(), after = group.newRanks();
        forEachOf(before, after, [&](std::uint64_t rank) {
            rows_.push_back({Type::deletion,
                             rowAt(group, group.newListed.indexOfUnlisted(rank)),
                             group.oldPath(group.oldListed.indexOfUnlisted(rank)),
                             {},
                             0});
        });
        forEachOf(after, before, [&](std::uint64_t rank) {
            addInsertion(group, group.newListed.indexOfUnlisted(rank));
        });
    }

    /// A row has moved when an unlisted row that stays on screen is now on its other side, or when
    /// it is none of a longest run of listed rows that kept their order.
    void addStayedRows(Group& group) {
        const Ranks shown = common(group.oldRanks(), group.newRanks());
        const auto keepsItsSide = [&](const Operation& operation) {
            return std::clamp(group.oldListed.unlistedBefore(operation.before->index), shown.first,
                              shown.last) ==
                   std::clamp(group.newListed.unlistedBefore(operation.after->index), shown.first,
                              shown.last);
        };
        const auto others = std::stable_partition(
            group.stayed.begin(), group.stayed.end(),
            [&](const Operation* operation) { return keepsItsSide(*operation); });
        for (auto i = others; i != group.stayed.end(); ++i) add(Type::move, **i, &group, &group);
        group.stayed.erase(others, group.stayed.end());

        std::sort(group.stayed.begin(), group.stayed.end(),
                  [](const auto* a, const auto* b) { return a->before->index < b->before->index; });
        std::vector<std::uint64_t> indexes;
        for (const Operation* operation : group.stayed) indexes.push_back(operation->after->index);
        const std::vector<std::size_t> run = longestIncreasingRun(indexes);
        auto next = run.begin();
        for (std::size_t i = 0; i < group.stayed.size(); ++i) {
            const Operation& operation = *group.stayed[i];
            if (next == run.end() || *next != i) {
                add(Type::move, operation, &group, &group);
                continue;
            }
            ++next;
            if (operation.flags != 0) add(Type::update, operation, &group, nullptr);
        }
    }

    const Mappings& after_;
    YapDatabaseViewContent& content_;
    std::vector<RowChange>& rows_;
    std::vector<Group> groups_;
};

void listSections(const Mappings& before, const Mappings& after,
                  std::vector<SectionChange>& sections) {
    const std::vector<String>& groups = after.allGroups();
    for (std::size_t i = groups.size(); i-- > 0;)
        if (const auto section = before.sectionAtPosition(i);
            section && !after.sectionAtPosition(i))
            sections.push_back({Type::deletion, *section, groups[i]});
    for (std::size_t i = 0; i < groups.size(); ++i)
        if (const auto section = after.sectionAtPosition(i);
            section && !before.sectionAtPosition(i))
            sections.push_back({Type::insertion, *section, groups[i]});
}

/// What comes first in the list of rows.
int rankOf(Type type) {
    switch (type) {
        case Type::deletion:
            return 0;
        case Type::insertion:
            return 1;
        case Type::move:
            return 2;
        case Type::update:
            break;
    }
    return 3;
}

bool comesBefore(const RowChange& a, const RowChange& b) {
    if (a.type != b.type) return rankOf(a.type) < rankOf(b.type);
    if (a.type == Type::deletion) return *b.indexPath < *a.indexPath;
    if (a.type == Type::update) return *a.indexPath < *b.indexPath;
    return *a.newIndexPath < *b.newIndexPath;
}

}  // namespace

void mappedChanges(const YapDatabaseViewMappings& before, const YapDatabaseViewMappings& after,
                   const std::vector<const YapDatabaseViewChanges*>& commits,
                   YapDatabaseViewContent& content,
                   std::vector<YapDatabaseViewSectionChange>* sections,
                   std::vector<YapDatabaseViewRowChange>* rows) {
    sections->clear();
    rows->clear();
    listSections(before, after, *sections);
    Comparison comparison(before, after, content, *rows);
    if (commits.size() == 1)
        comparison.compare(commits.front()->operations());
    else
        comparison.compare(composedChanges(commits));
    std::sort(rows->begin(), rows->end(), comesBefore);
}

void mappedReplacement(const YapDatabaseViewMappings& before, const YapDatabaseViewMappings& after,
                       YapDatabaseViewContent& content,
                       std::vector<YapDatabaseViewSectionChange>* sections,
                       std::vector<YapDatabaseViewRowChange>* rows) {
    sections->clear();
    rows->clear();
    listSections(before, after, *sections);
    Comparison(before, after, content, *rows).replace();
    std::sort(rows->begin(), rows->end(), comesBefore);
}

std::vector<std::size_t> longestIncreasingRun(const std::vector<std::uint64_t>& numbers) {
    constexpr std::size_t none = static_cast<std::size_t>(-1);
    std::vector<std::size_t> lasts;  // of the runs of each length, that with the least last number
    std::vector<std::size_t> previous(numbers.size(), none);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto longer = std::lower_bound(
            lasts.begin(), lasts.end(), numbers[i],
            [&](std::size_t last, std::uint64_t number) { return numbers[last] < number; });
        if (longer != lasts.begin()) previous[i] = *(longer - 1);
        if (longer == lasts.end())
            lasts.push_back(i);
        else
            *longer = i;
    }
    std::vector<std::size_t> run(lasts.size());
    std::size_t at = lasts.empty() ? none : lasts.back();
    for (std::size_t i = run.size(); i-- > 0; at = previous[at]) run[i] = at;
    return run;
}

}  // namespace qsml::detail
