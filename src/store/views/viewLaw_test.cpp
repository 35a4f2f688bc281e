// Whatever is written, in whatever order: the views show what the rows say, and what they announce
// makes an old list the new one.
#include <gtest/gtest.h>

#include "store/views/YapDatabaseViewMappings.h"
#include "store/views/YapDatabaseViewTransaction.h"
#include "store/views/testing/ViewHistory.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

class GivenViews : public OpenStore {
protected:
    void SetUp() override {
        store_.options.synchronous = YapDatabaseSynchronous::normal;
        OpenStore::SetUp();
        registerViews(store_.database());
    }
};

TEST_F(GivenViews, WhenEachOfManyCommitsIsDoneThenTheyShowTheRows) {
    ViewHistory history(store_.connection(), 1, 40);
    const std::size_t commits = testScale(1500, 20000);
    for (std::size_t i = 0; i < commits && !HasFailure(); ++i) {
        history.commit();
        store_.connection().read(
            [&](Reader& t) { expectViewsOfRows(t, history.word(), history.divisor()); });
        if (i % 300 == 299) {
            EXPECT_EQ(store_.faults(), "") << i;
        }
        if (HasFailure()) ADD_FAILURE() << "commit " << i;
    }
}

TEST_F(GivenViews, WhenGroupsAreLargeThenTheyShowTheRows) {
    ViewHistory history(store_.connection(), 2, 1200);
    const std::size_t commits = testScale(3000, 20000);
    for (std::size_t i = 0; i < commits && !HasFailure(); ++i) {
        history.commit();
        if (i % 100 != 99) continue;
        store_.connection().read(
            [&](Reader& t) { expectViewsOfRows(t, history.word(), history.divisor()); });
        EXPECT_EQ(store_.faults(), "") << i;
    }
}

TEST_F(GivenViews, WhenTheStoreIsOpenedAnewThenTheyShowTheRows) {
    for (unsigned seed = 10; seed < 20 && !HasFailure(); ++seed) {
        ViewHistory history(store_.connection(), seed, 300);
        for (int i = 0; i < 60; ++i) history.commit();
        store_.drain();
        ASSERT_TRUE(store_.open());
        registerViews(store_.database());
        store_.connection().read([&](Reader& t) { expectViewsOfRows(t, "", 2); });
        EXPECT_EQ(store_.faults(), "");
    }
}

/// A list on a connection of its own that knows the view only by what it is told.
class ToldList {
public:
    ToldList(YapDatabase& database, std::string view, std::vector<String> groups)
        : connection_(database.newConnection()),
          mappings_(YapDatabaseViewMappings::initWithGroups(groups, view)) {
        connection_->beginLongLivedReadTransaction();
        connection_->read([&](Reader& t) { mappings_->updateWithTransaction(t); });
        rows_ = shown();
    }
    YapDatabaseViewMappings& mappings() { return *mappings_; }
    void reload() {
        connection_->read([&](Reader& t) { mappings_->updateWithTransaction(t); });
        rows_ = shown();
    }
    /// Moves to the newest commit and does what it is told.
    void move() {
        const auto notifications = connection_->beginLongLivedReadTransaction();
        std::vector<YapDatabaseViewSectionChange> sections;
        std::vector<YapDatabaseViewRowChange> rows;
        connection_->read([&](Reader& t) {
            auto* view = t.ext<YapDatabaseViewTransaction>(mappings_->view());
            view->getSectionChanges(&sections, &rows, notifications, *mappings_);
        });
        const Rows now = shown();
        apply(rows, now);
        EXPECT_TRUE(sections.empty());
        EXPECT_EQ(rows_, now) << mappings_->view();
    }

private:
    using Rows = std::vector<std::vector<std::string>>;
    Rows shown() {
        Rows all;
        connection_->read([&](Reader& t) {
            auto* view = t.ext<YapDatabaseViewTransaction>(mappings_->view());
            for (std::uint64_t s = 0; s < mappings_->numberOfSections(); ++s) {
                all.emplace_back();
                for (std::uint64_t r = 0; r < mappings_->numberOfItemsInSection(s); ++r) {
                    const auto row = view->keyAtIndexPath({s, r}, *mappings_);
                    all.back().push_back(row ? row->key.str() : "(nothing)");
                }
            }
        });
        return all;
    }
    /// Deletions and moves go out at their old places, insertions and moves come in at their new.
    /// Of insertions whose row is not told it asks, as a screen does.
    void apply(const std::vector<YapDatabaseViewRowChange>& changes, const Rows& now) {
        std::map<IndexPath, std::string> going, coming;
        for (const YapDatabaseViewRowChange& change : changes) {
            const std::string key = change.row.key.str();
            if (change.type == YapDatabaseViewChangeType::update) {
                const std::string& row = rows_[change.indexPath->section][change.indexPath->row];
                EXPECT_EQ(row, key.empty() ? row : key);
                continue;
            }
            EXPECT_TRUE(!change.indexPath || going.emplace(*change.indexPath, key).second);
            EXPECT_TRUE(!change.newIndexPath || coming.emplace(*change.newIndexPath, key).second);
        }
        for (auto at = going.rbegin(); at != going.rend(); ++at) {
            auto& section = rows_[at->first.section];
            ASSERT_LT(at->first.row, section.size());
            if (!at->second.empty()) {
                EXPECT_EQ(section[at->first.row], at->second);
            }
            section.erase(section.begin() + static_cast<std::ptrdiff_t>(at->first.row));
        }
        for (const auto& [path, key] : coming) {
            auto& section = rows_[path.section];
            ASSERT_LE(path.row, section.size());
            section.insert(section.begin() + static_cast<std::ptrdiff_t>(path.row),
                           key.empty() ? now[path.section][path.row] : key);
        }
    }

    std::shared_ptr<YapDatabaseConnection> connection_;
    std::shared_ptr<YapDatabaseViewMappings> mappings_;
    Rows rows_;
};

TEST_F(GivenViews, WhenListsDoWhatTheyAreToldThenTheyShowTheViews) {
    ViewHistory history(store_.connection(), 3, 40);
    std::vector<std::unique_ptr<ToldList>> lists;
    for (const char* view : {"songs", "found", "evenSongs", "evenFound"})
        lists.push_back(std::make_unique<ToldList>(store_.database(), view,
                                                   std::vector<String>{"a", "b", "c"}));
    for (const char* view : {"entries", "evenEntries"})
        lists.push_back(std::make_unique<ToldList>(store_.database(), view,
                                                   std::vector<String>{"l0", "l1", "l2"}));
    lists.push_back(
        std::make_unique<ToldList>(store_.database(), "songs", std::vector<String>{"c", "a"}));
    lists.back()->mappings().setRangeOptions(YapDatabaseViewRangeOptions::fixedRange(5, 2), "a");
    lists.back()->mappings().setRangeOptions(
        YapDatabaseViewRangeOptions::fixedRange(3, 1, YapDatabaseViewRangeOptions::Pin::end), "c");
    lists.back()->reload();
    const std::size_t rounds = testScale(1500, 20000);
    for (std::size_t i = 0; i < rounds && !HasFailure(); ++i) {
        for (std::size_t commits = i % 3; commits < 3; ++commits) history.commit();
        for (const auto& list : lists) list->move();
        if (HasFailure()) ADD_FAILURE() << "round " << i;
    }
}

}  // namespace
}  // namespace qsml
