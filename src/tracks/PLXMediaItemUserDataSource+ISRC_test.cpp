#include <gtest/gtest.h>
#include <sqlite3.h>

#include "organisation/detail/testing/FaultyLibrary.h"
#include "tracks/detail/testing/UserDataLibrary.h"

namespace qsml {
namespace {

class GivenUserDataOfOneISRC : public UserDataLibrary {};

TEST_F(GivenUserDataOfOneISRC, WhenThereIsNoOwnRecordThenTheFirstMatchComes) {
    storeUserData(first_, Deck::empty, 1);
    storeUserData(second_, Deck::empty, 2);
    EXPECT_EQ(foundRating(own_), 1);
    EXPECT_EQ(findOrMake(own_, true)->rating(), 1) << "and none is created";
    EXPECT_EQ(storedFor(own_), nullptr);
}

TEST_F(GivenUserDataOfOneISRC, WhenMatchesHaveDeckMetadataThenTheLastOfTheseComes) {
    storeUserData(first_, Deck::withTempo, 1);
    storeUserData(second_, Deck::withTempo, 2);
    storeUserData(third_, Deck::empty, 3);
    EXPECT_EQ(foundRating(own_), 2);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheOwnRecordHasDeckMetadataThenNoOtherCounts) {
    storeUserData(own_, Deck::withTempo, 9);
    storeUserData(first_, Deck::withTempo, 1);
    EXPECT_EQ(foundRating(own_), 9);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheOwnRecordHasNoneThenOnlyAMatchWithDeckMetadataReplacesIt) {
    storeUserData(own_, Deck::empty, 9);
    storeUserData(first_, Deck::empty, 1);
    EXPECT_EQ(foundRating(own_), 9);
    storeUserData(second_, Deck::withTempo, 2);
    EXPECT_EQ(foundRating(own_), 2);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheTitleIDHasNoISRCThenNothingIsSearched) {
    storeUserData(first_, Deck::withTempo, 1);
    storeUserData(titleIDOf("Own"), Deck::empty, 9);
    storeUserData(titleIDOf("Empty", ""), Deck::withTempo, 2);
    EXPECT_EQ(foundRating(titleIDOf("Own")), 9);
    EXPECT_EQ(foundRating(titleIDOf("Unknown")), -1);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheISRCIsEmptyThenItConnectsNothing) {
    storeUserData(titleIDOf("First", ""), Deck::withTempo, 1);
    EXPECT_EQ(foundRating(titleIDOf("Own", "")), -1);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheISRCsAreNearlyTheSameThenTheyDoNotMatch) {
    for (const char* isrc : {"DE-A012", "XDE-A01", "DE A01", "DE", "A01", "D\u00c9-A01"})
        storeUserData(titleIDOf(isrc, isrc), Deck::withTempo, 1);
    EXPECT_EQ(foundRating(own_), -1);
    storeUserData(first_, Deck::empty, 2);
    EXPECT_EQ(foundRating(own_), 2);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheISRCsDifferInLetterCaseOnlyThenTheyMatch) {
    storeUserData(first_, Deck::withTempo, 1);
    EXPECT_EQ(foundRating(titleIDOf("Own", "de-a01")), 1);
    storeUserData(titleIDOf("Second", "\u00c9-x"), Deck::withTempo, 2);
    EXPECT_EQ(foundRating(titleIDOf("Own", "\u00e9-X")), 2);
}

TEST_F(GivenUserDataOfOneISRC, WhenARecordHasSeveralISRCsThenEachLeadsToIt) {
    const auto data = Record::initWithTitleID(titleIDOf("First", "ONE"));
    data->setTitleIDs(std::vector<TitleID>{titleIDOf("First", "ONE"), titleIDOf("First"),
                                           titleIDOf("Second", "TWO")});
    data->setRating(5);
    store(data, collection);
    EXPECT_EQ(foundRating(titleIDOf("Own", "ONE")), 5);
    EXPECT_EQ(foundRating(titleIDOf("Own", "TWO")), 5);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheISRCIsHostileThenItMatchesItselfAndNothingElse) {
    using namespace std::string_view_literals;
    const std::string_view hostile[] = {
        "\""sv,        "\" OR \"isrcs"sv, "a b"sv,      "}} {{"sv,
        "{{X}}"sv,     "X\0Y"sv,          "*"sv,        "isrcs: X"sv,
        "NEAR(X Y)"sv, "'; DROP --"sv,    "\xc2\xad"sv, "\xf0\x9f\x8e\xa7"sv,
        " "sv,         "\n\t"sv,          "^X"sv,       "\\"sv,
        "%"sv,         "\u6771\u4eac"sv};
    storeUserData(first_, Deck::withTempo, 1);
    storeUserData(titleIDOf("x", "X"), Deck::withTempo, 2);
    LogCapture log;
    for (const std::string_view isrc : hostile) {
        EXPECT_EQ(foundRating(titleIDOf("Own", isrc)), -1) << isrc;
        storeUserData(titleIDOf("Hostile", isrc), Deck::withTempo, 7);
        EXPECT_EQ(foundRating(titleIDOf("Own", isrc)), 7) << isrc;
    }
    EXPECT_TRUE(log.lines().empty()) << log.lines()[0];
    EXPECT_EQ(foundRating(own_), 1);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheISRCIsNoTextThenNothingIsFoundOrHalfStored) {
    storeUserData(first_, Deck::withTempo, 1);
    const LogCapture log;  // the store names what it refuses
    const TitleID odd = titleIDOf("Own", std::string_view("\xff\"\xfe"));
    EXPECT_EQ(foundRating(odd), -1);
    EXPECT_EQ(findOrMake(odd, true), nullptr);
    EXPECT_EQ(rows(), 1U);
    EXPECT_EQ(log.linesWith("cannot be stored").size(), 1U);
}

TEST_F(GivenUserDataOfOneISRC, WhenTheIndexIsAbsentThenOnlyTheOwnRecordIsFound) {
    storeUserData(first_, Deck::withTempo, 1);
    ASSERT_TRUE(manager_.database()->unregisterExtension("mediaItemUserDataSearchIndex"));
    EXPECT_EQ(foundRating(own_), -1);
    storeUserData(own_, Deck::empty, 9);
    EXPECT_EQ(foundRating(own_), 9);
}

// A second record of one track would divide what the user has set up.

TEST_F(GivenUserDataOfOneISRC, WhenTheIndexIsDamagedThenNoSecondRecordIsMade) {
    storeUserData(first_, Deck::withTempo, 1);
    sqlite3* file = nullptr;
    ASSERT_EQ(sqlite3_open(path().c_str(), &file), SQLITE_OK);
    std::string table;
    const auto note = [](void* found, int, char** values, char**) {
        *static_cast<std::string*>(found) = values[0];
        return 0;
    };
    ASSERT_EQ(sqlite3_exec(file,
                           "SELECT name FROM sqlite_master WHERE name LIKE "
                           "'%mediaItemUserDataSearchIndex%!_data' ESCAPE '!'",
                           note, &table, nullptr),
              SQLITE_OK);
    const std::string damage = "UPDATE \"" + table + "\" SET block = zeroblob(2) WHERE id > 100";
    EXPECT_EQ(sqlite3_exec(file, damage.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_GT(sqlite3_changes(file), 0);
    sqlite3_close(file);
    const LogCapture log;
    EXPECT_EQ(findOrMake(own_, true), nullptr);
    EXPECT_EQ(rows(), 1U);
    EXPECT_FALSE(log.linesWith("a query failed").empty());
}

TEST(GivenALibraryWhoseFileFails, WhenTheISRCCannotBeSearchedThenNoSecondRecordIsMade) {
    constexpr int others = 600;  // so that a search reads pages that opening does not
    FaultyLibrary library;
    const auto known = titleIDOf("First", "DE-A01"), asked = titleIDOf("Own", "DE-A01");
    const auto prepare = [&](PLXDatabaseManager& manager) {
        const auto data = PLXMediaItemUserData::initWithTitleID(known);
        data->setTitleIDs(std::vector{known, asked});  // or the one asked for would be added later
        data->setRating(5);
        manager.bgDatabaseConnection()->readWrite([&](auto& transaction) {
            PLXMediaItemUserDataSource source(manager);
            EXPECT_TRUE(source.setMediaItemUserData(data, transaction));
            for (int i = 0; i < others; ++i)
                EXPECT_TRUE(source.setMediaItemUserData(
                    PLXMediaItemUserData::initWithTitleID(
                        titleIDOf("Other " + std::to_string(i), "X" + std::to_string(i))),
                    transaction));
        });
    };
    const auto operation = [&](PLXDatabaseManager& manager) {
        const auto found = PLXMediaItemUserDataSource(manager).mediaItemUserDataForTitleID(
            asked, true, nullptr, {});
        EXPECT_TRUE(!found || found->rating() == 5);
    };
    const auto verify = [&](PLXDatabaseManager& manager) {
        manager.bgDatabaseConnection()->read([&](YapDatabaseReadTransaction& transaction) {
            EXPECT_EQ(transaction.numberOfKeysInAllCollections(), others + 1U);
        });
    };
    EXPECT_GT(library.forEachFailingRead(prepare, operation, verify), 0U);
}

}  // namespace
}  // namespace qsml
