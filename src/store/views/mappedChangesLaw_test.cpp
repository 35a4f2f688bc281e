#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "store/views/detail/mappedChanges.h"
#include "store/views/testing/EditableView.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

using Type = YapDatabaseViewChangeType;
using Options = YapDatabaseViewRangeOptions;
using Section = std::vector<std::string>;
using Sections = std::vector<Section>;
using RowChanges = std::vector<YapDatabaseViewRowChange>;

/// Random histories of a view; its list is told each step. What failed is repeated by its seed.
class GivenARandomView : public ::testing::Test {
protected:
    static inline const std::vector<std::string> groups_{"a", "b", "c", "d", "hidden"};

    std::size_t pick(std::size_t below) { return random_() % below; }
    bool oneOf(std::size_t n) { return pick(n) == 0; }

    void start(unsigned seed) {
        random_.seed(seed);
        view_ = EditableView();
        nextKey_ = 0;
        away_.clear();
        for (std::size_t i = pick(20); i > 0; --i) insertNewRow();
        view_.commit();
        mappings_ = YapDatabaseViewMappings::initWithGroups({"a", "b", "c", "d"}, "view");
        changeMappings();
        mappings_->update(&view_, 0);
    }
    void changeMappings() {
        for (const auto& group : mappings_->allGroups()) {
            mappings_->setIsDynamicSection(oneOf(2), group);
            mappings_->removeRangeOptionsForGroup(group);
            if (oneOf(2))
                mappings_->setRangeOptions(
                    Options::fixedRange(pick(6), oneOf(2) ? 0 : pick(5),
                                        oneOf(2) ? Options::Pin::end : Options::Pin::beginning),
                    group);
        }
    }

    // Edits. Most rows are in few groups, so that they meet.

    std::string anyGroup() { return groups_[std::min(pick(5), pick(5))]; }
    unsigned anyFlags() { return static_cast<unsigned>(pick(8)); }
    void insertNewRow() {
        view_.insert(std::to_string(nextKey_++), anyGroup(), pick(12), anyFlags());
    }
    std::optional<std::string> anyRow() {
        std::vector<std::string> rows;
        for (const auto& [group, keys] : view_.groups())
            rows.insert(rows.end(), keys.begin(), keys.end());
        if (rows.empty()) return std::nullopt;
        return rows[pick(rows.size())];
    }
    void edit() {
        const auto row = anyRow();
        const std::size_t kind = pick(8);
        if (!row || kind < 2) return oneOf(3) ? insertRowAgain() : insertNewRow();
        if (kind < 4) {
            away_.push_back(*row);
            return view_.remove(*row);
        }
        if (kind == 4) return view_.move(*row, anyGroup(), pick(12), anyFlags());
        if (kind == 5) {
            const auto place = EditableView::placeIn(view_.groups(), *row);
            return view_.move(*row, place->group, pick(12), anyFlags());
        }
        view_.touch(*row, anyFlags());
    }
    void insertRowAgain() {
        if (away_.empty()) return;
        const std::string row = away_.back();
        away_.pop_back();
        if (!EditableView::placeIn(view_.groups(), row))
            view_.insert(row, anyGroup(), pick(12), anyFlags());
    }
    void editAll() {
        std::vector<std::string> rows;
        for (const auto& [group, keys] : view_.groups())
            rows.insert(rows.end(), keys.begin(), keys.end());
        for (const auto& row : rows) view_.move(row, oneOf(9) ? anyGroup() : "a", pick(12));
    }
    void commit() {
        if (oneOf(40))
            editAll();
        else
            for (std::size_t i = pick(6); i > 0; --i) edit();
        commits_.push_back(view_.commit());
        for (const auto& operation : commits_.back()->operations()) {
            const std::string row = operation.row.key.str();
            flags_[row] |= operation.flags;
            if (gone_.erase(row)) flags_[row] |= flagsOfReturned_;
            if (!operation.after) gone_.insert(row);
        }
    }

    // What the list shows.

