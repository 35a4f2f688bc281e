#include "organisation/PLXMediaItemTag.h"

#include <gtest/gtest.h>

#include "store/YapDatabaseRelationshipNode.h"
#include "testing/recordTable.h"

namespace qsml {
namespace {

TEST(GivenArchivesOfATag, WhenHeldAgainstTheTableThenNamesOrderDefaultsAndChecksAreThose) {
    expectTable<PLXMediaItemTag>({{"value", Takes::text}}, *PLXMediaItemTag::initWithValue("x"));
    EXPECT_EQ(PLXMediaItemTag::init()->monitoredProperties(), (KeySet{"value"}));
}

TEST(GivenATagText, WhenTagsAreMadeOfItTwiceThenTheyAreTwoObjectsOfOneUUID) {
    const auto tag = PLXMediaItemTag::initWithValue("warm-up");
    const auto again = PLXMediaItemTag::initWithValue("warm-up");
    EXPECT_NE(tag, again);
    EXPECT_EQ(tag->uuid(), again->uuid());
    EXPECT_TRUE(tag->isEqual(*again));
    EXPECT_EQ(tag->value(), "warm-up");
    EXPECT_EQ(tag->changedProperties(), (KeySet{"value"}));
    EXPECT_NE(tag->uuid(), PLXMediaItemTag::initWithValue("Warm-up")->uuid()) << "case counts";
}

// The digests are stored keys: they were taken with another program and never change.
TEST(GivenTagTexts, WhenTagsAreMadeOfThemThenTheUUIDsAreTheirDigests) {
    EXPECT_EQ(PLXMediaItemTag::initWithValue("vocal")->uuid(), "b9d314234237a33b6c212d4c9d58b567");
    EXPECT_EQ(PLXMediaItemTag::initWithValue("Größe")->uuid(), "d248453369cf82a6a64617f1357089c5");
    EXPECT_EQ(PLXMediaItemTag::initWithValue("")->uuid(), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(PLXMediaItemTag::initWithValue(nullptr)->uuid(), nullptr);
}

TEST(GivenATag, WhenArchivedAndCopiedThenItIsEqualAndTheCopyIsItsOwn) {
    const auto tag = PLXMediaItemTag::initWithValue("vocal");
    const auto before = archiveOf(*tag);
    EXPECT_EQ(archiveOf(*recordFrom<PLXMediaItemTag>(before)), before);
    tag->makeImmutable();
    const auto copy = tag->copy();
    copy->setValue("other");
    EXPECT_EQ(copy->uuid(), tag->uuid()) << "only making a tag derives its UUID";
    EXPECT_EQ(archiveOf(*tag), before);
    EXPECT_THROW(tag->setValue("x"), PLXDatabaseObjectException);
    EXPECT_EQ(PLXMediaItemTag::initWithUUID("U")->cloudUUID(), "mediaitemtag-U");
    EXPECT_EQ(dynamic_cast<YapDatabaseRelationshipNode*>(copy.get()), nullptr) << "no edges";
}

TEST(GivenATag, WhenItsArchiveIsDamagedThenItReadsAsARecordOrNil) {
    readDamagedArchives(*PLXMediaItemTag::initWithValue("vocal"));
}

}  // namespace
}  // namespace qsml
