#include "contentpacks/PLXContentPackMediaItem.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <limits>

#include "foundation/text.h"
#include "testing/recordTable.h"

namespace qsml {
namespace {

using Item = PLXContentPackMediaItem;

std::shared_ptr<Item> filled() {
    auto item = Item::initWithName("Kick", "pack-1");
    item->setFileName("kick.wav");
    item->setCategory("Drums");
    item->setBpm(124.5F);
    return item;
}

TEST(GivenAFileOfAPack, WhenHeldAgainstItsTableThenKeysDefaultsAndChecksAreThose) {
    expectTable<Item>({{"name", Takes::text},
                       {"fileName", Takes::text},
                       {"category", Takes::text},
                       {"contentPackUUID", Takes::text},
                       {"bpm", Takes::real, 0.0F}},
                      *filled());
}

TEST(GivenAFileOfAPack, WhenArchivedThenEveryPropertyIsReadBack) {
    const auto item = filled();
    const auto read = recordFrom<Item>(archiveOf(*item));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->uuid(), item->uuid());
    for (const String& name : item->monitoredProperties())
        EXPECT_EQ(read->valueForKey(name), item->valueForKey(name)) << name;
    EXPECT_EQ(archiveOf(*read), archiveOf(*item));
    EXPECT_EQ(Item::classObject().cloudType(), "ContentPackMediaItem");
}

TEST(GivenANameAndAPack, WhenAnItemIsMadeThenItsUUIDIsTheDigestOfBoth) {
    const auto item = Item::initWithName("Kick", "pack-1");
    EXPECT_EQ(item->uuid(), "1fd38bfb1ddf39f3d47b5fd92ee914c1");
    EXPECT_EQ(item->uuid(), md5Hash("pack-1Kick"));
    EXPECT_EQ(item->name(), "Kick");
    EXPECT_EQ(item->contentPackUUID(), "pack-1");
    EXPECT_FALSE(item->fileName());
    EXPECT_EQ(Item::initWithName("Kick", "pack-1")->uuid(), item->uuid()) << "the same file";
    EXPECT_NE(Item::initWithName("kick", "pack-1")->uuid(), item->uuid());
    EXPECT_NE(Item::initWithName("Kick", "pack-2")->uuid(), item->uuid());
}

TEST(GivenANameAndAPack, WhenOneIsNilThenItCountsAsTheTextForNil) {
    EXPECT_EQ(Item::initWithName(nullptr, "pack-1")->uuid(), md5Hash("pack-1(null)"));
    EXPECT_EQ(Item::initWithName("Kick", nullptr)->uuid(), md5Hash("(null)Kick"));
    EXPECT_EQ(Item::initWithName(nullptr, nullptr)->uuid(), md5Hash("(null)(null)"));
    EXPECT_EQ(Item::initWithName("", "")->uuid(), md5Hash(""));
}

TEST(GivenTwoPacks, WhenUUIDAndNameJoinToOneTextThenTheirItemsShareAUUID) {
    const auto one = Item::initWithName("bc", "a");
    const auto two = Item::initWithName("c", "ab");
    EXPECT_EQ(one->uuid(), two->uuid());
    EXPECT_EQ(one->contentPackUUID(), "a") << "each keeps what it says of itself";
    EXPECT_EQ(two->contentPackUUID(), "ab");
}

TEST(GivenAnItemWithoutAName, WhenMadeThenItHasNoUUIDUntilOneIsDerived) {
    const auto item = Item::init();
    EXPECT_FALSE(item->uuid());
    EXPECT_FALSE(item->isEqual(*Item::init())) << "it is nobody's equal";
    item->setName("Kick");
    item->setContentPackUUID("pack-1");
    EXPECT_FALSE(item->uuid());
    EXPECT_EQ(recordFrom<Item>(archiveOf(*item))->uuid(), filled()->uuid());
    item->setUuid(item->derivedUUID());
    EXPECT_TRUE(item->isEqual(*filled()));
    EXPECT_EQ(Item::initWithUUID("own")->uuid(), "own");
}

TEST(GivenAnArchiveWithoutAUUID, WhenReadThenItIsDerivedAndWrittenBack) {
    const auto read = [](Value uuid) {
        Dictionary root{
            {"$class", "PLXContentPackMediaItem"}, {"name", "Kick"}, {"contentPackUUID", "pack-1"}};
        root.set("uuid", std::move(uuid));
        (void)Item::classObject();
        return recordFrom<Item>(foreignArchive(root));
    };
    const String derived = filled()->uuid();
    EXPECT_EQ(read({})->uuid(), derived);
    EXPECT_EQ(read(Dictionary{{"$nil", true}})->uuid(), derived);
    EXPECT_EQ(read(Value(Data(std::vector<std::uint8_t>{1})))->uuid(), derived) << "no text";
    EXPECT_EQ(read("own")->uuid(), "own");
    EXPECT_EQ(read("")->uuid(), "");
    EXPECT_EQ(recordFrom<Item>(archiveOf(*read({})))->uuid(), derived);
    EXPECT_FALSE(read({})->hasChangedProperties());
}

TEST(GivenAnItem, WhenItsNameChangesLaterThenItStaysTheSameRecord) {
    const auto item = filled();
    item->setName("Snare");
    EXPECT_EQ(item->uuid(), filled()->uuid());
    EXPECT_EQ(recordFrom<Item>(archiveOf(*item))->uuid(), filled()->uuid());
    EXPECT_NE(item->derivedUUID(), item->uuid());
}

TEST(GivenAnItem, WhenItsCopyChangesThenItStaysAsItWas) {
    const auto item = filled();
    item->makeImmutable();
    const auto copy = item->copy();
    EXPECT_TRUE(copy->isEqual(*item));
    copy->setBpm(1);
    EXPECT_EQ(copy->changedProperties(), KeySet{"bpm"});
    EXPECT_EQ(item->bpm(), 124.5F);
    EXPECT_THROW(item->setFileName("x"), PLXDatabaseObjectException);
}

// Merging.

TEST(GivenTwoDescriptionsOfAFile, WhenMergedThenWhatIsPresentAndDiffersIsTakenAndTheNameStays) {
    const auto theirs = Item::initWithName("Other", "pack-2");
    theirs->setFileName("kick-2.wav");
    theirs->setBpm(60);
    const auto merged = filled()->mergedCopyWithContentPackMediaItem(*theirs);
    EXPECT_EQ(merged->uuid(), filled()->uuid());
    EXPECT_EQ(merged->name(), "Kick");
    EXPECT_EQ(merged->fileName(), "kick-2.wav");
    EXPECT_EQ(merged->category(), "Drums") << "theirs is nil";
    EXPECT_EQ(merged->contentPackUUID(), "pack-2");
    EXPECT_EQ(merged->bpm(), 60.0F);
    EXPECT_EQ(merged->changedProperties(), (KeySet{"bpm", "contentPackUUID", "fileName"}));
    theirs->setCategory("");
    EXPECT_EQ(filled()->mergedCopyWithContentPackMediaItem(*theirs)->category(), "");
}

TEST(GivenTwoDescriptionsOfAFile, WhenTheTempoIsNotAboveZeroThenItIsNotTaken) {
    const auto theirs = Item::init();
    for (const float bpm : {0.0F, -0.0F, -1.0F, std::nanf("")}) {
        theirs->setBpm(bpm);
        EXPECT_FALSE(filled()->mergedCopyWithContentPackMediaItem(*theirs)->hasChangedProperties());
    }
    theirs->setBpm(std::numeric_limits<float>::denorm_min());
    EXPECT_EQ(filled()->mergedCopyWithContentPackMediaItem(*theirs)->bpm(), theirs->bpm());
}

std::shared_ptr<Item> anyItem() {
    const auto text = [] { return *rc::gen::element<String>(String(), "", "a", "b"); };
    auto item = Item::initWithName(text(), text());
    item->setFileName(text());
    item->setCategory(text());
    item->setBpm(*rc::gen::element(-1.0F, 0.0F, 1.0F, 2.5F));
    return item;
}

RC_GTEST_PROP(FileMerge, LeavesItsInputsAndChangesNothingTheSecondTime, ()) {
    const auto mine = anyItem(), theirs = anyItem();
    const auto before = std::pair(archiveOf(*mine), archiveOf(*theirs));
    const auto merged = mine->mergedCopyWithContentPackMediaItem(*theirs);
    RC_ASSERT(before == std::pair(archiveOf(*mine), archiveOf(*theirs)));
    RC_ASSERT(!merged->mergedCopyWithContentPackMediaItem(*theirs)->hasChangedProperties());
    RC_ASSERT(merged->fileName() == (theirs->fileName() ? theirs : mine)->fileName());
    RC_ASSERT(merged->category() == (theirs->category() ? theirs : mine)->category());
    RC_ASSERT(merged->contentPackUUID() ==
              (theirs->contentPackUUID() ? theirs : mine)->contentPackUUID());
    RC_ASSERT(merged->bpm() == (theirs->bpm() > 0 ? theirs : mine)->bpm());
    RC_ASSERT(merged->name() == mine->name());
    RC_ASSERT(merged->uuid() == mine->uuid());
}

TEST(GivenAFileOfAPack, WhenItsArchiveIsDamagedThenItReadsAsOneOrNil) {
    readDamagedArchives(*filled());
}

}  // namespace
}  // namespace qsml
