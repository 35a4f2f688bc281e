#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include "contentpacks/PLXLooperPack.h"
#include "contentpacks/PLXSamplerPack.h"
#include "contentpacks/PLXTrackPack.h"
#include "contentpacks/PLXVisualizerPack.h"
#include "contentpacks/detail/samplePacks.h"
#include "contentpacks/detail/samplePads.h"

namespace qsml {
namespace {

const std::vector<const char*> catalogueFields = {"name",
                                                  "summary",
                                                  "artist",
                                                  "genre",
                                                  "duration",
                                                  "bpm",
                                                  "keySignatureIndex",
                                                  "previewURL",
                                                  "imageURL",
                                                  "fileSize",
                                                  "featured",
                                                  "sortOrder",
                                                  "automaticallyInstall",
                                                  "mediaItemUUIDs",
                                                  "referencedContentPackUUIDs"};
const std::vector<const char*> localFields = {"owner", "source", "state", "addedDate"};

TEST(GivenAPackAndACatalogueEntry, WhenOnlyOneFieldIsThereThenItAloneIsTaken) {
    for (const char* field : catalogueFields) {
        const auto mine = PLXTrackPack::initWithUUID("mine");
        const auto theirs = PLXTrackPack::initWithUUID("theirs");
        ASSERT_TRUE(theirs->setValueForKey(field, filledPack<PLXTrackPack>()->valueForKey(field)));
        const auto merged = mine->mergedCopyWithContentPack(*theirs);
        EXPECT_EQ(merged->valueForKey(field), theirs->valueForKey(field)) << field;
        EXPECT_EQ(merged->changedProperties(), KeySet{field}) << "through its setter, and no other";
        EXPECT_EQ(merged->uuid(), "mine");
    }
}

TEST(GivenAPackAndACatalogueEntry, WhenTheEntryIsBareThenOnlyFlagsAndPlaceAreTaken) {
    const auto mine = filledPack<PLXTrackPack>();
    const auto merged = mine->mergedCopyWithContentPack(*PLXTrackPack::init());
    EXPECT_EQ(merged->changedProperties(),
              (KeySet{"automaticallyInstall", "featured", "sortOrder"}));
    EXPECT_FALSE(merged->isFeatured());
    EXPECT_FALSE(merged->automaticallyInstall());
    EXPECT_EQ(merged->sortOrder(), 0);
    EXPECT_EQ(merged->name(), "Deep House");
    EXPECT_EQ(merged->keySignatureIndex(), 7);
    EXPECT_EQ(merged->duration(), 61.5F);
    EXPECT_EQ(merged->state(), 3) << "an installed pack stays installed";
}

TEST(GivenAPackAndACatalogueEntry, WhenTheEntryHasLocalFieldsThenTheyAreNotTaken) {
    const auto mine = PLXTrackPack::initWithUUID("mine");
    const auto theirs = PLXTrackPack::initWithUUID("theirs");
    for (const char* field : localFields)
        theirs->setValueForKey(field, filledPack<PLXTrackPack>()->valueForKey(field));
    EXPECT_TRUE(haveEqualFields(*mine->mergedCopyWithContentPack(*theirs), *mine));
}

TEST(GivenAPackAndACatalogueEntry, WhenAFieldIsEqualThenItsSetterIsNotUsed) {
    const auto mine = filledPack<PLXTrackPack>();
    const auto theirs = filledPack<PLXTrackPack>();
    theirs->setReferencedContentPackUUIDs(OrderedSet<String>{"pack-3", "pack-2"});
    EXPECT_FALSE(mine->mergedCopyWithContentPack(*theirs)->hasChangedProperties())
        << "the order of a set does not count";
    theirs->setMediaItemUUIDs(OrderedSet<String>{"item-1", "item-2"});
    EXPECT_EQ(mine->mergedCopyWithContentPack(*theirs)->changedProperties(),
              KeySet{"mediaItemUUIDs"})
        << "that of the files does";
}

TEST(GivenAPackAndACatalogueEntry, WhenACollectionOrTextIsEmptyThenItIsPresent) {
    const auto theirs = PLXTrackPack::init();
    theirs->setName("");
    theirs->setMediaItemUUIDs(OrderedSet<String>());
    const auto merged = filledPack<PLXTrackPack>()->mergedCopyWithContentPack(*theirs);
    EXPECT_EQ(merged->name(), "");
    EXPECT_EQ(merged->mediaItemUUIDs(), OrderedSet<String>());
}

TEST(GivenAFrozenPack, WhenMergedThenTheCopyCanBeChanged) {
    const auto mine = filledPack<PLXTrackPack>();
    const auto theirs = PLXTrackPack::init();
    mine->makeImmutable();
    theirs->makeImmutable();
    EXPECT_FALSE(mine->mergedCopyWithContentPack(*theirs)->isImmutable());
}

TEST(GivenASamplerPack, WhenMergedThenPadsThatAreThereAndDifferAreTaken) {
    const auto mine = PLXSamplerPack::userContentPack();
    const auto theirs = PLXSamplerPack::init();
    EXPECT_EQ(layoutOf(mine->mergedCopyWithContentPack(*theirs)->pads()), "--------|--------|");
    theirs->setPads(std::vector{PLXSequencerPads({filledPad("a")})});
    const std::shared_ptr<PLXSamplerPack> merged = mine->mergedCopyWithContentPack(*theirs);
    EXPECT_EQ(merged->pads(), theirs->pads());
    EXPECT_NE((*merged->pads())[0]->front(), (*theirs->pads())[0]->front()) << "copies";
    EXPECT_EQ(merged->changedProperties(), KeySet{"pads"});
    EXPECT_FALSE(merged->mergedCopyWithContentPack(*theirs)->hasChangedProperties());
}

TEST(GivenALooperPack, WhenMergedThenTracksThatAreThereAndDifferAreTaken) {
    const auto mine = PLXLooperPack::init();
    const auto theirs = PLXLooperPack::init();
    theirs->setTracks(std::vector{filledTrack()});
    const std::shared_ptr<PLXLooperPack> merged = mine->mergedCopyWithContentPack(*theirs);
    ASSERT_TRUE(merged->tracks());
    EXPECT_TRUE(merged->tracks()->front()->isEqual(*filledTrack()));
    EXPECT_EQ(merged->changedProperties(), KeySet{"tracks"});
    EXPECT_FALSE(merged->mergedCopyWithContentPack(*theirs)->hasChangedProperties());
    EXPECT_TRUE(merged->mergedCopyWithContentPack(*PLXLooperPack::init())->tracks()) << "nil";
}

TEST(GivenPacksOfTwoKinds, WhenMergedThenOnlyWhatBothHaveIsTaken) {
    const auto sampler = filledPack<PLXSamplerPack>();
    sampler->setPads(std::vector{PLXSequencerPads({filledPad("a")})});
    const auto looper = filledPack<PLXLooperPack>();
    looper->setName("Loops");
    looper->setTracks(std::vector{filledTrack()});
    const auto merged = sampler->mergedCopyWithContentPack(*looper);
    EXPECT_EQ(merged->changedProperties(), KeySet{"name"});
    EXPECT_EQ(merged->pads(), sampler->pads());
    EXPECT_EQ(looper->mergedCopyWithContentPack(*sampler)->name(), "Deep House");
    EXPECT_EQ(PLXTrackPack::init()->mergedCopyWithContentPack(*sampler)->artist(), "The Examples");
}

TEST(GivenAPackByItsBase, WhenMergedThenTheCopyIsOfItsOwnClassAndArrangement) {
    const std::shared_ptr<PLXContentPack> mine = PLXSamplerPack::init();
    const auto theirs = PLXSamplerPack::userContentPack();
    const auto merged = mine->mergedCopyWithContentPack(*theirs);
    const auto sampler = std::dynamic_pointer_cast<PLXSamplerPack>(merged);
    ASSERT_TRUE(sampler);
    EXPECT_EQ(sampler->pads(), theirs->pads());
}

// Laws, over packs of every kind whose fields are often absent and often equal.

template <class Element>
rc::Gen<std::vector<Element>> few(rc::Gen<Element> gen) {
    return rc::gen::mapcat(rc::gen::inRange(0, 4), [gen](int count) {
        return rc::gen::container<std::vector<Element>>(static_cast<std::size_t>(count), gen);
    });
}

String anyText() { return *rc::gen::element<String>(String(), "", "a", "b"); }

std::optional<OrderedSet<String>> anyTexts() {
    if (*rc::gen::arbitrary<bool>()) return std::nullopt;
    return OrderedSet<String>(*few(rc::gen::element<String>("a", "b", "c")));
}

std::optional<URL> anyURL() {
    const String text = anyText();
    return text.empty() ? std::nullopt : URL::withString("https://example.com/" + text.str());
}

PLXSequencerPads anyPads() {
    if (*rc::gen::inRange(0, 4) == 0) return std::nullopt;
    PLXSequencerPads::Elements pads;
    for (int i = *rc::gen::inRange(0, 3); i > 0; --i)
        pads.push_back(PLXSequencerPad::initWithMediaItemUUID(anyText()));
    return pads;
}

void arrange(PLXSamplerPack& pack) {
    PLXSequencerPadDecks decks(std::in_place);
    for (int i = *rc::gen::inRange(0, 3); i > 0; --i) decks->push_back(anyPads());
    if (*rc::gen::arbitrary<bool>()) pack.setPads(std::move(decks));
}

void arrange(PLXLooperPack& pack) {
    std::vector<std::shared_ptr<PLXLooperTrack>> tracks;
    for (int i = *rc::gen::inRange(0, 3); i > 0; --i) {
        tracks.push_back(PLXLooperTrack::init());
        tracks.back()->setCategory(anyText());
        tracks.back()->setPads(anyPads());
    }
    if (*rc::gen::arbitrary<bool>()) pack.setTracks(tracks);
}

std::shared_ptr<PLXContentPack> arrangedPack() {
    const int kind = *rc::gen::inRange(0, 4);
    if (kind == 0) return PLXTrackPack::init();
    if (kind == 1) return PLXVisualizerPack::init();
    if (kind == 2) {
        const auto pack = PLXSamplerPack::init();
        arrange(*pack);
        return pack;
    }
    const auto pack = PLXLooperPack::init();
    arrange(*pack);
    return pack;
}

std::shared_ptr<PLXContentPack> anyPack() {
    const auto number = [] { return *rc::gen::element<std::int64_t>(-1, 0, 1, 3); };
    const auto pack = arrangedPack();
    pack->setName(anyText());
    pack->setSummary(anyText());
    pack->setArtist(anyText());
    pack->setGenre(anyText());
    pack->setDuration(static_cast<float>(number()));
    pack->setBpm(static_cast<float>(number()));
    pack->setKeySignatureIndex(number());
    pack->setMediaItemUUIDs(anyTexts());
    pack->setReferencedContentPackUUIDs(anyTexts());
    pack->setOwner(number());
    pack->setSource(number());
    pack->setState(number());
    pack->setAutomaticallyInstall(*rc::gen::arbitrary<bool>());
    pack->setPreviewURL(anyURL());
    pack->setImageURL(anyURL());
    pack->setFileSize(number());
    pack->setFeatured(*rc::gen::arbitrary<bool>());
    pack->setAddedDate(Date{static_cast<double>(number())});
    pack->setSortOrder(number());
    return pack;
}

RC_GTEST_PROP(PackMerge, LeavesBothInputsAsTheyWere, ()) {
    const auto mine = anyPack(), theirs = anyPack();
    const auto before = std::pair(archiveOf(*mine), archiveOf(*theirs));
    const auto changed = std::pair(mine->changedProperties(), theirs->changedProperties());
    const auto merged = mine->mergedCopyWithContentPack(*theirs);
    merged->setName("changed");
    merged->setMediaItemUUIDs(std::nullopt);
    RC_ASSERT(before == std::pair(archiveOf(*mine), archiveOf(*theirs)));
    RC_ASSERT(changed == std::pair(mine->changedProperties(), theirs->changedProperties()));
}

RC_GTEST_PROP(PackMerge, TakesWhatIsPresentAndKeepsTheRest, ()) {
    const auto mine = anyPack(), theirs = anyPack();
    const auto merged = mine->mergedCopyWithContentPack(*theirs);
    RC_ASSERT(merged->uuid() == mine->uuid());
    RC_ASSERT(&merged->recordClass() == &mine->recordClass());
    for (const char* field : localFields)
        RC_ASSERT(merged->valueForKey(field) == mine->valueForKey(field));
    for (const std::string_view field : catalogueFields) {
        const Value other = theirs->valueForKey(field);
        const bool isAbsent =
            other.isNil() ||
            ((field == "duration" || field == "bpm" || field == "fileSize") && other == Value(0)) ||
            (field == "keySignatureIndex" && other == Value(-1));
        RC_ASSERT(merged->valueForKey(field) == (isAbsent ? mine->valueForKey(field) : other));
    }
    for (const char* field : {"pads", "tracks"}) {
        const Value other = theirs->valueForKey(field);
        const bool isTaken = &mine->recordClass() == &theirs->recordClass() && !other.isNil();
        RC_ASSERT(merged->valueForKey(field) == (isTaken ? other : mine->valueForKey(field)));
    }
}

RC_GTEST_PROP(PackMerge, ChangesNothingTheSecondTime, ()) {
    const auto mine = anyPack(), theirs = anyPack();
    const auto merged = mine->mergedCopyWithContentPack(*theirs);
    const auto again = merged->mergedCopyWithContentPack(*theirs);
    RC_ASSERT(haveEqualFields(*again, *merged));
    RC_ASSERT(!again->hasChangedProperties());
    RC_ASSERT(!mine->mergedCopyWithContentPack(*mine)->hasChangedProperties());
}

RC_GTEST_PROP(PackMerge, DoesNotDependOnWhatTheInputsShare, ()) {
    const auto mine = anyPack(), theirs = anyPack();
    const auto readBack = [](const PLXContentPack& pack) {
        return recordFrom<PLXContentPack>(archiveOf(pack));
    };
    const auto merged = mine->mergedCopyWithContentPack(*theirs);
    RC_ASSERT(
        haveEqualFields(*merged, *readBack(*mine)->mergedCopyWithContentPack(*readBack(*theirs))));
}

}  // namespace
}  // namespace qsml
