// Whatever is written, in whatever order: the views show what the rows say, and what they announce
// makes an old list the new one.
#include <gtest/gtest.h>

#include "store/views/YapDatabaseViewMappings.h"
#include "store/views/testing/OpenViews.h"
#include "store/views/testing/ToldLists.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

class GivenViews : public OpenViews {};

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

TEST_F(GivenViews, WhenListsDoWhatTheyAreToldThenTheyShowTheViews) {
    ViewHistory history(store_.connection(), 3, 40);
    ToldLists lists(store_.database(), [](const Value& object) { return object.string().str(); });
    const auto add = [&](const char* view, std::vector<String> groups) {
        auto mappings = YapDatabaseViewMappings::initWithGroups(std::move(groups), view);
        lists.add(mappings);
        return mappings;
    };
    for (const char* view : {"songs", "found", "evenSongs", "evenFound"})
        add(view, {"a", "b", "c"});
    for (const char* view : {"entries", "evenEntries"}) add(view, {"l0", "l1", "l2"});
    const auto ranged = add("songs", {"c", "a"});
    using Range = YapDatabaseViewRangeOptions;
    ranged->setRangeOptions(Range::fixedRange(5, 2), "a");
    ranged->setRangeOptions(Range::fixedRange(3, 1, Range::Pin::end), "c");
    const std::size_t rounds = testScale(1500, 20000);
    for (std::size_t i = 0; i < rounds && !HasFailure(); ++i) {
        for (std::size_t commits = i % 3; commits < 3; ++commits) history.commit();
        lists.move();
        if (HasFailure()) ADD_FAILURE() << "round " << i;
    }
    EXPECT_GT(lists.numberOfChanges(), rounds);
}

}  // namespace
}  // namespace qsml
