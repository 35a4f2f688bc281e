#include "tracks/PLXMediaItem.h"

#include <gtest/gtest.h>

#include "testing/recordArchives.h"
#include "tracks/registerTrackClasses.h"

namespace qsml {
namespace {

using Keys = OrderedSet<String>;

std::shared_ptr<PLXMediaItem> filled() {
    auto item = PLXMediaItem::initWithTitleID(
        PLXMediaItemTitleID::initWithTitle("Night Drive", "The Examples", 449.6F, "ISRC"));
    item->setTitle("Night Drive");
    item->setAddedDate(Date{1});
    item->setModifiedDate(Date{2});
    item->setReleaseDate(Date{3});
    item->setPurchasedDate(Date{4.5});
    item->setYear(2012);
    item->setComposer("Composer");
    item->setGrouping("Grouping");
    item->setComments("Comments");
    item->setLyrics("La la");
    item->setAlbumType(2);
    item->setAlbumTrackNumber(3);
    item->setAlbumTrackCount(12);
    item->setAlbumDiscNumber(1);
    item->setAlbumDiscCount(2);
    item->setBpm(127.3F);
    item->setExplicitContent(true);
    item->setArtistUUIDs(Keys{"artist-2", "artist-1"});
    item->setAlbumUUID("album");
    item->setGenreUUIDs(Keys{"genre-1", "genre-2"});
    item->setLabelUUID("label");
    item->setAlbumArtistUUIDs(Keys{"artist-2"});
    item->setContentType("public.mp3");
    item->setDrmProtected(true);
    item->setDuration(449.6F);
    item->setChannelCount(2);
    item->setSampleRate(44100);
    item->setBitRate(320);
    item->setOriginSourceID("origin");
    item->setMusicalKeySignatureIndex(0);
    return item;
}

const std::vector<std::string> keysInOrder = {"uuid",
                                              "titleID",
                                              "title",
                                              "addedDate",
                                              "modifiedDate",
                                              "releaseDate",
                                              "purchasedDate",
                                              "year",
                                              "composer",
                                              "grouping",
                                              "comments",
                                              "lyrics",
                                              "albumType",
                                              "albumTrackNumber",
                                              "albumTrackCount",
                                              "albumDiscNumber",
                                              "albumDiscCount",
                                              "bpm",
                                              "explicitContent",
                                              "artistUUIDs",
                                              "albumUUID",
                                              "genreUUIDs",
                                              "labelUUID",
                                              "albumArtistUUIDs",
                                              "contentType",
                                              "drmProtected",
                                              "duration",
                                              "channelCount",
                                              "sampleRate",
                                              "bitRate",
                                              "originSourceID"};

TEST(GivenANewMediaItem, WhenReadThenEveryPropertyHasItsDefault) {
    const auto item = PLXMediaItem::init();
    for (const String& name : item->monitoredProperties()) {
        const Value value = item->valueForKey(name);
        if (name == "musicalKeySignatureIndex")
            EXPECT_EQ(value, Value(-1));
        else
            EXPECT_TRUE(value.isNil() || value == Value(0)) << *name;
    }
    EXPECT_EQ(item->changedProperties(), std::nullopt);
}

TEST(GivenANewMediaItem, WhenArchivedThenTheUnknownKeyIsLeftOutAndComesBackUnknown) {
    const auto item = PLXMediaItem::init();
    EXPECT_EQ(archivedKeys(*item), keysInOrder) << "nil values keep their keys";
    const auto read = recordFrom<PLXMediaItem>(archiveOf(*item));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->musicalKeySignatureIndex(), -1);
    EXPECT_TRUE(read->isEqual(*item));
}

TEST(GivenAFilledMediaItem, WhenArchivedThenKeysStandInTheOrderOfTheTable) {
    auto expected = keysInOrder;
    expected.push_back("musicalKeySignatureIndex");
    EXPECT_EQ(archivedKeys(*filled()), expected);
    const std::string text = archiveDescription(archiveOf(*filled()));
    EXPECT_NE(
        text.find(R"(["PLXMediaItem","PLXCloudDatabaseObject","PLXDatabaseObject","NSObject"])"),
        std::string::npos);
    EXPECT_NE(text.find(R"("explicitContent":true)"), std::string::npos) << "a bool, inline";
    EXPECT_NE(text.find(R"("year":2012)"), std::string::npos) << "an integer, inline";
}

TEST(GivenAFilledMediaItem, WhenReadBackThenEveryPropertyIsEqual) {
    const auto item = filled();
    const auto read = recordFrom<PLXMediaItem>(archiveOf(*item));
    ASSERT_TRUE(read);
    for (const String& name : item->monitoredProperties())
        EXPECT_TRUE(read->valueForKey(name) == item->valueForKey(name)) << *name;
    EXPECT_EQ(read->musicalKeySignatureIndex(), 0) << "0 is a key, not the unknown marker";
    EXPECT_EQ(read->titleID()->isrc(), "ISRC");
    EXPECT_EQ(read->artistUUIDs(), (Keys{"artist-2", "artist-1"})) << "in credit order";
    EXPECT_TRUE(read->isDRMProtected());
    EXPECT_EQ(read->changedProperties(), std::nullopt);
    EXPECT_EQ(archiveOf(*read), archiveOf(*item));
}

TEST(GivenAnArchiveWithoutItsKeys, WhenReadAsAMediaItemThenDefaultsAreThere) {
    KeyedArchiver archiver;
    archiver.setClassName("PLXMediaItem", PLXMediaItemTitleID::classObject());
    const auto id = PLXMediaItemTitleID::initWithUUID("u");
    id->setTitle("kept");
    const auto bytes = archiver.archive(*id);
    const auto read = recordFrom<PLXMediaItem>({bytes.begin(), bytes.end()});
    ASSERT_TRUE(read);
    EXPECT_EQ(read->uuid(), "u");
    EXPECT_EQ(read->title(), "kept");
    EXPECT_EQ(read->year(), 0);
    EXPECT_EQ(read->bpm(), 0.0F);
    EXPECT_FALSE(read->explicitContent());
    EXPECT_EQ(read->titleID(), nullptr);
    EXPECT_EQ(read->artistUUIDs(), std::nullopt);
    EXPECT_EQ(read->musicalKeySignatureIndex(), -1);
}

TEST(GivenATitleIDForATrack, WhenAMediaItemIsMadeOfItThenItIsKeyedByTheInternalID) {
    const auto id = PLXMediaItemTitleID::initWithTitle("Song", "Band", 200, nullptr);
    EXPECT_EQ(PLXMediaItem::initWithTitleID(id)->uuid(), id->uuid());
    id->setInternalID("internal");
    const auto item = PLXMediaItem::initWithTitleID(id);
    EXPECT_EQ(item->uuid(), "internal");
    EXPECT_TRUE(item->titleID()->isEqual(*id));
    EXPECT_EQ(item->changedProperties(), (KeySet{"titleID"}));
    id->setTitle("changed");
    EXPECT_EQ(item->titleID()->title(), "Song") << "a copy of its own";
}

TEST(GivenATempo, WhenRoundedThenHalvesGoAwayFromZero) {
    const auto item = PLXMediaItem::init();
    const std::pair<float, std::int64_t> cases[] = {
        {120.49F, 120}, {120.5F, 121}, {-0.5F, -1}, {127.5F, 128}, {0.0F, 0}};
    for (const auto& [bpm, rounded] : cases) {
        item->setBpm(bpm);
        EXPECT_EQ(item->roundedBPM(), rounded) << bpm;
    }
    EXPECT_EQ(item->valueForKey("roundedBPM"), Value(0));
    EXPECT_FALSE(item->setValueForKey("roundedBPM", Value(1)));
}

TEST(GivenAFilledMediaItem, WhenItsCopyChangesThenItStaysAsItWas) {
    const auto item = filled();
    item->makeImmutable();
    const auto before = archiveOf(*item);
    const auto copy = item->copy();
    EXPECT_EQ(archiveOf(*copy), before);
    EXPECT_NE(copy->titleID(), item->titleID());
    copy->setArtistUUIDs(Keys{"other"});
    copy->setTitleID(nullptr);
    copy->setBpm(1);
    EXPECT_EQ(copy->changedProperties(), (KeySet{"artistUUIDs", "bpm", "titleID"}));
    EXPECT_EQ(archiveOf(*item), before);
    EXPECT_THROW(item->setBpm(1), PLXDatabaseObjectException);
    EXPECT_THROW(item->setTitleID(nullptr), PLXDatabaseObjectException);
    EXPECT_THROW(item->setDrmProtected(false), PLXDatabaseObjectException);
}

TEST(GivenAMediaItemWithEntities, WhenItsEdgesAreAskedThenTheyStandInOrder) {
    const auto item = filled();
    item->setArtistUUIDs(Keys{"a", "b"});
    item->setAlbumArtistUUIDs(Keys{"a"});
    item->setGenreUUIDs(Keys{"g", "h"});
    item->setAlbumUUID("l");
    item->setLabelUUID(nullptr);
    const std::vector<YapDatabaseRelationshipEdge> expected = {
        {"mediaItemMediaArtist", "a", "mediaArtists", 32},
        {"mediaItemMediaArtist", "b", "mediaArtists", 32},
        {"mediaItemMediaAlbumArtist", "a", "mediaArtists", 32},
        {"mediaItemMediaGenre", "g", "mediaGenres", 32},
        {"mediaItemMediaGenre", "h", "mediaGenres", 32},
        {"mediaItemMediaAlbum", "l", "mediaAlbums", 32}};
    EXPECT_EQ(item->yapDatabaseRelationshipEdges(), expected);
    item->setLabelUUID("r");
    EXPECT_EQ(item->yapDatabaseRelationshipEdges().back(),
              (YapDatabaseRelationshipEdge{"mediaItemMediaLabel", "r", "mediaLabels", 32}));
}

TEST(GivenAMediaItemWithoutEntities, WhenItsEdgesAreAskedThenThereAreNone) {
    const auto item = PLXMediaItem::init();
    EXPECT_TRUE(item->yapDatabaseRelationshipEdges().empty());
    item->setArtistUUIDs(Keys());
    EXPECT_TRUE(item->yapDatabaseRelationshipEdges().empty());
    EXPECT_EQ(PLXMediaItemAlbumLabelRelationshipEdgeName, "mediaItemMediaAlbumLabel");
}

TEST(GivenTheTrackClasses, WhenRegisteredThenArchivesFindThemByName) {
    registerTrackClasses();
    EXPECT_EQ(ArchiveClass::named("PLXMediaItem"), &PLXMediaItem::classObject());
    EXPECT_EQ(ArchiveClass::named("PLXMediaItemTitleID"), &PLXMediaItemTitleID::classObject());
    EXPECT_EQ(PLXMediaItem::classObject().cloudType(), "MediaItem");
    EXPECT_EQ(PLXMediaItem::initWithUUID("U")->cloudUUID(), "mediaitem-U");
}

TEST(GivenAFilledMediaItem, WhenItsArchiveIsDamagedThenItReadsAsARecordOrNil) {
    readDamagedArchives(*filled());
}

}  // namespace
}  // namespace qsml
