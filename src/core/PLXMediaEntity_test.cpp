#include "core/PLXMediaEntity.h"

#include <gtest/gtest.h>

#include "core/PLXMediaAlbum.h"
#include "core/PLXMediaArtist.h"
#include "core/PLXMediaGenre.h"
#include "core/PLXMediaLabel.h"
#include "core/registerCoreClasses.h"
#include "foundation/text.h"
#include "testing/recordArchives.h"

namespace qsml {
namespace {

template <class Entity>
class GivenAMediaEntity : public testing::Test {};
using Kinds = testing::Types<PLXMediaArtist, PLXMediaAlbum, PLXMediaGenre, PLXMediaLabel>;
TYPED_TEST_SUITE(GivenAMediaEntity, Kinds);

TYPED_TEST(GivenAMediaEntity, WhenMadeFromANameThenItsUUIDIsTheDigestOfTheNameAsGiven) {
    const auto entity = TypeParam::initWithName("abc");
    EXPECT_EQ(entity->name(), "abc");
    EXPECT_EQ(entity->uuid(), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(entity->uuid(), md5Hash("abc"));
    EXPECT_TRUE(entity->isEqual(*TypeParam::initWithName("abc")));
    EXPECT_FALSE(entity->isEqual(*TypeParam::initWithName("ABC")));
    EXPECT_NE(entity->uuid(), TypeParam::initWithName("abc ")->uuid());
}

TYPED_TEST(GivenAMediaEntity, WhenTheNameIsNilThenThereIsNone) {
    EXPECT_EQ(TypeParam::initWithName(nullptr), nullptr);
    ASSERT_TRUE(TypeParam::initWithName(""));
    EXPECT_EQ(TypeParam::initWithName("")->uuid(), "d41d8cd98f00b204e9800998ecf8427e");
}

TYPED_TEST(GivenAMediaEntity, WhenItsNameIsSetThenThatIsMonitored) {
    const auto entity = TypeParam::initWithName("a");
    EXPECT_EQ(TypeParam::classObject().monitoredProperties(), (KeySet{"name"}));
    EXPECT_EQ(entity->changedProperties(), (KeySet{"name"})) << "set through the setter";
    entity->makeImmutable();
    EXPECT_THROW(entity->setName("b"), PLXDatabaseObjectException);
    const auto copy = entity->copy();
    copy->setName("b");
    EXPECT_EQ(entity->name(), "a");
    EXPECT_EQ(copy->uuid(), entity->uuid());
}

TYPED_TEST(GivenAMediaEntity, WhenArchivedThenItIsReadBack) {
    const auto entity = TypeParam::initWithName("Ängie");
    EXPECT_EQ(archivedKeys(*entity), (std::vector<std::string>{"uuid", "name"}));
    const auto read = recordFrom<TypeParam>(archiveOf(*entity));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->name(), "Ängie");
    EXPECT_TRUE(read->isEqual(*entity));
}

TYPED_TEST(GivenAMediaEntity, WhenItsArchiveIsDamagedThenItReadsAsARecordOrNil) {
    readDamagedArchives(*TypeParam::initWithName("A name"));
}

TEST(GivenTheFourKinds, WhenTheirCloudTypesAreAskedThenEachHasItsOwn) {
    EXPECT_EQ(PLXMediaArtist::classObject().cloudType(), "MediaArtist");
    EXPECT_EQ(PLXMediaAlbum::classObject().cloudType(), "MediaAlbum");
    EXPECT_EQ(PLXMediaGenre::classObject().cloudType(), "MediaGenre");
    EXPECT_EQ(PLXMediaLabel::classObject().cloudType(), "MediaLabel");
    EXPECT_FALSE(PLXMediaArtist::initWithName("a")->isEqual(*PLXMediaAlbum::initWithName("a")));
}

TEST(GivenTheFourKinds, WhenRegisteredThenArchivesFindThemByName) {
    registerCoreClasses();
    EXPECT_EQ(ArchiveClass::named("PLXMediaArtist"), &PLXMediaArtist::classObject());
    EXPECT_EQ(ArchiveClass::named("PLXMediaAlbum"), &PLXMediaAlbum::classObject());
    EXPECT_EQ(ArchiveClass::named("PLXMediaGenre"), &PLXMediaGenre::classObject());
    EXPECT_EQ(ArchiveClass::named("PLXMediaLabel"), &PLXMediaLabel::classObject());
    EXPECT_NE(ArchiveClass::named("PLXFileBookmark"), nullptr);
}

}  // namespace
}  // namespace qsml