    Sections shown() {
        Sections sections;
        for (std::uint64_t s = 0; s < mappings_->numberOfSections(); ++s) {
            sections.emplace_back();
            for (std::uint64_t row = 0; row < mappings_->numberOfItemsInSection(s); ++row) {
                const auto place = mappings_->placeForIndexPath({s, row});
                sections.back().push_back(view_.keyAtIndex(place->index, place->group)->key.str());
            }
        }
        return sections;
    }
    static std::string keyAt(const Sections& sections, IndexPath path) {
        if (path.section >= sections.size() || path.row >= sections[path.section].size())
            return "(nowhere)";
        return sections[path.section][path.row];
    }

    /// One step: some commits, then the list is told.
    void step() {
        commits_.clear();
        flags_.clear();
        gone_.clear();
        for (std::size_t i = oneOf(2) ? 1 : 1 + pick(5); i > 0; --i) commit();
        const auto before = mappings_->copy();
        if (oneOf(50)) changeMappings();  // rows cross edges that move, too
        mappings_->update(&view_, before->snapshotOfLastUpdate() + commits_.size());
        newSections_ = shown();

        std::vector<const YapDatabaseViewChanges*> commits;
        for (const auto& commit : commits_) commits.push_back(commit.get());
        detail::mappedChanges(*before, *mappings_, commits, view_, &sectionChanges_, &rows_);
        oldGroups_ = before->visibleGroups();
    }

    /// Does to the old list what the changes say.
    Sections applied() const {
        Sections sections = oldSections_;
        std::vector<IndexPath> leaving, arriving;
        for (const auto& change : rows_) {
            if (change.type == Type::deletion || change.type == Type::move)
                leaving.push_back(*change.indexPath);
            if (change.type == Type::insertion || change.type == Type::move)
                arriving.push_back(*change.newIndexPath);
        }
        std::sort(leaving.rbegin(), leaving.rend());
        std::sort(arriving.begin(), arriving.end());
        for (const IndexPath path : leaving) {
            if (keyAt(sections, path) == "(nowhere)") return {};
            auto& section = sections[path.section];
            section.erase(section.begin() + static_cast<std::ptrdiff_t>(path.row));
        }
        for (const auto& change : sectionChanges_) {
            const auto at = sections.begin() + static_cast<std::ptrdiff_t>(change.index);
            if (change.type == Type::deletion)
                sections.erase(at);
            else
                sections.insert(at, newSections_[change.index]);
        }
        for (const IndexPath path : arriving) {
            auto& section = sections[path.section];
            if (path.row > section.size()) return {};
            section.insert(section.begin() + static_cast<std::ptrdiff_t>(path.row),
                           keyAt(newSections_, path));
        }
        return sections;
    }

    // What must hold of each change.

    void expectTruePaths() const {
        for (const auto& change : rows_) {
            const bool isOld = change.type != Type::insertion;
            const bool isNew = change.type == Type::insertion || change.type == Type::move;
            ASSERT_EQ(change.indexPath.has_value(), isOld);
            ASSERT_EQ(change.newIndexPath.has_value(), isNew);
            if (isOld) {
                EXPECT_EQ(keyAt(oldSections_, *change.indexPath), change.row.key);
            }
            if (isNew) {
                EXPECT_EQ(keyAt(newSections_, *change.newIndexPath), change.row.key);
            }
        }
    }
    void expectListOrder() const {
        const auto sortedBy = [](const YapDatabaseViewRowChange& change) {
            const int kind = change.type == Type::deletion    ? 0
                             : change.type == Type::insertion ? 1
                             : change.type == Type::move      ? 2
                                                              : 3;
            const IndexPath path =
                kind == 1 || kind == 2 ? *change.newIndexPath : *change.indexPath;
            const auto number = static_cast<std::int64_t>(path.section * 1000 + path.row);
            return std::pair(kind, kind == 0 ? -number : number);
        };
        for (std::size_t i = 1; i < rows_.size(); ++i)
            EXPECT_LT(sortedBy(rows_[i - 1]), sortedBy(rows_[i]));
        std::vector<std::int64_t> sections;  // deletions are negative
        for (const auto& change : sectionChanges_) {
            const auto index = static_cast<std::int64_t>(change.index);
            sections.push_back(change.type == Type::deletion ? -index - 1 : index);
        }
        EXPECT_TRUE(std::is_sorted(sections.begin(), sections.end()));
    }
    /// Each row once; rows that nobody changed neither move nor update.
    void expectNoIdleReports() const {
        std::set<std::string> reported;
        for (const auto& change : rows_) {
            EXPECT_TRUE(reported.insert(change.row.key.str()).second) << change.row.key;
            const auto flags = flags_.find(change.row.key.str());
            const bool isListed = flags != flags_.end();
            const bool needsReason = change.type == Type::move || change.type == Type::update;
            EXPECT_TRUE(isListed || !needsReason) << change.row.key;
            EXPECT_TRUE(change.flags != 0 || change.type != Type::update) << change.row.key;
            if (isListed && flags->second != 0) {
                EXPECT_EQ(change.flags, flags->second);
            }
        }
        for (const auto& [row, flags] : flags_)
            EXPECT_TRUE(flags == 0 || !survives(row) || reported.count(row)) << row;
    }
    bool survives(const std::string& row) const {
        for (std::size_t s = 0; s < newSections_.size(); ++s)
            if (const auto& rows = newSections_[s]; std::count(rows.begin(), rows.end(), row))
                if (const Section* old = oldRowsOf(mappings_->visibleGroups()[s]))
                    return std::count(old->begin(), old->end(), row) != 0;
        return false;
    }
    const Section* oldRowsOf(const String& group) const {
        const auto found = std::find(oldGroups_.begin(), oldGroups_.end(), group);
        if (found == oldGroups_.end()) return nullptr;
        return &oldSections_[static_cast<std::size_t>(found - oldGroups_.begin())];
    }

