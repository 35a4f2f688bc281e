#include "tracks/PLXMediaItemLocation.h"

#include <gtest/gtest.h>

#include "testing/recordTable.h"
#include "tracks/registerTrackClasses.h"

namespace qsml {
namespace {

using Record = PLXMediaItemLocation;

const std::vector<RecordRow> table = {
    {"sourceURIs", Takes::set}, {"type", Takes::whole, 0}, {"urlBookmarkData", Takes::data}};

URL url(std::string_view text) { return URL::withString(text).value(); }

Data bytes(std::uint8_t byte) { return Data(std::vector<std::uint8_t>{byte, 0, 255}); }

std::shared_ptr<Record> filled() {
    const auto titleID = PLXMediaItemTitleID::initWithTitle("Night Drive", "The Examples", 449, {});
    auto made = Record::initWithTitleID(titleID, url("file:///music/a.mp3"), 1);
    made->setSourceURIs(URLSet{url("file:///music/a.mp3"), url("store:12")});
    made->setUrlBookmarkData(bytes(7));
    return made;
}

TEST(GivenALocation, WhenHeldAgainstItsTableThenKeysDefaultsAndChecksAreThose) {
    registerTrackClasses();
    expectTable<Record>(table, *filled());
    expectTable<Record>(table, *Record::init());
    EXPECT_EQ(ArchiveClass::named("PLXMediaItemLocation"), &Record::classObject());
    EXPECT_EQ(Record::classObject().cloudType(), "MediaItemLocation");
    EXPECT_FALSE(Record::classObject().storesOriginalCloudValues());
}

TEST(GivenALocation, WhenReadBackThenEveryPropertyIsEqual) {
    const auto location = filled();
    const auto read = recordFrom<Record>(archiveOf(*location));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->uuid(), location->uuid());
    EXPECT_EQ(read->sourceURIs(), location->sourceURIs());
    EXPECT_EQ(read->type(), 1);
    EXPECT_EQ(read->urlBookmarkData(), bytes(7));
    EXPECT_EQ(read->changedProperties(), std::nullopt);
    EXPECT_EQ(archiveOf(*read), archiveOf(*location));
}

TEST(GivenALocationOfAnotherProgram, WhenReadThenItsURIsAreASetOfURLsAndNothingElse) {
    registerTrackClasses();
    const auto read = [](const Value& uris) {
        return recordFrom<Record>(foreignArchive({{"$class", "PLXMediaItemLocation"},
                                                  {"uuid", "u"},
                                                  {"type", 7},
                                                  {"sourceURIs", uris},
                                                  {"urlBookmarkData", Value(bytes(1))}}));
    };
    const auto location = read(Value(ValueSet{Value(url("a:1")), Value("b:2"), Value(5)}));
    ASSERT_TRUE(location);
    EXPECT_EQ(location->uuid(), "u");
    EXPECT_EQ(location->type(), 7) << "stored as given";
    EXPECT_EQ(location->sourceURIs(), URLSet{url("a:1")});
    EXPECT_EQ(location->urlBookmarkData(), bytes(1));
    EXPECT_EQ(read(Value(Value::Array{Value(url("a:1"))}))->sourceURIs(), std::nullopt);
}

TEST(GivenATrack, WhenALocationIsMadeOfItsTitleIDThenItIsKeyedByTheInternalID) {
    const auto titleID = PLXMediaItemTitleID::initWithTitle("Song", "Band", 200, nullptr);
    titleID->setInternalID("internal");
    const auto local = Record::initWithTitleID(titleID, url("a:1"), PLXMediaItemLocationTypeLocal);
    EXPECT_EQ(local->uuid(), "internal");
    EXPECT_EQ(local->type(), 0);
    EXPECT_EQ(local->sourceURIs(), URLSet{url("a:1")});
    EXPECT_EQ(local->urlBookmarkData(), std::nullopt);
    const std::shared_ptr<const PLXMediaItemTitleID> shared = titleID;
    const auto global = Record::initWithTitleID(shared, {}, PLXMediaItemLocationTypeGlobal);
    EXPECT_EQ(global->uuid(), "internal");
    EXPECT_EQ(global->type(), 1);
    EXPECT_EQ(global->sourceURIs(), std::nullopt);
    EXPECT_EQ(Record::initWithTitleID(std::shared_ptr<PLXMediaItemTitleID>(), {}, 0)->uuid(),
              nullptr);
}

TEST(GivenALocation, WhenAskedForASchemeThenTheFirstURIOfExactlyThatSchemeComes) {
    const auto location = Record::init();
    EXPECT_EQ(location->sourceURIForScheme("file"), std::nullopt);
    location->setSourceURIs(
        URLSet{url("relative/path?a:b"), url("FILE:///a"), url("file:///b"), url("file:///c")});
    EXPECT_EQ(location->sourceURIForScheme("file"), url("file:///b"));
    EXPECT_EQ(location->sourceURIForScheme("FILE"), url("FILE:///a"));
    for (const String& scheme : {String("fil"), String("File"), String("file:"), String("relative"),
                                 String("a"), String(""), String()})
        EXPECT_EQ(location->sourceURIForScheme(scheme), std::nullopt) << scheme;
}

TEST(GivenALocation, WhenAURIIsRelativeToABaseThenItsSchemeIsThatOfTheBase) {
    const URL base = url("store://shelf/");
    const auto location = Record::init();
    location->setSourceURIs(URLSet{*URL::withString("song", &base)});
    EXPECT_EQ(location->sourceURIForScheme("store"), URL::withString("song", &base));
}

class GivenTwoLocationsOfATrack : public ::testing::Test {
protected:
    using URIs = std::optional<URLSet>;
    static std::shared_ptr<Record> location(std::int64_t type, URIs uris,
                                            std::optional<Data> bookmark = {}) {
        auto made = Record::initWithUUID("u");
        made->setType(type);
        made->setSourceURIs(std::move(uris));
        made->setUrlBookmarkData(std::move(bookmark));
        return made;
    }
    static URIs mergedURIs(const URIs& mine, const URIs& theirs) {
        return location(0, mine)
            ->mergedCopyWithMediaItemLocation(*location(0, theirs))
            ->sourceURIs();
    }
    const URL a_ = url("a:1"), b_ = url("b:2"), c_ = url("c:3");
};

TEST_F(GivenTwoLocationsOfATrack, WhenMergedThenTheURIsAreTheUnion) {
    EXPECT_EQ(mergedURIs(URLSet{a_, b_}, URLSet{c_, b_}), (URLSet{a_, b_, c_}));
    EXPECT_EQ(mergedURIs({}, URLSet{b_}), URLSet{b_});
    EXPECT_EQ(mergedURIs(URLSet{b_}, {}), URLSet{b_});
    EXPECT_EQ(mergedURIs({}, {}), std::nullopt);
    EXPECT_EQ(mergedURIs(URLSet(), {}), std::nullopt) << "an empty union is none";
    EXPECT_EQ(mergedURIs(URLSet(), URLSet()), std::nullopt);
}

TEST_F(GivenTwoLocationsOfATrack, WhenMergedThenABookmarkIsTakenOnlyWhereThereIsNone) {
    const auto with = location(1, {}, bytes(1)), other = location(1, {}, bytes(2)),
               without = location(1, {});
    EXPECT_EQ(with->mergedCopyWithMediaItemLocation(*other)->urlBookmarkData(), bytes(1));
    EXPECT_EQ(with->mergedCopyWithMediaItemLocation(*without)->urlBookmarkData(), bytes(1));
    EXPECT_EQ(without->mergedCopyWithMediaItemLocation(*other)->urlBookmarkData(), bytes(2));
    EXPECT_EQ(without->mergedCopyWithMediaItemLocation(*without)->urlBookmarkData(), std::nullopt);
}

TEST_F(GivenTwoLocationsOfATrack, WhenTheirTypesDifferThenTheCopyIsPlain) {
    const auto mine = location(0, URLSet()), theirs = location(1, URLSet{c_}, bytes(2));
    const auto merged = mine->mergedCopyWithMediaItemLocation(*theirs);
    EXPECT_EQ(archiveOf(*merged), archiveOf(*mine)) << "the empty set stays too";
}

TEST_F(GivenTwoLocationsOfATrack, WhenMergedThenTheCopyIsMutableAndBothStayAsTheyWere) {
    const auto mine = location(0, URLSet{a_}), theirs = location(0, URLSet{b_}, bytes(2));
    mine->makeImmutable();
    theirs->makeImmutable();
    const auto before = std::pair(archiveOf(*mine), archiveOf(*theirs));
    const auto merged = mine->mergedCopyWithMediaItemLocation(*theirs);
    merged->setType(5);
    EXPECT_EQ(merged->uuid(), "u");
    EXPECT_EQ(before, std::pair(archiveOf(*mine), archiveOf(*theirs)));
    EXPECT_THROW(mine->setType(1), PLXDatabaseObjectException);
    EXPECT_THROW(mine->setSourceURIs({}), PLXDatabaseObjectException);
    EXPECT_THROW(mine->setUrlBookmarkData({}), PLXDatabaseObjectException);
}

TEST(GivenALocation, WhenSetByKeyThenOnlyFittingValuesAreTaken) {
    const auto location = Record::init();
    EXPECT_TRUE(location->setValueForKey("sourceURIs", Value(Value::Array{Value(url("a:1"))})));
    EXPECT_EQ(location->valueForKey("sourceURIs"), Value(ValueSet{Value(url("a:1"))}));
    EXPECT_FALSE(location->setValueForKey("sourceURIs", Value(ValueSet{Value("a:1")})));
    EXPECT_FALSE(location->setValueForKey("sourceURIs", Value(url("a:1"))));
    EXPECT_TRUE(location->setValueForKey("sourceURIs", Value()));
    EXPECT_EQ(location->sourceURIs(), std::nullopt);
}

TEST(GivenALocation, WhenItsArchiveIsDamagedThenItReadsAsARecordOrNil) {
    readDamagedArchives(*filled());
}

}  // namespace
}  // namespace qsml
