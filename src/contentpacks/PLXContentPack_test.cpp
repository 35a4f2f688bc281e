#include "contentpacks/PLXContentPack.h"

#include <gtest/gtest.h>

#include "cloudkit/CKRecord.h"
#include "contentpacks/PLXLooperPack.h"
#include "contentpacks/PLXSamplerPack.h"
#include "contentpacks/PLXTrackPack.h"
#include "contentpacks/PLXVisualizerPack.h"
#include "contentpacks/detail/samplePacks.h"
#include "testing/LogCapture.h"

namespace qsml {
namespace {

using Keys = OrderedSet<String>;

// The packs that add nothing to the table; PLXTrackPack stands for them where one is enough.
template <class Pack>
class GivenAPack : public testing::Test {};
using PlainPacks =
    testing::Types<PLXContentPack, PLXSequencerPack, PLXTrackPack, PLXVisualizerPack>;
TYPED_TEST_SUITE(GivenAPack, PlainPacks);

TYPED_TEST(GivenAPack, WhenHeldAgainstItsTableThenKeysDefaultsAndChecksAreThose) {
    expectTable<TypeParam>(packRows(), *filledPack<TypeParam>());
}

TYPED_TEST(GivenAPack, WhenArchivedThenEveryPropertyIsReadBack) {
    const auto pack = filledPack<TypeParam>();
    const auto read = recordFrom<TypeParam>(archiveOf(*pack));
    ASSERT_TRUE(read);
    EXPECT_TRUE(haveEqualFields(*read, *pack));
    EXPECT_EQ(archiveOf(*read), archiveOf(*pack));
}

template <class Pack>
class GivenAnyClassOfPacks : public testing::Test {};
using AllPacks = testing::Types<PLXContentPack, PLXSequencerPack, PLXSamplerPack, PLXLooperPack,
                                PLXTrackPack, PLXVisualizerPack>;
TYPED_TEST_SUITE(GivenAnyClassOfPacks, AllPacks);

TYPED_TEST(GivenAnyClassOfPacks, WhenAUserPackIsMadeThenItIsOfThatClassTheUsersAndInstalled) {
    const std::shared_ptr<TypeParam> pack = TypeParam::userContentPack();
    EXPECT_EQ(&pack->recordClass(), &TypeParam::classObject());
    EXPECT_EQ(pack->owner(), 1);
    EXPECT_EQ(pack->state(), 3);
    EXPECT_EQ(pack->source(), 0);
    EXPECT_EQ(pack->keySignatureIndex(), -1);
    EXPECT_EQ(pack->uuid().size(), 36U);
    EXPECT_NE(TypeParam::userContentPack()->uuid(), pack->uuid());
    EXPECT_FALSE(pack->isImmutable());
}

TYPED_TEST(GivenAnyClassOfPacks, WhenAPackIsAskedForAUserPackThenItIsOfItsOwnClass) {
    const std::shared_ptr<const PLXContentPack> pack = filledPack<TypeParam>();
    const auto users = pack->userContentPackOfOwnClass();
    EXPECT_EQ(&users->recordClass(), &TypeParam::classObject());
    EXPECT_NE(users->uuid(), pack->uuid());
    users->setUuid(nullptr);
    const auto expected = TypeParam::userContentPack();
    expected->setUuid(nullptr);
    EXPECT_TRUE(haveEqualFields(*users, *expected));
}

TEST(GivenTheKindsOfPacks, WhenTheirArchivesAreReadByOthersThenTheClassesStandInOrder) {
    const auto names = [](const PLXContentPack& pack) {
        const std::string text = archiveDescription(archiveOf(pack));
        const auto at = text.find("\"$classes\":");
        return text.substr(at + 11, text.find(']', at) - at - 10);
    };
    const std::string base =
        R"("PLXContentPack","PLXCloudDatabaseObject","PLXDatabaseObject","NSObject"])";
    EXPECT_EQ(names(*PLXTrackPack::init()), "[\"PLXTrackPack\"," + base);
    EXPECT_EQ(names(*PLXVisualizerPack::init()), "[\"PLXVisualizerPack\"," + base);
    EXPECT_EQ(names(*PLXLooperPack::init()), R"(["PLXLooperPack","PLXSequencerPack",)" + base);
    const auto sampler = PLXSamplerPack::init();
    EXPECT_EQ(names(*sampler), R"(["PLXSamplerPack","PLXSequencerPack",)" + base);
}

TEST(GivenANewPack, WhenReadThenItHasNoKeySignatureAndSaysSoInItsArchive) {
    const auto pack = PLXTrackPack::init();
    EXPECT_EQ(pack->keySignatureIndex(), -1);
    EXPECT_NE(archiveDescription(archiveOf(*pack)).find("\"keySignatureIndex\":-1"),
              std::string::npos);
    EXPECT_EQ(recordFrom<PLXTrackPack>(archiveOf(*pack))->keySignatureIndex(), -1);
    EXPECT_EQ(PLXTrackPack::initWithUUID("u")->uuid(), "u");
}

TEST(GivenAnArchiveWithoutItsKeys, WhenReadAsAPackThenTheKeySignatureIsTheFirst) {
    (void)PLXTrackPack::classObject();
    const auto pack = recordFrom<PLXTrackPack>(foreignArchive({{"$class", "PLXTrackPack"}}));
    ASSERT_TRUE(pack);
    EXPECT_EQ(pack->keySignatureIndex(), 0);
    EXPECT_FALSE(pack->uuid());
    EXPECT_FALSE(pack->name());
    EXPECT_FALSE(pack->mediaItemUUIDs());
}

TEST(GivenAFilledPack, WhenArchivedThenTheFlagsAreAnIntegerAndABool) {
    const std::string text = archiveDescription(archiveOf(*filledPack<PLXTrackPack>()));
    EXPECT_NE(text.find("\"automaticallyInstall\":1"), std::string::npos) << text;
    EXPECT_NE(text.find("\"featured\":true"), std::string::npos) << text;
}

TEST(GivenAFilledPack, WhenItsCopyChangesThenItStaysAsItWas) {
    const auto pack = filledPack<PLXTrackPack>();
    pack->makeImmutable();
    const auto before = archiveOf(*pack);
    const auto copy = pack->copy();
    EXPECT_EQ(archiveOf(*copy), before);
    EXPECT_TRUE(copy->isEqual(*pack));
    copy->setMediaItemUUIDs(Keys{"other"});
    copy->setFeatured(false);
    EXPECT_EQ(copy->changedProperties(), (KeySet{"featured", "mediaItemUUIDs"}));
    EXPECT_EQ(archiveOf(*pack), before);
    EXPECT_THROW(pack->setFeatured(false), PLXDatabaseObjectException);
    EXPECT_THROW(pack->setAddedDate(std::nullopt), PLXDatabaseObjectException);
}

TEST(GivenAFilledPack, WhenItsMonitoredPropertiesAreAskedThenEveryDeclaredOneIsThere) {
    std::vector<String> names;
    for (const RecordRow& row : packRows()) names.emplace_back(row.name);
    EXPECT_EQ(PLXTrackPack::classObject().monitoredProperties(), KeySet(names));
    EXPECT_EQ(PLXTrackPack::init()->valueForKey("featured"), Value(false));
    EXPECT_TRUE(filledPack<PLXTrackPack>()->isFeatured());
}

TEST(GivenAFilledPack, WhenItTravelsToAndFromTheCloudThenItsFolderDoesNot) {
    const auto pack = filledPack<PLXTrackPack>();
    const auto fresh = recordFrom<PLXTrackPack>(archiveOf(*pack));
    const auto before = archiveOf(*fresh);
    EXPECT_EQ(fresh->cloudKeyForLocalKey("locationURL"), "locationURL");
    EXPECT_FALSE(CKRecord::canStore(fresh->cloudValueForCloudKey("locationURL")));
    EXPECT_FALSE(fresh->setLocalValueFromCloudValue(sampleURL("file:///etc"), "locationURL"));
    EXPECT_FALSE(fresh->setValueForKey("locationURL", Value()));
    EXPECT_EQ(archiveOf(*fresh), before);
    EXPECT_FALSE(fresh->hasChangedProperties());
    EXPECT_EQ(fresh->valueForKey("locationURL"), Value(pack->locationURL()));
}

TEST(GivenAPackOfTwoFiles, WhenItNoLongerDependsOnOneThenTheOtherStays) {
    const auto pack = filledPack<PLXTrackPack>()->copy();
    pack->removeDependancyOnMediaItemUUID("item-2");
    EXPECT_EQ(pack->mediaItemUUIDs(), Keys{"item-1"});
    EXPECT_EQ(pack->changedProperties(), KeySet{"mediaItemUUIDs"});
    pack->removeDependancyOnMediaItemUUID("item-1");
    EXPECT_EQ(pack->mediaItemUUIDs(), Keys()) << "none, which is not nil";
}

TEST(GivenAPackOfTwoFiles, WhenItNeverDependedOnAFileThenNothingIsSet) {
    const auto pack = filledPack<PLXTrackPack>()->copy();
    pack->removeDependancyOnMediaItemUUID("item-3");
    pack->removeDependancyOnMediaItemUUID(nullptr);
    EXPECT_FALSE(pack->hasChangedProperties());
    pack->makeImmutable();
    EXPECT_NO_THROW(pack->removeDependancyOnMediaItemUUID("item-3"));
    EXPECT_THROW(pack->removeDependancyOnMediaItemUUID("item-1"), PLXDatabaseObjectException);
    const auto empty = PLXTrackPack::init()->copy();
    empty->removeDependancyOnMediaItemUUID("item-1");
    EXPECT_FALSE(empty->mediaItemUUIDs());
    EXPECT_FALSE(empty->hasChangedProperties());
}

TEST(GivenAPack, WhenDescribedThenClassUUIDAndNameAreThere) {
    EXPECT_EQ(filledPack<PLXTrackPack>()->description(), "<PLXTrackPack: pack-1> (Deep House)");
    EXPECT_EQ(PLXTrackPack::initWithUUID(nullptr)->description(),
              "<PLXTrackPack: (null)> ((null))");
}

TEST(GivenAFilledPack, WhenItsArchiveIsDamagedThenItReadsAsAPackOrNil) {
    LogCapture quiet;  // the UUID is among what is damaged
    readDamagedArchives(*filledPack<PLXTrackPack>());
}

}  // namespace
}  // namespace qsml
