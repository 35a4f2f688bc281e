#include "database/PLXViewDataSource.h"

#include "database/testing/LibraryWithLists.h"
#include "store/views/YapDatabaseViewMappings.h"

namespace qsml {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Range = PLXViewDataSource::Range;
using Type = PLXViewDataSourceType;

constexpr Range everything{0, INT64_MAX};

class GivenAListOfAView : public LibraryWithLists {
protected:
    void SetUp() override {
        LibraryWithLists::SetUp();
        fill();
        list_ = list();
        list_->setDelegate(recorder_);
    }
    std::shared_ptr<PLXViewDataSourceDelegate> recorder_ = recorder();
    std::shared_ptr<PLXViewDataSource> list_;
};

TEST(ViewDataSourceTypes, HaveTheNumbersThatHostsKnow) {
    EXPECT_EQ(static_cast<int>(Type::view), 0);
    EXPECT_EQ(static_cast<int>(Type::filteredView), 1);
    EXPECT_EQ(static_cast<int>(Type::manual), 2);
}

TEST_F(GivenAListOfAView, WhenMadeThenItsPropertiesSayHow) {
    EXPECT_EQ(list_->type(), Type::view);
    EXPECT_EQ(list_->groups(), bothGroups());
    EXPECT_FALSE(list_->filter());
    EXPECT_EQ(list_->delegate(), recorder_);
    EXPECT_EQ(list_->indexPathForSelectedRow(), std::nullopt);
    EXPECT_EQ(list_->viewMappings()->view(), "things");
    EXPECT_EQ(list_->viewMappings()->allGroups(), bothGroups());
    EXPECT_FALSE(list_->sectionProvider());
    EXPECT_FALSE(list_->rowProvider());
    EXPECT_FALSE(list_->itemProvider());
    EXPECT_FALSE(list_->itemIndexPathProvider());
    EXPECT_FALSE(list_->selectedItemKey());
    EXPECT_FALSE(list_->selectedCollection());
}

TEST_F(GivenAListOfAView, WhenMadeThenItShowsItsGroupsAtOnceInTheirOrder) {
    EXPECT_EQ(list_->numberOfSections(), 2u);
    EXPECT_THAT(shown(*list_), ElementsAre("fruit/1 fruit/2 fruit/3 fruit/4 ", "herbs/1 "));
    EXPECT_THAT(shown(*list({"herbs", "none", "fruit"})),
                ElementsAre("herbs/1 ", "", "fruit/1 fruit/2 fruit/3 fruit/4 "));
}

TEST_F(GivenAListOfAView, WhenAskedForWhatIsNotThereThenNothingAnswers) {
    EXPECT_EQ(list_->numberOfRowsInSection(2), 0u);
    EXPECT_TRUE(list_->itemAtIndexPath({0, 4}).isNil());
    EXPECT_TRUE(list_->itemAtIndexPath({2, 0}).isNil());
    EXPECT_EQ(list_->indexPathForItemWithKey("nobody", "things"), std::nullopt);
    EXPECT_EQ(list_->indexPathForItemWithKey("apple", "others"), std::nullopt);
}

TEST_F(GivenAListOfAView, WhenAskedForARecordThenItsPathAnswers) {
    EXPECT_EQ(list_->indexPathForItemWithKey("cherry", "things"), (IndexPath{0, 2}));
    EXPECT_EQ(list_->indexPathForItemWithKey("basil", "things"), (IndexPath{1, 0}));
    EXPECT_EQ(list({"herbs"})->indexPathForItemWithKey("cherry", "things"), std::nullopt);
}

TEST_F(GivenAListOfAView, WhenACommitIsNotYetAnnouncedThenTheListIsAsBefore) {
    put("avocado", "fruit/0");
    EXPECT_THAT(shown(*list_), ElementsAre("fruit/1 fruit/2 fruit/3 fruit/4 ", "herbs/1 "));
    settle();
    EXPECT_EQ(shown(*list_)[0], "fruit/0 fruit/1 fruit/2 fruit/3 fruit/4 ");
}

TEST_F(GivenAListOfAView, WhenTheViewDoesNotExistThenItsSectionsAreEmpty) {
    const auto list = PLXViewDataSource::initWithView("nothing", bothGroups(), manager_);
    EXPECT_THAT(shown(*list), ElementsAre("", ""));
    EXPECT_EQ(list->indexPathForItemWithKey("apple", "things"), std::nullopt);
    list->setIndexPathForSelectedRow(IndexPath{0, 0});
    EXPECT_FALSE(list->selectedItemKey());
    put("x", "fruit/9");
    settle();
    EXPECT_THAT(shown(*list), ElementsAre("", ""));
}

// Ranges.

TEST_F(GivenAListOfAView, WhenNoRangeIsSetThenItIsTheWholeGroup) {
    EXPECT_EQ(list_->rangeForGroup("fruit"), everything);
    EXPECT_EQ(list_->rangeForGroup("nowhere"), everything);
}

TEST_F(GivenAListOfAView, WhenARangeIsSetThenOnlyThatPartIsShownAtOnceAndNobodyIsTold) {
    list_->setRange({1, 2}, "fruit");
    EXPECT_THAT(shown(*list_), ElementsAre("fruit/2 fruit/3 ", "herbs/1 "));
    EXPECT_EQ(list_->rangeForGroup("fruit"), (Range{1, 2}));
    EXPECT_EQ(list_->indexPathForItemWithKey("banana", "things"), (IndexPath{0, 0}));
    EXPECT_EQ(list_->indexPathForItemWithKey("apple", "things"), std::nullopt);
    settle();
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(GivenAListOfAView, WhenARangeIsLongerThanItsGroupThenItsLengthIsWhatExists) {
    list_->setRange({3, 10}, "fruit");
    EXPECT_EQ(list_->rangeForGroup("fruit"), (Range{3, 1}));
    put("elderberry", "fruit/5");
    settle();
    EXPECT_EQ(list_->rangeForGroup("fruit"), (Range{3, 2}));
    EXPECT_EQ(shown(*list_)[0], "fruit/4 fruit/5 ");
}

TEST_F(GivenAListOfAView, WhenARangeIsSetForAnotherGroupThenNothingHappens) {
    list_->setRange({0, 1}, "nowhere");
    EXPECT_EQ(list_->rangeForGroup("nowhere"), everything);
    EXPECT_EQ(list_->numberOfRowsInSection(0), 4u);
}

// Life.

TEST_F(GivenAListOfAView, WhenItGoesAwayThenNothingOfItStays) {
    const std::weak_ptr<PLXViewDataSource> list = list_;
    const std::weak_ptr<YapDatabaseViewMappings> mappings = list_->viewMappings();
    list_.reset();
    EXPECT_TRUE(list.expired());
    EXPECT_TRUE(mappings.expired());
    put("x", "fruit/9");
    settle();
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(GivenAListOfAView, WhenItsDelegateGoesAwayThenTheListFollowsOnWithoutIt) {
    recorder_.reset();
    EXPECT_EQ(list_->delegate(), nullptr);
    put("x", "fruit/9");
    settle();
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(list_->numberOfRowsInSection(0), 5u);
}

TEST_F(GivenAListOfAView, WhenTheLibraryIsNotSetUpThenItHasNoRows) {
    PLXDatabaseManager manager;
    const auto list = PLXViewDataSource::initWithView("things", bothGroups(), manager);
    const auto filtered = PLXViewDataSource::initWithView(
        "things", bothGroups(), [](auto, auto) { return true; }, manager);
    for (const auto& source : {list, filtered}) {
        EXPECT_THAT(shown(*source), ElementsAre("", ""));
        source->setRange({0, 2}, "fruit");
        source->setFilter({});
        source->setIndexPathForSelectedRow(IndexPath{0, 0});
        EXPECT_EQ(source->indexPathForSelectedRow(), (IndexPath{0, 0}));
        EXPECT_FALSE(source->selectedItemKey());
    }
}

TEST(DataSourcesOfTheSharedManager, CanBeMadeBeforeItsSetup) {
    const auto list = PLXViewDataSource::initWithView("things", {"fruit"});
    EXPECT_EQ(list->numberOfSections(), 1u);
    EXPECT_EQ(list->numberOfRowsInSection(0), 0u);
}

// Manual ones.

class GivenAManualList : public LibraryWithLists {
protected:
    std::shared_ptr<PLXViewDataSource> list_ =
        PLXViewDataSource::initManualViewDataSourceWithSectionProvider(
            [] { return 2; }, [](std::uint64_t section) { return section + 3; },
            [](IndexPath path) { return Value(textOf(path)); },
            [this](std::string_view key, std::string_view collection) {
                asked_.push_back(std::string(key) + " in " + std::string(collection));
                return std::optional(IndexPath{1, 2});
            });
    Calls asked_;
};

TEST_F(GivenAManualList, WhenAskedThenItsCallbacksAnswer) {
    EXPECT_EQ(list_->type(), Type::manual);
    EXPECT_EQ(list_->viewMappings(), nullptr);
    EXPECT_THAT(list_->groups(), IsEmpty());
    EXPECT_EQ(list_->numberOfSections(), 2u);
    EXPECT_EQ(list_->numberOfRowsInSection(1), 4u);
    EXPECT_EQ(list_->itemAtIndexPath({1, 3}).string(), "1.3");
    EXPECT_EQ(list_->indexPathForItemWithKey("k", "c"), (IndexPath{1, 2}));
    EXPECT_THAT(asked_, ElementsAre("k in c"));
    EXPECT_TRUE(list_->sectionProvider() && list_->rowProvider() && list_->itemProvider() &&
                list_->itemIndexPathProvider());
}

TEST_F(GivenAManualList, WhenThereAreNoMappingsThenRangesAreTheWholeGroup) {
    list_->setRange({1, 2}, "fruit");
    EXPECT_EQ(list_->rangeForGroup("fruit"), everything);
}

TEST_F(GivenAManualList, WhenARowIsSelectedThenNoRecordIsRemembered) {
    list_->setIndexPathForSelectedRow(IndexPath{0, 1});
    EXPECT_EQ(list_->indexPathForSelectedRow(), (IndexPath{0, 1}));
    EXPECT_FALSE(list_->selectedItemKey());
    EXPECT_THAT(asked_, IsEmpty());
}

TEST_F(GivenAManualList, WhenTheLibraryChangesThenItHearsNothing) {
    const auto delegate = recorder();
    list_->setDelegate(delegate);
    fill();
    list_->databaseDidUpdate({std::string(PLXUIDatabaseConnectionDidUpdateNotification)});
    list_->setFilter([](auto, auto) { return false; });
    settle();
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(GivenAManualList, WhenCallbacksAreEmptyThenNothingAnswers) {
    const auto list =
        PLXViewDataSource::initManualViewDataSourceWithSectionProvider({}, {}, {}, {});
    EXPECT_EQ(list->numberOfSections(), 0u);
    EXPECT_EQ(list->numberOfRowsInSection(0), 0u);
    EXPECT_TRUE(list->itemAtIndexPath({}).isNil());
    EXPECT_EQ(list->indexPathForItemWithKey("k", "c"), std::nullopt);
}

// Before the library is ready.

TEST(GivenALibraryBeingSetUp, WhenAProviderMakesListsThenTheyStayEmptyAndRegisterNothing) {
    struct Provider : PLXDatabaseExtensionProvider {
        void setupDatabaseExtension(PLXDatabaseManager& manager) override {
            plain = PLXViewDataSource::initWithView("mediaView", {"mediaItem"}, manager);
            filtered = PLXViewDataSource::initWithView("mediaView", {"mediaItem"}, {}, manager);
        }
        std::shared_ptr<PLXViewDataSource> plain, filtered;
    };
    const TemporaryDirectory directory;
    DispatchQueue queue("tests.notifications");
    PLXDatabaseManager manager;
    YapDatabaseOptions options;
    options.notificationQueue = &queue;
    manager.setDatabaseOptions(options);
    const auto provider = std::make_shared<Provider>();
    ASSERT_TRUE(manager.setupDatabaseWithFileURL(
        URL::fileURLWithPath(directory.path() + "/library.qsml"), {provider}));
    EXPECT_EQ(manager.database()->registeredExtension(provider->filtered->viewMappings()->view()),
              nullptr);
    provider->filtered->setFilter([](auto, auto) { return true; });
    provider->filtered->updateFilteredView();
    EXPECT_TRUE(manager.bgDatabaseConnection()->readWrite(
        [](auto& t) { t.setObject(Value("row"), "key", "mediaItems"); }));
    queue.sync([] {});
    for (const auto& list : {provider->plain, provider->filtered}) {
        EXPECT_EQ(list->numberOfSections(), 1u);
        EXPECT_EQ(list->numberOfRowsInSection(0), 0u);
        EXPECT_TRUE(list->itemAtIndexPath({0, 0}).isNil());
    }
}

}  // namespace
}  // namespace qsml
