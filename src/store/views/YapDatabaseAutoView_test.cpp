#include "store/views/YapDatabaseAutoView.h"

#include <set>
#include <sstream>
#include <stdexcept>

#include "store/detail/testing/PlainSqlite.h"
#include "store/views/testing/ViewHistory.h"
#include "testing/LogCapture.h"

namespace qsml {
namespace {

/// Rows of "things" in the group that the row under the same key in "kinds" names, or in "other".
/// Rules throw for the keys in broken_.
class GivenAView : public OpenStore {
protected:
    virtual YapDatabaseViewSorting sorting() {
        YapDatabaseViewSorting sorting;
        sorting.sortKey = [this](Reader&, std::string_view, const YapDatabaseRow& row) {
            if (brokenOrder_.count(row.key)) throw std::runtime_error("no order today");
            return row.object.string().str();
        };
        return sorting;
    }
    void SetUp() override {
        OpenStore::SetUp();
        add();
    }
    void add() {
        const auto grouping = [this](Reader& t, const YapDatabaseRow& row) {
            if (broken_.count(row.key)) throw std::runtime_error("no group today");
            const String kind = t.objectForKey(row.key, "kinds").string();
            return kind ? kind : String("other");
        };
        Error error;
        ASSERT_TRUE(store_.database().registerExtension(
            std::make_shared<YapDatabaseAutoView>(grouping, sorting(), "1",
                                                  YapDatabaseViewOptions{{{"things"}}}),
            "view", &error))
            << error.description;
    }
    /// One commit.
    bool put(const std::vector<std::pair<std::string, std::string>>& rows) {
        return store_.connection().readWrite([&](Writer& t) {
            for (const auto& [key, text] : rows) t.setObject(Value(text), key, "things");
        });
    }
    bool touch(std::string_view key) {
        return store_.connection().readWrite(
            [&](Writer& t) { t.touchObjectForKey(key, "things"); });
    }
    Groups shown() {
        Groups groups;
        store_.connection().read([&](Reader& t) { groups = shownBy(t, "view"); });
        return groups;
    }

    using Keys = std::set<std::string, std::less<>>;
    Keys broken_, brokenOrder_;
    LogCapture log_;
};

TEST_F(GivenAView, WhenTheGroupingThrowsForARowThenItIsLeftOutAndTheOthersStand) {
    broken_ = {"b"};
    EXPECT_TRUE(put({{"a", "1"}, {"b", "2"}, {"c", "3"}}));
    EXPECT_EQ(store_.text("b", "things"), "2");
    EXPECT_EQ(shown(), (Groups{{"other", {"a", "c"}}}));
    EXPECT_EQ(log_.linesWith("\"b\" of \"things\" is not in the view").size(), 1u);
    EXPECT_EQ(log_.linesWith("no group today").size(), 1u);
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAView, WhenTheSortKeyThrowsForARowThenItLeavesAndTheOthersStand) {
    EXPECT_TRUE(put({{"a", "1"}, {"b", "2"}, {"c", "3"}}));
    brokenOrder_ = {"b"};
    EXPECT_TRUE(put({{"b", "0"}, {"c", "0"}}));
    EXPECT_EQ(shown(), (Groups{{"other", {"c", "a"}}}));
    EXPECT_EQ(log_.linesWith("no order today").size(), 1u);
}

TEST_F(GivenAView, WhenARowWasLeftOutThenItComesBackWithATouchOnceTheRuleWorks) {
    broken_ = {"b"};
    EXPECT_TRUE(put({{"a", "1"}, {"b", "2"}}));
    broken_.clear();
    EXPECT_EQ(shown(), (Groups{{"other", {"a"}}}));
    EXPECT_TRUE(touch("b"));
    EXPECT_EQ(shown(), (Groups{{"other", {"a", "b"}}}));
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAView, WhenWhatARuleReadsIsDamagedThenTheCommitFailsAndTheRowStaysInItsPlace) {
    constexpr int rows = 100;
    ASSERT_TRUE(put({{"without kind", "k"}}));
    const auto keyOf = [](int row) { return "key" + std::to_string(row); };
    for (const char* collection : {"kinds", "things"})
        ASSERT_TRUE(store_.connection().readWrite([&](Writer& t) {
            for (int row = 0; row < rows; ++row)
                t.setObject(String(std::string(500, 'k')), keyOf(row), collection);
        }));
    for (int row = 0; row < rows; ++row) EXPECT_TRUE(touch(keyOf(row)));
    const Groups before = shown();
    ASSERT_EQ(before.size(), 2u);
    store_.close();
    // The rows of a collection stand together; those of the younger one come last.
    const std::string page = PlainSqlite(store_.path())
                                 .query(
                                     "SELECT pageno FROM dbstat WHERE name='row' AND "
                                     "pagetype='leaf' ORDER BY path DESC LIMIT 1 OFFSET 2");
    std::string bytes = contentOf(store_.path());
    bytes.replace((std::stoul(page) - 1) * 8192, 8192, std::string(8192, '\x7f'));
    writeFile(store_.path(), bytes);
    ASSERT_TRUE(store_.open());
    add();
    int refused = 0;
    for (int row = 0; row < rows; ++row) refused += touch(keyOf(row)) ? 0 : 1;
    EXPECT_GT(refused, 0);
    EXPECT_LT(refused, rows);
    EXPECT_EQ(shown(), before);
}

TEST_F(GivenAView, WhenWhatARuleReadsHasChangedThenATouchRegroupsTheRow) {
    EXPECT_TRUE(put({{"a", "1"}, {"b", "2"}}));
    EXPECT_TRUE(store_.set("a", "letters", "kinds"));
    EXPECT_EQ(shown(), (Groups{{"other", {"a", "b"}}}));
    EXPECT_TRUE(touch("a"));
    EXPECT_EQ(shown(), (Groups{{"letters", {"a"}}, {"other", {"b"}}}));
    EXPECT_EQ(store_.faults(), "");
}

/// The row of "lists" under a group's name lists its keys, between blanks.
class GivenAListedView : public GivenAView {
protected:
    YapDatabaseViewSorting sorting() override {
        YapDatabaseViewSorting sorting;
        sorting.list.collections = {"lists"};
        sorting.list.groups = [](const YapDatabaseRow& row) {
            return std::vector<String>{row.key};
        };
        sorting.list.keys = [](Reader& t, std::string_view group, const auto& block) {
            std::istringstream keys(t.objectForKey(group, "lists").string().str());
            for (std::string key; keys >> key;) {
                if (key == "!") throw std::runtime_error("no list today");
                block(key);
            }
        };
        return sorting;
    }
};

TEST_F(GivenAListedView, WhenAListCannotBeReadThenItsRowsStandByAgeUntilItCan) {
    EXPECT_TRUE(put({{"a", "1"}, {"b", "2"}, {"c", "3"}}));
    EXPECT_TRUE(store_.set("other", "c a b", "lists"));
    EXPECT_EQ(shown(), (Groups{{"other", {"c", "a", "b"}}}));
    EXPECT_TRUE(store_.set("other", "c ! b", "lists"));
    EXPECT_EQ(shown(), (Groups{{"other", {"a", "b", "c"}}}));
    EXPECT_EQ(log_.linesWith("\"other\"").size(), 1u);
    EXPECT_EQ(log_.linesWith("cannot be read: no list today").size(), 1u);
    EXPECT_TRUE(store_.set("other", "b c a", "lists"));
    EXPECT_EQ(shown(), (Groups{{"other", {"b", "c", "a"}}}));
    EXPECT_EQ(store_.faults(), "");
}

}  // namespace
}  // namespace qsml
