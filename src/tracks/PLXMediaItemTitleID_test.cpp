#include "tracks/PLXMediaItemTitleID.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <thread>

#include "foundation/text.h"
#include "testing/recordArchives.h"

namespace qsml {
namespace {

using TitleID = PLXMediaItemTitleID;

// Archives the keys of a title ID with values of any kind.
class OddTitleID final : public PLXCloudDatabaseObject {
    QSML_RECORD(OddTitleID, PLXCloudDatabaseObject)
    QSML_PROPERTY(Value, title, setTitle)
    QSML_PROPERTY(String, artist, setArtist)
    QSML_PROPERTY(Value, isrc, setIsrc)
    QSML_PROPERTY(Value, stringRepresentation, setStringRepresentation)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(OddTitleID)

TEST(GivenMetadata, WhenATitleIDIsMadeThenItsTextIsNormalisedAndItsUUIDTheDigest) {
    const auto id = TitleID::titleIDWithTitle(" Night Drive\n", "The Examples", 449.6F, "ISRC");
    EXPECT_EQ(id->title(), " Night Drive\n") << "as given";
    EXPECT_EQ(id->isrc(), "ISRC");
    EXPECT_EQ(id->duration(), 449.6F);
    EXPECT_EQ(id->stringRepresentation(), "night drive\tthe examples\t450");
    EXPECT_EQ(id->hashRepresentation(), "717882d6da131ecd87af300ad339144f");
    EXPECT_EQ(id->uuid(), id->hashRepresentation());
    EXPECT_FALSE(id->isLegacyTitleID());
}

TEST(GivenMetadata, WhenItDiffersInCaseBlanksAndFractionsThenTheKeyIsTheSame) {
    const auto one = TitleID::initWithTitle("Song", "Band", 200.4F, nullptr);
    const auto two = TitleID::initWithTitle(" song ", "BAND", 199.6F, "other");
    EXPECT_EQ(one->stringRepresentation(), "song\tband\t200");
    EXPECT_EQ(two->stringRepresentation(), one->stringRepresentation());
    EXPECT_EQ(two->uuid(), one->uuid());
}

TEST(GivenMetadata, WhenTheDurationLiesHalfwayThenItRoundsAwayFromZero) {
    const auto textOf = [](float duration) {
        return TitleID::initWithTitle("a", "b", duration, nullptr)->stringRepresentation();
    };
    EXPECT_EQ(textOf(200.5F), "a\tb\t201");
    EXPECT_EQ(textOf(201.4F), "a\tb\t201");
    EXPECT_EQ(textOf(200.49F), "a\tb\t200");
    EXPECT_EQ(textOf(121.5F), "a\tb\t122");
    EXPECT_EQ(textOf(-0.5F), "a\tb\t-1");
}

TEST(GivenMetadata, WhenMadeThenTheSettersHaveRecordedIt) {
    const auto id = TitleID::initWithTitle("a", "b", 1, "c");
    EXPECT_EQ(id->changedProperties(), (KeySet{"artist", "duration", "isrc", "title"}));
    EXPECT_EQ(TitleID::classObject().monitoredProperties(),
              (KeySet{"artist", "duration", "hashRepresentation", "internalID", "isrc",
                      "legacyTitleID", "stringRepresentation", "title"}));
}

TEST(GivenNoMetadata, WhenATitleIDIsMadeThenItIsLegacy) {
    const auto empty = TitleID::initWithTitle(nullptr, "", 0, "isrc");
    EXPECT_TRUE(empty->isLegacyTitleID());
    EXPECT_EQ(empty->uuid(), "b1de3e6f1eadcc6cdd67ad7cd2635dc4");
    EXPECT_FALSE(TitleID::initWithTitle("a", nullptr, 0, nullptr)->isLegacyTitleID());
    EXPECT_FALSE(TitleID::initWithTitle(nullptr, "a", 0, nullptr)->isLegacyTitleID());
    EXPECT_FALSE(TitleID::initWithTitle(nullptr, nullptr, 0.1F, nullptr)->isLegacyTitleID());
    EXPECT_EQ(empty->valueForKey("legacyTitleID"), Value(true));
}

TEST(GivenAText, WhenATitleIDIsMadeOfItThenTheTextIsKeptAndItIsLegacy) {
    const auto id = TitleID::initWithStringRepresentation(" ABC ");
    EXPECT_EQ(id->stringRepresentation(), " ABC ");
    EXPECT_EQ(id->uuid(), md5Hash(" ABC "));
    EXPECT_TRUE(id->isLegacyTitleID());
}

class GivenATitleID : public testing::Test {
protected:
    std::shared_ptr<TitleID> id_ = TitleID::initWithTitle("Song", "Band", 200, "ISRC");
};

TEST_F(GivenATitleID, WhenTheInternalIDWasNeverSetThenItReadsAsTheUUIDAndIsKeptFromThen) {
    const String uuid = id_->uuid();
    EXPECT_EQ(std::as_const(*id_).internalID(), uuid);
    EXPECT_EQ(id_->internalID(), uuid);
    id_->setUuid("other");
    EXPECT_EQ(id_->internalID(), uuid);
    id_->setInternalID("own");
    EXPECT_EQ(id_->internalID(), "own");
    EXPECT_TRUE(id_->changedProperties()->contains("internalID"));
    EXPECT_EQ(id_->valueForKey("internalID"), Value("own"));
}

TEST_F(GivenATitleID, WhenFrozenThenItsDerivedValuesCanBeReadByManyThreads) {
    const auto read = recordFrom<TitleID>(archiveOf(*TitleID::initWithUUID("u")));
    ASSERT_TRUE(read);
    read->makeImmutable();
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&read] {
            EXPECT_EQ(read->internalID(), "u");
            EXPECT_EQ(read->stringRepresentation(), "\t\t0");
            EXPECT_EQ(read->hashRepresentation(), "b1de3e6f1eadcc6cdd67ad7cd2635dc4");
            EXPECT_EQ(read->cloudUUID(), "mediaitemtitleid-u");
            EXPECT_NE(read->hash(), 0U);
        });
    for (auto& thread : threads) thread.join();
    EXPECT_THROW(read->setInternalID("b"), PLXDatabaseObjectException);
}

TEST_F(GivenATitleID, WhenItsTextWasDerivedThenLaterMetadataDoesNotChangeIt) {
    const String uuid = id_->uuid();
    id_->setTitle("Another");
    EXPECT_EQ(id_->stringRepresentation(), "song\tband\t200");
    EXPECT_EQ(id_->hashRepresentation(), uuid);
}

TEST_F(GivenATitleID, WhenArchivedThenTheInternalIDIsThereAndAllIsReadBack) {
    EXPECT_EQ(archivedKeys(*id_),
              (std::vector<std::string>{"uuid", "title", "artist", "duration", "isrc", "internalID",
                                        "stringRepresentation"}));
    const auto read = recordFrom<TitleID>(archiveOf(*id_));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->title(), "Song");
    EXPECT_EQ(read->artist(), "Band");
    EXPECT_EQ(read->duration(), 200.0F);
    EXPECT_EQ(read->isrc(), "ISRC");
    EXPECT_EQ(read->internalID(), id_->uuid());
    EXPECT_EQ(read->stringRepresentation(), "song\tband\t200");
    EXPECT_EQ(read->hashRepresentation(), id_->uuid());
    read->setUuid("other");
    EXPECT_EQ(read->internalID(), id_->uuid()) << "stored under its own key";
}

