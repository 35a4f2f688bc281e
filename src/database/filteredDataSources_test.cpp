#include <atomic>
#include <thread>

#include "database/testing/LibraryWithLists.h"
#include "store/YapDatabaseException.h"
#include "store/detail/testing/PlainSqlite.h"
#include "store/views/YapDatabaseViewMappings.h"
#include "store/views/testing/foreignCommit.h"

namespace qsml {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Filter = PLXViewDataSource::Filter;

class GivenAFilteredList : public LibraryWithLists {
protected:
    void SetUp() override {
        LibraryWithLists::SetUp();
        fill();
    }
    std::shared_ptr<PLXViewDataSource> filtered(Filter filter,
                                                std::vector<String> groups = bothGroups()) {
        auto list = PLXViewDataSource::initWithView("things", std::move(groups), std::move(filter),
                                                    manager_);
        list->setDelegate(recorder_);
        return list;
    }
    /// Lets rows through whose key contains the letter.
    static Filter with(char letter) {
        return [letter](std::string_view, std::string_view key) {
            return key.find(letter) != std::string_view::npos;
        };
    }
    Calls views() {
        Calls names;
        for (const auto& name : manager_.database()->registeredExtensionNames())
            if (name.rfind("viewdatasource-", 0) == 0) names.push_back(name);
        return names;
    }
    std::string tagOf(const PLXViewDataSource& list) {
        std::string tag;
        manager_.bgDatabaseConnection()->read([&](auto& transaction) {
            tag = transaction
                      .template ext<YapDatabaseFilteredViewTransaction>(list.viewMappings()->view())
                      ->versionTag();
        });
        return tag;
    }