    /// How many rows of a section must move when those stay that nobody changed: all but a heaviest
    /// run of increasing places.
    std::size_t fewestThatMove(const Section& oldRows, const Section& newRows) const {
        constexpr std::size_t heavy = 1000;
        std::vector<std::size_t> places, weights;
        for (const auto& row : oldRows)
            if (const auto at = std::find(newRows.begin(), newRows.end(), row); at != newRows.end())
                places.push_back(static_cast<std::size_t>(at - newRows.begin()));
        std::size_t best = 0;
        for (std::size_t i = 0; i < places.size(); ++i) {
            std::size_t before = 0;
            for (std::size_t j = 0; j < i; ++j)
                if (places[j] < places[i]) before = std::max(before, weights[j]);
            weights.push_back(before + (flags_.count(newRows[places[i]]) ? 1 : heavy));
            best = std::max(best, weights.back());
        }
        return places.size() - (best / heavy + best % heavy);
    }
    void expectFewestMoves() const {
        std::size_t fewest = 0, inside = 0;
        for (std::size_t s = 0; s < newSections_.size(); ++s)
            if (const Section* old = oldRowsOf(mappings_->visibleGroups()[s]))
                fewest += fewestThatMove(*old, newSections_[s]);
        for (const auto& change : rows_)
            if (change.type == Type::move &&
                oldGroups_[change.indexPath->section] ==
                    mappings_->visibleGroups()[change.newIndexPath->section])
                ++inside;
        EXPECT_EQ(inside, fewest);
    }

    std::mt19937 random_;
    EditableView view_;
    std::size_t nextKey_ = 0;
    std::vector<std::string> away_;
    std::shared_ptr<YapDatabaseViewMappings> mappings_;
    std::vector<std::shared_ptr<const YapDatabaseViewChanges>> commits_;
    std::map<std::string, unsigned> flags_;  // of the rows that the step's commits list
    std::set<std::string> gone_;             // of those, after the newest commit
    /// Of a row that was away after a commit in between.
    static constexpr unsigned flagsOfReturned_ =
        YapDatabaseViewChangedObject | YapDatabaseViewChangedMetadata;
    std::vector<String> oldGroups_;
    Sections oldSections_, newSections_;
    std::vector<YapDatabaseViewSectionChange> sectionChanges_;
    RowChanges rows_;
};

TEST_F(GivenARandomView, WhenItsListIsToldThenTheOldListBecomesTheNewOne) {
    const std::size_t steps = testScale(20'000, 1'000'000);
    for (std::size_t i = 0; i < steps && !HasFailure(); ++i) {
        const unsigned seed = static_cast<unsigned>(i / 25);
        if (i % 25 == 0) start(seed);
        SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(i % 25));
        oldSections_ = shown();
        step();
        EXPECT_EQ(applied(), newSections_);
        expectTruePaths();
        expectListOrder();
        expectNoIdleReports();
        expectFewestMoves();
    }
}

}  // namespace
}  // namespace qsml