TEST_F(GivenATitleID, WhenTheTextWasNeverDerivedThenItsArchiveHoldsNil) {
    const auto id = TitleID::initWithUUID("u");
    id->setTitle("A");
    const auto read = recordFrom<TitleID>(archiveOf(*id));
    read->setTitle("B");
    EXPECT_EQ(read->stringRepresentation(), "b\t\t0");
}

TEST_F(GivenATitleID, WhenArchivedTextsAreOfOtherKindsThenTheyReadAsNilAndTheRestIsThere) {
    const auto odd = OddTitleID::initWithUUID("u");
    odd->setTitle(Value(1));
    odd->setArtist("Band");
    odd->setIsrc(Value(Value::Array{Value("ISRC")}));
    odd->setStringRepresentation(Value(2.5));
    KeyedArchiver archiver;
    archiver.setClassName("PLXMediaItemTitleID", OddTitleID::classObject());
    const auto bytes = archiver.archive(*odd);
    const auto read = recordFrom<TitleID>({bytes.begin(), bytes.end()});
    ASSERT_TRUE(read);
    EXPECT_EQ(read->uuid(), "u");
    EXPECT_FALSE(read->title());
    EXPECT_EQ(read->artist(), "Band");
    EXPECT_FALSE(read->isrc());
    EXPECT_EQ(read->duration(), 0.0F);
    EXPECT_EQ(read->internalID(), "u");
    EXPECT_EQ(read->stringRepresentation(), "\tband\t0");
}

TEST_F(GivenATitleID, WhenCopiedThenDerivedValuesAreCopiedToo) {
    id_->setInternalID("own");
    const auto copy = id_->copy();
    copy->setTitle("Another");
    EXPECT_EQ(copy->internalID(), "own");
    EXPECT_EQ(copy->stringRepresentation(), "song\tband\t200");
    EXPECT_EQ(copy->hashRepresentation(), id_->hashRepresentation());
    EXPECT_EQ(copy->isrc(), "ISRC");
    EXPECT_EQ(id_->title(), "Song");
}

