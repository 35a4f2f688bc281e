#include "cloudkit/CKRecordID.h"

#include <gtest/gtest.h>

namespace qsml {
namespace {

TEST(GivenRecordIDs, WhenComparedThenNameZoneAndOwnerCount) {
    const CKRecordID id{"a", {"zone"}};
    EXPECT_EQ(id.zoneID.ownerName, "__defaultOwner__");
    EXPECT_EQ(id, (CKRecordID{"a", {"zone", "__defaultOwner__"}}));
    EXPECT_NE(id, (CKRecordID{"b", {"zone"}}));
    EXPECT_NE(id, (CKRecordID{"a", {"other"}}));
    EXPECT_NE(id, (CKRecordID{"a", {"zone", "_someone"}}));
    EXPECT_LT(id, (CKRecordID{"b", {"zone"}}));
}

TEST(GivenANameForTheCloud, WhenCheckedThenOnlyShortASCIIWithoutAnUnderscoreInFrontIsValid) {
    EXPECT_TRUE(isValidCloudName("a"));
    EXPECT_TRUE(isValidCloudName("queue-A_b"));
    EXPECT_TRUE(isValidCloudName(std::string(255, 'a')));
    EXPECT_FALSE(isValidCloudName(std::string(256, 'a')));
    EXPECT_FALSE(isValidCloudName(""));
    EXPECT_FALSE(isValidCloudName("_a"));
    EXPECT_FALSE(isValidCloudName("é"));
    EXPECT_FALSE(isValidCloudName(std::string_view("a\0", 2)));
}

}  // namespace
}  // namespace qsml
