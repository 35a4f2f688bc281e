#include "ListedRows.h"

#include <gmock/gmock.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <map>
#include <optional>

namespace qsml::app {
namespace {

using Type = ListedChange::Type;

/// Sections of rows, each "KEY=SHOWN".
using Plain = std::vector<std::pair<std::string, std::vector<std::string>>>;

ListedRows listOf(const Plain& plain) {
    ListedRows list;
    for (const auto& [group, rows] : plain) {
        ListedSection section{group, {}};
        for (const std::string& row : rows)
            section.rows.push_back({"c", row.substr(0, row.find('=')), row});
        list.push_back(section);
    }
    return list;
}

Plain plainOf(const ListedRows& list) {
    Plain plain;
    for (const ListedSection& section : list) {
        plain.emplace_back(section.group.str(), std::vector<std::string>());
        for (const ListedRow& row : section.rows) plain.back().second.push_back(row.shown);
    }
    return plain;
}

/// What a list on a screen makes of the changes: takes out what goes or moves, then puts everything
/// that is new or moved where it is to be.
Plain applied(const ListedRows& before, const std::vector<ListedChange>& changes) {
    ListedRows list = before;
    std::map<IndexPath, ListedRow> put;
    std::map<IndexPath, bool> taken;
    std::vector<std::string> goneGroups;
    std::map<std::uint64_t, String> newGroups;
    for (const ListedChange& change : changes) {
        if (change.type == Type::deleteSection) goneGroups.push_back(change.group.str());
        if (change.type == Type::insertSection) newGroups[change.section] = change.group;
        if (change.type == Type::updateRow)
            list[change.before->section].rows[change.before->row].shown = change.row.shown;
        if (change.type == Type::deleteRow || change.type == Type::moveRow)
            taken[*change.before] = true;
        if (change.type == Type::insertRow || change.type == Type::moveRow)
            put[*change.after] = change.row;
    }
    for (auto path = taken.rbegin(); path != taken.rend(); ++path) {
        auto& rows = list[path->first.section].rows;
        rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(path->first.row));
    }
    for (const std::string& group : goneGroups)
        std::erase_if(list, [&](const ListedSection& s) { return s.group == group; });
    for (const auto& [section, group] : newGroups)
        list.insert(list.begin() + static_cast<std::ptrdiff_t>(section), ListedSection{group, {}});
    for (const auto& [path, row] : put) {
        auto& rows = list[path.section].rows;
        rows.insert(rows.begin() + static_cast<std::ptrdiff_t>(path.row), row);
    }
    return plainOf(list);
}

/// Sections of a, b and c that have rows, the rows from a few keys and texts.
Plain anyPlain() {
    std::map<std::string, std::vector<std::string>> sections;
    std::map<int, bool> used;
    const int count = *rc::gen::inRange(0, 12);
    for (int i = 0; i < count; ++i) {
        const int key = *rc::gen::inRange(0, 14);
        if (!used.emplace(key, true).second) continue;
        sections[std::string(1, static_cast<char>('a' + *rc::gen::inRange(0, 3)))].push_back(
            std::to_string(key) + "=" + std::to_string(*rc::gen::inRange(0, 2)));
    }
    return {sections.begin(), sections.end()};
}

RC_GTEST_PROP(ChangesOfLists, MakeOneListOfTheOther, ()) {
    const Plain before = anyPlain(), after = anyPlain();
    const ListedRows list = listOf(before);
    RC_ASSERT(applied(list, changesBetween(list, listOf(after))) == after);
    RC_ASSERT(changesBetween(list, list).empty());
}

TEST(GivenTwoLists, WhenOneRowMovesThenThatIsTheOnlyChange) {
    const auto changes = changesBetween(listOf({{"g", {"1", "2", "3", "4", "5"}}}),
                                        listOf({{"g", {"5", "1", "2", "3", "4"}}}));
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].type, Type::moveRow);
    EXPECT_EQ(changes[0].before, (IndexPath{0, 4}));
    EXPECT_EQ(changes[0].after, (IndexPath{0, 0}));
}

TEST(GivenTwoLists, WhenARowIsShownDifferentlyThenItIsUpdatedWhereItWas) {
    const auto changes =
        changesBetween(listOf({{"g", {"1=a", "2=a", "3=a"}}}), listOf({{"g", {"2=a", "3=b"}}}));
    ASSERT_EQ(changes.size(), 2u);
    EXPECT_EQ(changes[0].type, Type::deleteRow);
    EXPECT_EQ(changes[1].type, Type::updateRow);
    EXPECT_EQ(changes[1].before, (IndexPath{0, 2}));
    EXPECT_EQ(changes[1].row.shown, "3=b");
}

}  // namespace
}  // namespace qsml::app