TEST_F(GivenATitleID, WhenWrittenAsJSONThenOnlyWhatIsSetIsThere) {
    EXPECT_EQ(id_->JSONObjectRepresentation(), (Dictionary{{"uuid", id_->uuid()},
                                                           {"title", "Song"},
                                                           {"artist", "Band"},
                                                           {"duration", 200.0F},
                                                           {"isrc", "ISRC"}}));
    EXPECT_EQ((*id_->JSONObjectRepresentation())["duration"].kind(), Value::Kind::real32);
    id_->setInternalID("own");
    EXPECT_EQ((*id_->JSONObjectRepresentation())["internalID"], Value("own"));
    EXPECT_EQ(TitleID::initWithUUID("u")->JSONObjectRepresentation(),
              (Dictionary{{"uuid", "u"}, {"duration", 0.0F}}));
    EXPECT_EQ(TitleID::initWithUUID(nullptr)->JSONObjectRepresentation(), std::nullopt);
}

TEST(GivenAJSONObject, WhenReadThenTextsAreCleanedAndTheUUIDIsTaken) {
    const auto id = TitleID::initWithJSONObject({{"uuid", " U "},
                                                 {"title", " Song "},
                                                 {"artist", "   "},
                                                 {"duration", 12.5},
                                                 {"internalID", "I"},
                                                 {"isrc", "X\n"}});
    EXPECT_EQ(id->uuid(), "U");
    EXPECT_EQ(id->title(), "Song");
    EXPECT_FALSE(id->artist());
    EXPECT_EQ(id->duration(), 12.5F);
    EXPECT_EQ(id->internalID(), "I");
    EXPECT_EQ(id->isrc(), "X");
}

TEST(GivenAJSONObject, WhenItHasNoUUIDThenTheDigestOfTheMetadataIsTaken) {
    const auto id = TitleID::initWithJSONObject({{"title", "Song"}, {"duration", " +200.4x"}});
    EXPECT_EQ(id->duration(), 200.4F) << "a number given as a text counts";
    EXPECT_EQ(id->uuid(), md5Hash("song\t\t200"));
    EXPECT_EQ(TitleID::initWithJSONObject({{"duration", "inf"}})->duration(), 0.0F);
    EXPECT_EQ(TitleID::initWithJSONObject({{"duration", "-1.5"}})->duration(), -1.5F);
    EXPECT_EQ(TitleID::initWithJSONObject({{"duration", Value::Array{}}})->duration(), 0.0F);
}

TEST(GivenAJSONObject, WhenItIsEmptyThenItGivesALegacyTitleIDOfNothing) {
    const auto id = TitleID::initWithJSONObject({});
    ASSERT_TRUE(id);
    EXPECT_TRUE(id->isLegacyTitleID());
    EXPECT_EQ(id->uuid(), "b1de3e6f1eadcc6cdd67ad7cd2635dc4");
}

TEST(GivenTwoTitleIDsOfOneInternalID, WhenComparedThenTheyAreEqualWhateverTheMetadata) {
    const auto one = TitleID::initWithTitle("Song", "Band", 1, nullptr);
    const auto two = TitleID::initWithTitle("Other", "Band", 2, nullptr);
    EXPECT_FALSE(one->isEqual(*two));
    two->setInternalID(one->internalID());
    EXPECT_TRUE(one->isEqual(*two));
    EXPECT_TRUE(one->isEqualToMediaItemTitleID(one.get()));
    EXPECT_FALSE(one->isEqualToMediaItemTitleID(nullptr));
    EXPECT_FALSE(TitleID::initWithUUID(nullptr)->isEqual(*TitleID::initWithUUID(nullptr)));
}

TEST(GivenTwoTitleIDsOfOneInternalID, WhenHashedThenTheMetadataCounts) {
    const auto one = TitleID::initWithTitle("Song", "Band", 1.4F, nullptr);
    const auto two = TitleID::initWithTitle("Other", "Band", 1, nullptr);
    two->setInternalID(one->internalID());
    EXPECT_TRUE(one->isEqual(*two));
    EXPECT_NE(one->hash(), two->hash());
    const auto same = TitleID::initWithTitle("Song", "Band", 0.6F, "isrc");
    EXPECT_EQ(one->hash(), same->hash()) << "the rounded duration counts, the ISRC does not";
    const std::size_t before = one->hash();
    one->setTitle("Changed");
    EXPECT_EQ(one->hash(), before) << "kept once computed";
}

RC_GTEST_PROP(TitleID, SurvivesJSONAndArchive, ()) {
    const auto title = *rc::gen::container<std::string>(rc::gen::inRange<char>(' ', 127));
    const auto duration = *rc::gen::arbitrary<float>();
    const auto id = TitleID::initWithTitle(chuzzle(title), nullptr, duration, nullptr);
    const auto read = TitleID::initWithJSONObject(*id->JSONObjectRepresentation());
    RC_ASSERT(read->isEqual(*id));
    RC_ASSERT(read->title() == id->title());
    RC_ASSERT(read->duration() == id->duration());
    RC_ASSERT(archiveOf(*recordFrom<TitleID>(archiveOf(*id))) == archiveOf(*id));
}

TEST_F(GivenATitleID, WhenItsArchiveIsDamagedThenItReadsAsARecordOrNil) {
    readDamagedArchives(*id_);
}

}  // namespace
}  // namespace qsml
