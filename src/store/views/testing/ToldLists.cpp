#include "store/views/testing/ToldLists.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace qsml {
namespace {

using Type = YapDatabaseViewChangeType;

constexpr const char* toBeRead = "(to be read)";

}  // namespace

ToldLists::ToldLists(YapDatabase& database, TextShown textShown)
    : connection_(database.newConnection()), textShown_(std::move(textShown)) {
    connection_->setObjectCacheLimit(0);
    connection_->beginLongLivedReadTransaction();
}

void ToldLists::add(std::shared_ptr<YapDatabaseViewMappings> mappings) {
    connection_->read([&](YapDatabaseReadTransaction& t) {
        mappings->updateWithTransaction(t);
        auto* const view = t.ext<View>(mappings->view());
        ASSERT_TRUE(view) << mappings->view();
        lists_.push_back({mappings, shown(*view, *mappings)});
    });
}

void ToldLists::move() {
    const auto notifications = connection_->beginLongLivedReadTransaction();
    connection_->read([&](YapDatabaseReadTransaction& t) {
        for (List& list : lists_) {
            auto* const view = t.ext<View>(list.mappings->view());
            ASSERT_TRUE(view) << list.mappings->view();
            numberOfChanges_ += move(list, *view, notifications);
        }
    });
}

ToldLists::Cell ToldLists::cellAt(View& view, IndexPath path,
                                  const YapDatabaseViewMappings& mappings) const {
    const auto row = view.keyAtIndexPath(path, mappings);
    if (!row) return {{"", "(nothing)"}, ""};
    return {rowOf(*row), textShown_(view.objectAtIndexPath(path, mappings))};
}

std::vector<ToldLists::Cell> ToldLists::sectionAt(View& view, std::uint64_t section,
                                                  const YapDatabaseViewMappings& mappings) const {
    std::vector<Cell> cells;
    for (std::uint64_t row = 0; row < mappings.numberOfItemsInSection(section); ++row)
        cells.push_back(cellAt(view, {section, row}, mappings));
    return cells;
}

ToldLists::Sections ToldLists::shown(View& view, const YapDatabaseViewMappings& mappings) const {
    Sections sections;
    for (std::uint64_t section = 0; section < mappings.numberOfSections(); ++section)
        sections.push_back(sectionAt(view, section, mappings));
    return sections;
}

std::size_t ToldLists::move(List& list, View& view,
                            const YapDatabaseNotifications& notifications) const {
    SCOPED_TRACE("a list of " + list.mappings->view());
    std::vector<YapDatabaseViewSectionChange> sections;
    Changes rows;
    view.getSectionChanges(&sections, &rows, notifications, *list.mappings);
    const Texts texts = takeOut(list, rows);
    changeSections(list, view, sections);
    putIn(list, view, rows, texts);
    readAnew(list, view, rows);
    const Sections now = shown(view, *list.mappings);
    EXPECT_EQ(list.sections.size(), now.size());
    for (std::size_t s = 0; s < std::min(now.size(), list.sections.size()); ++s) {
        EXPECT_EQ(list.sections[s].size(), now[s].size()) << "section " << s;
        for (std::size_t r = 0; r < std::min(now[s].size(), list.sections[s].size()); ++r)
            EXPECT_EQ(list.sections[s][r], now[s][r]) << s << "." << r;
    }
    return rows.size();
}

/// At the old paths. Gives the texts of the rows that move.
ToldLists::Texts ToldLists::takeOut(List& list, const Changes& changes) {
    Texts texts;
    std::vector<IndexPath> leaving;
    for (const YapDatabaseViewRowChange& change : changes) {
        if (!change.indexPath) continue;
        const IndexPath path = *change.indexPath;
        if (path.section >= list.sections.size() ||
            path.row >= list.sections[path.section].size()) {
            ADD_FAILURE() << "there is no row " << path.section << "." << path.row;
            continue;
        }
        Cell& cell = list.sections[path.section][path.row];
        if (change.row.key) {  // not told after searches
            EXPECT_EQ(cell.first, rowOf(change.row));
        }
        if (change.flags & YapDatabaseViewChangedObject) cell.second = toBeRead;
        if (change.type == Type::update) continue;
        leaving.push_back(path);
        texts[cell.first] = cell.second;
    }
    std::sort(leaving.rbegin(), leaving.rend());
    for (const IndexPath path : leaving) {
        auto& section = list.sections[path.section];
        section.erase(section.begin() + static_cast<std::ptrdiff_t>(path.row));
    }
    return texts;
}

void ToldLists::changeSections(List& list, View& view,
                               const std::vector<YapDatabaseViewSectionChange>& changes) const {
    for (const YapDatabaseViewSectionChange& change : changes) {
        const auto at = list.sections.begin() + static_cast<std::ptrdiff_t>(change.index);
        if (change.type == Type::deletion) {
            ASSERT_LT(change.index, list.sections.size());
            list.sections.erase(at);
        } else {
            ASSERT_LE(change.index, list.sections.size());
            list.sections.insert(at, sectionAt(view, change.index, *list.mappings));
        }
    }
}

/// At the new paths.
void ToldLists::putIn(List& list, View& view, const Changes& changes, const Texts& texts) const {
    std::map<IndexPath, Cell> arriving;
    for (const YapDatabaseViewRowChange& change : changes) {
        if (!change.newIndexPath) continue;
        Cell cell = cellAt(view, *change.newIndexPath, *list.mappings);
        if (change.row.key) {
            EXPECT_EQ(cell.first, rowOf(change.row));
        }
        if (change.type == Type::move) cell.second = texts.at(cell.first);
        EXPECT_TRUE(arriving.emplace(*change.newIndexPath, cell).second);
    }
    for (const auto& [path, cell] : arriving) {
        ASSERT_LT(path.section, list.sections.size());
        auto& section = list.sections[path.section];
        ASSERT_LE(path.row, section.size());
        section.insert(section.begin() + static_cast<std::ptrdiff_t>(path.row), cell);
    }
}

/// The rows of which it was told that their objects changed.
void ToldLists::readAnew(List& list, View& view, const Changes& changes) const {
    if (changes.empty()) return;
    for (std::uint64_t s = 0; s < list.sections.size(); ++s)
        for (std::uint64_t row = 0; row < list.sections[s].size(); ++row) {
            Cell& cell = list.sections[s][row];
            if (cell.second == toBeRead)
                cell.second = cellAt(view, {s, row}, *list.mappings).second;
        }
}

}  // namespace qsml
