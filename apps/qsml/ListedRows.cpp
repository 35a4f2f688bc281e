#include "ListedRows.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <unordered_set>

namespace qsml::app {

namespace {

using Type = ListedChange::Type;

struct Place {
    IndexPath path;
    const ListedRow* row = nullptr;
};
using Places = std::unordered_map<std::string, Place>;

/// Names of collections have no NUL.
std::string identity(const ListedRow& row) { return row.collection.str() + '\0' + row.key.str(); }

Places placesIn(const ListedRows& list) {
    Places places;
    for (std::size_t section = 0; section < list.size(); ++section)
        for (std::size_t row = 0; row < list[section].rows.size(); ++row) {
            const ListedRow& listed = list[section].rows[row];
            places.emplace(identity(listed), Place{{section, row}, &listed});
        }
    return places;
}

/// Which elements of a sequence can stay where they are: one of its longest rising parts.
std::vector<bool> longestRising(const std::vector<std::uint64_t>& numbers) {
    std::vector<std::size_t> ends;  // of the best rising part of each length
    std::vector<std::size_t> previous(numbers.size());
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto at = std::lower_bound(
            ends.begin(), ends.end(), numbers[i],
            [&](std::size_t end, std::uint64_t number) { return numbers[end] < number; });
        previous[i] = at == ends.begin() ? numbers.size() : *(at - 1);
        if (at == ends.end())
            ends.push_back(i);
        else
            *at = i;
    }
    std::vector<bool> stays(numbers.size(), false);
    for (std::size_t i = ends.empty() ? numbers.size() : ends.back(); i < numbers.size();
         i = previous[i])
        stays[i] = true;
    return stays;
}

class Comparison {
public:
    Comparison(const ListedRows& before, const ListedRows& after)
        : before_(before), after_(after), places_(placesIn(before)), kept_(placesIn(after)) {}

    std::vector<ListedChange> changes() {
        compareSections(before_, after_, Type::deleteSection);
        compareSections(after_, before_, Type::insertSection);
        addDeletions();
        for (std::size_t section = 0; section < after_.size(); ++section) compareRows(section);
        append(insertions_);
        append(moves_);
        std::sort(updates_.begin(), updates_.end(),
                  [](const ListedChange& a, const ListedChange& b) { return a.before < b.before; });
        append(updates_);
        return std::move(changes_);
    }

private:
    void compareSections(const ListedRows& list, const ListedRows& other, Type type) {
        std::unordered_set<String> others;
        for (const ListedSection& section : other) others.insert(section.group);
        for (std::size_t i = 0; i < list.size(); ++i)
            if (!others.contains(list[i].group))
                changes_.push_back({.type = type, .group = list[i].group, .section = i});
    }

    void addDeletions() {
        for (std::size_t section = 0; section < before_.size(); ++section)
            for (std::size_t row = 0; row < before_[section].rows.size(); ++row) {
                const ListedRow& listed = before_[section].rows[row];
                if (kept_.contains(identity(listed))) continue;
                changes_.push_back({.type = Type::deleteRow,
                                    .group = before_[section].group,
                                    .before = IndexPath{section, row},
                                    .row = listed});
            }
    }

    /// Those of a section that were in the same group before can stay; the rest came or moved.
    void compareRows(std::size_t section) {
        const ListedSection& listed = after_[section];
        std::vector<const Place*> was(listed.rows.size(), nullptr);
        std::vector<std::uint64_t> order;
        for (std::size_t row = 0; row < listed.rows.size(); ++row) {
            const auto place = places_.find(identity(listed.rows[row]));
            if (place == places_.end()) continue;
            was[row] = &place->second;
            if (isSameGroup(*was[row], listed)) order.push_back(was[row]->path.row);
        }
        const std::vector<bool> stays = longestRising(order);
        std::size_t next = 0;
        for (std::size_t row = 0; row < listed.rows.size(); ++row) {
            const bool canStay = was[row] && isSameGroup(*was[row], listed);
            compareRow({section, row}, was[row], canStay && stays[next]);
            if (canStay) ++next;
        }
    }

    bool isSameGroup(const Place& was, const ListedSection& listed) const {
        return before_[was.path.section].group == listed.group;
    }

    void compareRow(IndexPath path, const Place* was, bool stays) {
        const ListedRow& row = after_[path.section].rows[path.row];
        ListedChange change{.group = after_[path.section].group, .after = path, .row = row};
        if (!was) {
            change.type = Type::insertRow;
            insertions_.push_back(std::move(change));
            return;
        }
        change.before = was->path;
        if (!stays) {
            change.type = Type::moveRow;
            moves_.push_back(std::move(change));
        } else if (was->row->shown != row.shown) {
            updates_.push_back(std::move(change));
        }
    }

    void append(std::vector<ListedChange>& more) {
        std::move(more.begin(), more.end(), std::back_inserter(changes_));
    }

    const ListedRows& before_;
    const ListedRows& after_;
    const Places places_, kept_;
    std::vector<ListedChange> changes_, insertions_, moves_, updates_;
};

}  // namespace

std::vector<ListedChange> changesBetween(const ListedRows& before, const ListedRows& after) {
    return Comparison(before, after).changes();
}

}  // namespace qsml::app
