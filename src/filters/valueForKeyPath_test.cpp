#include "filters/valueForKeyPath.h"

#include <gtest/gtest.h>

#include "filters/PLXMediaItemFilterSet.h"
#include "testing/UndecodableObject.h"
#include "testing/userData.h"

namespace qsml {
namespace {

TEST(GivenARecord, WhenAKeyPathIsReadThenItGoesThroughRecordsAndValueObjects) {
    const auto data = filledUserData();
    EXPECT_EQ(valueForKeyPath(*data, "rating"), Value(4));
    EXPECT_EQ(valueForKeyPath(*data, "startPoint.time"), Value(0.5F));
    EXPECT_EQ(valueForKeyPath(*data, "cuePoints.number"), Value(Value::Array{0, 7}));
    EXPECT_EQ(valueForKeyPath(*data, "cuePoints.@count"), Value(2));
    EXPECT_EQ(valueForKeyPath(*data, "titleIDs.title"), Value(ValueSet{"Night Drive"}));
    EXPECT_EQ(valueForKeyPath(*data, "tagUUIDs"), Value(ValueSet{"tag-1", "tag-2"}));
    EXPECT_TRUE(valueForKeyPath(*data, "noSuchKey").isNil());
    EXPECT_TRUE(valueForKeyPath(*data, "startPoint.noSuchKey").isNil());
}

TEST(GivenAFilterSet, WhenAKeyPathIsReadThenItGoesThroughItsRules) {
    const auto rule = PLXMediaItemFilter::init();
    rule->setKeyPath("title");
    const auto set = PLXMediaItemFilterSet::init();
    set->setFilters(std::vector{rule});
    EXPECT_EQ(valueForKeyPath(*set, "filters.keyPath"), Value(Value::Array{"title"}));
    EXPECT_EQ(valueForKeyPath(*set, "filters.enabled"), Value(Value::Array{true}));
    EXPECT_EQ(valueForKeyPath(*set, "filters.x"), Value(Value::Array{Null()}));
}

TEST(GivenAnObjectWithoutKeys, WhenAKeyIsReadThenItIsNil) {
    EXPECT_TRUE(valueForKeyPath(UndecodableObject(), "name").isNil());
}

}  // namespace
}  // namespace qsml
