#include "organisation/PLXMediaItemTagGroup.h"

#include <gtest/gtest.h>

#include "store/YapDatabaseRelationshipNode.h"
#include "testing/recordTable.h"

namespace qsml {
namespace {

using Texts = OrderedSet<String>;

std::shared_ptr<PLXMediaItemTagGroup> filled() {
    auto group = PLXMediaItemTagGroup::initWithUUID("group");
    group->setName("Mood");
    group->setTags(Texts{"dark", "bright"});
    return group;
}

TEST(GivenArchivesOfATagGroup, WhenHeldAgainstTheTableThenNamesOrderDefaultsAndChecksAreThose) {
    expectTable<PLXMediaItemTagGroup>({{"name", Takes::text}, {"tags", Takes::set}}, *filled());
    EXPECT_EQ(PLXMediaItemTagGroup::init()->monitoredProperties(), (KeySet{"name", "tags"}));
}

TEST(GivenArchivesOfATagGroup, WhenAnotherProgramWroteThemThenTheyAreRead) {
    const Value tags(ValueSet{Value("dark"), Value("bright")});
    const auto group = recordFrom<PLXMediaItemTagGroup>(foreignArchive(
        {{"$class", "PLXMediaItemTagGroup"}, {"uuid", "u"}, {"name", "Mood"}, {"tags", tags}}));
    ASSERT_TRUE(group);
    EXPECT_EQ(group->uuid(), "u");
    EXPECT_EQ(group->name(), "Mood");
    EXPECT_EQ(group->valueForKey("tags"), tags);
}

TEST(GivenAFilledTagGroup, WhenArchivedAndCopiedThenItIsEqualAndTheCopyIsItsOwn) {
    const auto group = filled();
    const auto before = archiveOf(*group);
    EXPECT_NE(archiveDescription(before).find(R"(["NSSet")"), std::string::npos);
    const auto read = recordFrom<PLXMediaItemTagGroup>(before);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->valueForKey("tags"), Value(ValueSet{Value("bright"), Value("dark")}));
    group->makeImmutable();
    const auto copy = group->copy();
    EXPECT_EQ(archiveOf(*copy), before);
    copy->setTags(Texts{"other"});
    EXPECT_EQ(copy->changedProperties(), (KeySet{"tags"}));
    EXPECT_EQ(archiveOf(*group), before);
    EXPECT_THROW(group->setTags({}), PLXDatabaseObjectException);
    EXPECT_EQ(group->cloudUUID(), "mediaitemtaggroup-group");
    EXPECT_EQ(dynamic_cast<YapDatabaseRelationshipNode*>(copy.get()), nullptr) << "no edges";
}

TEST(GivenAFilledTagGroup, WhenItsArchiveIsDamagedThenItReadsAsARecordOrNil) {
    readDamagedArchives(*filled());
}

}  // namespace
}  // namespace qsml