    std::shared_ptr<PLXViewDataSourceDelegate> recorder_ = recorder();
};

TEST_F(GivenAFilteredList, WhenMadeThenAViewOfItsOwnIsRegistered) {
    const auto list = filtered(with('n'));
    EXPECT_EQ(list->type(), PLXViewDataSourceType::filteredView);
    EXPECT_EQ(list->groups(), bothGroups());
    EXPECT_TRUE(list->filter()("things", "banana"));
    EXPECT_FALSE(list->filter()("things", "apple"));
    EXPECT_THAT(views(), ElementsAre(list->viewMappings()->view()));
    const auto view = std::dynamic_pointer_cast<YapDatabaseFilteredView>(
        manager_.database()->registeredExtension(list->viewMappings()->view()));
    ASSERT_TRUE(view);
    EXPECT_EQ(view->parentViewName(), "things");
    EXPECT_FALSE(view->isPersistent());
    EXPECT_EQ(view->versionTag(), "0");
}

TEST_F(GivenAFilteredList, WhenMadeThenItsRowsArriveWithTheNextAnnouncement) {
    const auto list = filtered(with('a'));
    EXPECT_THAT(shown(*list), ElementsAre("", "")) << "the UI connection does not know it yet";
    settle();
    EXPECT_THAT(shown(*list), ElementsAre("fruit/1 fruit/2 fruit/4 ", "herbs/1 "));
    EXPECT_THAT(calls(), ElementsAre("begin", "insert 0.0", "insert 0.1", "insert 0.2",
                                     "insert 1.0", "end"));
}

TEST_F(GivenAFilteredList, WhenMadeInsideAWriteThenThatThrowsAndNothingIsRegistered) {
    write([&](Writer&) { EXPECT_THROW(filtered(with('a')), YapDatabaseException); });
    EXPECT_THAT(views(), IsEmpty());
}

TEST_F(GivenAFilteredList, WhenTheParentDoesNotExistThenItIsEmptyAndNothingIsRegistered) {
    const auto list = PLXViewDataSource::initWithView("nothing", bothGroups(), with('a'), manager_);
    EXPECT_THAT(views(), IsEmpty());
    list->setFilter(with('b'));
    settle();
    EXPECT_THAT(shown(*list), ElementsAre("", ""));
}

TEST_F(GivenAFilteredList, WhenARowIsOfAnotherGroupThenTheFilterIsNotAsked) {
    std::vector<std::string> asked;
    const auto list = filtered(
        [&](std::string_view collection, std::string_view key) {
            asked.push_back(std::string(collection) + "/" + std::string(key));
            return true;
        },
        {"herbs"});
    settle();
    EXPECT_THAT(asked, ElementsAre("things/basil"));
    EXPECT_THAT(shown(*list), ElementsAre("herbs/1 "));
}

TEST_F(GivenAFilteredList, WhenAskedForTheRuleThenItLooksAtGroupCollectionAndKeyOnly) {
    const auto rule = PLXViewDataSource::viewFilteringForFilter(
        [](std::string_view collection, std::string_view key) {
            return collection == "c" && key == "k";
        },
        {"a", "b"});
    manager_.bgDatabaseConnection()->read([&](auto& transaction) {
        EXPECT_TRUE(rule(transaction, "a", "c", "k"));
        EXPECT_TRUE(rule(transaction, "b", "c", "k"));
        EXPECT_FALSE(rule(transaction, "x", "c", "k"));
        EXPECT_FALSE(rule(transaction, "a", "x", "k"));
        EXPECT_FALSE(rule(transaction, "a", "c", "x"));
    });
}

TEST_F(GivenAFilteredList, WhenThereIsNoFilterThenEveryRowIsShown) {
    const auto list = filtered({});
    settle();
    EXPECT_THAT(shown(*list), ElementsAre("fruit/1 fruit/2 fruit/3 fruit/4 ", "herbs/1 "));
}

TEST_F(GivenAFilteredList, WhenRowsChangeThenOnlyThoseThatPassAreTold) {
    const auto list = filtered(with('n'));
    settle();
    calls();
    write([](Writer& t) {
        put(t, "mango", "fruit/0");
        put(t, "fig", "fruit/00");
        put(t, "apple", "fruit/9");
        put(t, "banana", "fruit/8");
    });
    settle();
    EXPECT_THAT(calls(), ElementsAre("begin", "insert 0.0", "update 0.0", "end"));
    EXPECT_THAT(shown(*list), ElementsAre("fruit/0 fruit/8 ", ""));
}

// A new filter.

TEST_F(GivenAFilteredList, WhenItsFilterIsSetThenRowsAreFilteredInTheBackgroundAndArriveAsUpdates) {
    const auto list = filtered(with('n'));
    settle();
    calls();
    list->setFilter(with('a'));
    EXPECT_TRUE(list->filter()("things", "apple"));
    EXPECT_THAT(shown(*list), ElementsAre("fruit/2 ", "")) << "not yet";
    settle();
    EXPECT_THAT(shown(*list), ElementsAre("fruit/1 fruit/2 fruit/4 ", "herbs/1 "));
    EXPECT_THAT(calls(), ElementsAre("begin", "insert 0.0", "insert 0.2", "insert 1.0", "end"));
    EXPECT_EQ(tagOf(*list), "1");
}

TEST_F(GivenAFilteredList, WhenTheFilterIsSetTwiceAtOnceThenBothTakeEffectAndTheLastOneStays) {
    const auto list = filtered(with('n'));
    settle();
    list->setFilter(with('a'));
    list->setFilter(with('r'));
    settle();
    EXPECT_EQ(tagOf(*list), "2");
    EXPECT_THAT(shown(*list), ElementsAre("fruit/3 ", ""));
    list->setFilter(with('e'));
    settle();
    EXPECT_EQ(tagOf(*list), "3");
    EXPECT_THAT(shown(*list), ElementsAre("fruit/1 fruit/3 fruit/4 ", ""));
}

TEST_F(GivenAFilteredList, WhenToldThatWhatItsFilterKnowsChangedThenRowsAreFilteredAnew) {
    const auto letter = std::make_shared<std::atomic<char>>('n');
    const auto list = filtered([letter](std::string_view, std::string_view key) {
        return key.find(letter->load()) != std::string_view::npos;
    });
    settle();
    *letter = 'r';
    list->updateFilteredView();
    settle();
    EXPECT_THAT(shown(*list), ElementsAre("fruit/3 ", ""));
    EXPECT_EQ(tagOf(*list), "1");
}

TEST_F(GivenAFilteredList, WhenTheFilterIsSetThenTheMappingsGroupsStayTheOnesShown) {
    const auto list = filtered(with('n'), {"fruit"});
    settle();
    list->setFilter(with('a'));
    settle();
    EXPECT_THAT(shown(*list), ElementsAre("fruit/1 fruit/2 fruit/4 "));
}

TEST_F(GivenAFilteredList, WhenTheSameFilterIsSetThenNothingIsTold) {
    const auto list = filtered(with('n'));
    settle();
    calls();
    list->setFilter(with('n'));
    settle();
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(tagOf(*list), "1");
}

TEST_F(GivenAFilteredList, WhenAPlainListGetsAFilterThenItKeepsItAndShowsAllRows) {
    const auto plain = list();
    const auto snapshot = manager_.database()->snapshot();
    plain->setFilter(with('n'));
    settle();
    EXPECT_TRUE(plain->filter());
    EXPECT_EQ(plain->numberOfRowsInSection(0), 4u);
    EXPECT_EQ(manager_.database()->snapshot(), snapshot);
}

TEST_F(GivenAFilteredList, WhenItsViewIsGoneThenANewFilterDoesNothing) {
    const auto list = filtered(with('n'));
    settle();
    ASSERT_TRUE(manager_.database()->unregisterExtension(list->viewMappings()->view()));
    const auto snapshot = manager_.database()->snapshot();
    list->setFilter(with('a'));
    settle();
    EXPECT_EQ(manager_.database()->snapshot(), snapshot);
    EXPECT_EQ(list->indexPathForItemWithKey("banana", "things"), std::nullopt);
}

TEST_F(GivenAFilteredList, WhenAnotherProcessCommitsThenTheLastFilterStays) {
    const auto list = filtered(with('n'));
    list->setFilter(with('r'));
    settle();
    calls();
    commitElsewhere(*manager_.database());
    EXPECT_TRUE(manager_.bgDatabaseConnection()->read([](auto&) {}));
    settle();
    EXPECT_THAT(calls(), ElementsAre("begin", "update 0.0", "end"));
    EXPECT_THAT(shown(*list), ElementsAre("fruit/3 ", ""));
}

// Two lists, and the end of them.

TEST_F(GivenAFilteredList, WhenThereAreTwoOverOneParentThenEachHasAndTakesAwayItsOwnView) {
    auto first = filtered(with('n'));
    auto second = filtered(with('r'));
    settle();
    EXPECT_EQ(views().size(), 2u);
    EXPECT_NE(first->viewMappings()->view(), second->viewMappings()->view());
    EXPECT_THAT(shown(*first), ElementsAre("fruit/2 ", ""));
    EXPECT_THAT(shown(*second), ElementsAre("fruit/3 ", ""));
    first.reset();
    settle();
    EXPECT_THAT(views(), ElementsAre(second->viewMappings()->view()));
    put("orange", "fruit/9");
    settle();
    EXPECT_THAT(shown(*second), ElementsAre("fruit/3 fruit/9 ", ""));
    second.reset();
    EXPECT_THAT(views(), IsEmpty());
}

TEST_F(GivenAFilteredList, WhenItGoesAwayThenNeitherFilterNorViewStay) {
    const auto held = std::make_shared<int>();
    auto list = filtered([held](auto, auto) { return true; });
    settle();
    list->setFilter([held](auto, auto) { return false; });
    settle();
    EXPECT_GT(held.use_count(), 1);
    const std::weak_ptr<PLXViewDataSource> gone = list;
    list.reset();
    EXPECT_TRUE(gone.expired());
    EXPECT_THAT(views(), IsEmpty());
    put("x", "fruit/9");
    settle();
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(GivenAFilteredList, WhenItGoesAwayBeforeItsNewFilterIsSetThenNothingStays) {
    const auto held = std::make_shared<int>();
    auto list = filtered(with('a'));
    list->setFilter([held](auto, auto) { return true; });
    list.reset();
    settle();
    EXPECT_THAT(views(), IsEmpty());
    put("x", "fruit/9");
    settle();
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(GivenAFilteredList, WhenItGoesAwayInsideAWriteThenItsViewGoesAfterIt) {
    auto list = filtered(with('a'));
    settle();
    write([&](Writer& t) {
        put(t, "x", "fruit/9");
        list.reset();
    });
    settle();
    EXPECT_THAT(views(), IsEmpty());
}

TEST_F(GivenAFilteredList, WhenItGoesAwayInsideAReadThenItsViewGoesToo) {
    auto list = filtered(with('a'));
    settle();
    manager_.uiDatabaseConnection()->read([&](auto&) { list.reset(); });
    EXPECT_THAT(views(), IsEmpty());
}

TEST_F(GivenAFilteredList, WhenItGoesAwayInsideItsOwnUpdateThenItsViewGoesToo) {
    auto list = filtered(with('a'));
    recorder_->willBeginUpdates = [&](PLXViewDataSource&) { list.reset(); };
    settle();
    EXPECT_THAT(views(), IsEmpty());
}

TEST_F(GivenAFilteredList, WhenItGoesAwayOnAnotherThreadThenItsViewGoesToo) {
    auto list = filtered(with('a'));
    std::thread([&] { list.reset(); }).join();
    EXPECT_THAT(views(), IsEmpty());
}

TEST_F(GivenAFilteredList, WhenItIsThereThenTheFileKeepsNoRowsOfItsView) {
    const auto list = filtered(with('a'));
    settle();
    EXPECT_EQ(PlainSqlite(path()).query(
                  "SELECT name FROM sqlite_master WHERE name LIKE '%viewdatasource-%'"),
              "");
}

}  // namespace
}  // namespace qsml
