#include "tracks/PLXMediaItemLocationSource.h"

#include <gtest/gtest.h>

#include "organisation/detail/testing/FaultyLibrary.h"
#include "tracks/detail/testing/LocationLibrary.h"

namespace qsml {
namespace {

using Location = PLXMediaItemLocation;
using Reader = YapDatabaseReadTransaction;
constexpr auto locals = PLXDatabaseCollectionLocalMediaItemLocations;

constexpr auto globals = PLXDatabaseCollectionGlobalMediaItemLocations;

const URL a = URL::withString("a:1").value(), b = URL::withString("b:2").value(),
          c = URL::withString("c:3").value(), d = URL::withString("d:4").value();

class GivenALocationSource : public LocationLibrary {};

TEST_F(GivenALocationSource, WhenLocationsAreStoredThenTheTypeNamesTheCollection) {
    EXPECT_TRUE(source_.setMediaItemLocation(location(0), {}, std::nullopt));
    EXPECT_EQ(storedIn(locals)->type(), 0);
    EXPECT_EQ(storedIn(globals), nullptr);
    for (const std::int64_t type : {1, 2, -1}) {
        EXPECT_TRUE(source_.setMediaItemLocation(location(type), {}, std::nullopt));
        EXPECT_EQ(storedIn(globals)->type(), type);
    }
    EXPECT_EQ(storedIn(locals)->type(), 0);
    EXPECT_EQ(rows(), 2U);
}

TEST_F(GivenALocationSource, WhenAskedThenTheLocalLocationGoesBeforeTheGlobalOne) {
    const auto typeFound = [&]() -> std::optional<std::int64_t> {
        std::shared_ptr<const Location> found;
        read([&](Reader& transaction) {
            found = source_.mediaItemLocationForTitleID(titleID_, transaction);
            EXPECT_EQ(source_.mediaItemLocationForTitleID(nullptr, transaction), nullptr);
            EXPECT_EQ(source_.mediaItemLocationForTitleID(titleIDWithoutInternalID(), transaction),
                      nullptr);
        });
        return found ? std::optional(found->type()) : std::nullopt;
    };
    EXPECT_EQ(typeFound(), std::nullopt);
    store(location(1), globals);
    EXPECT_EQ(typeFound(), 1);
    store(location(0), locals);
    EXPECT_EQ(typeFound(), 0);
}

TEST_F(GivenALocationSource, WhenNoneIsStoredThenACopyIsStoredAndTheGivenOneStaysMutable) {
    const auto given = location(0, URLSet{a});
    EXPECT_TRUE(source_.setMediaItemLocation(given, {}, std::nullopt));
    EXPECT_FALSE(given->isImmutable());
    EXPECT_EQ(storedURIs(), URLSet{a});
}

TEST_F(GivenALocationSource, WhenOneIsStoredThenItsURIsAndBookmarkAreMergedIn) {
    const auto before = location(0, URLSet{a, b});
    const Data bookmark(std::vector<std::uint8_t>{1, 2});
    before->setUrlBookmarkData(bookmark);
    store(before, locals);
    EXPECT_TRUE(source_.setMediaItemLocation(location(0, URLSet{c}), {}, std::nullopt));
    EXPECT_EQ(storedURIs(), (URLSet{c, a, b}));
    EXPECT_EQ(storedIn(locals)->urlBookmarkData(), bookmark);
}

TEST_F(GivenALocationSource, WhenTheStoredOneIsOfAnotherTypeThenItIsReplaced) {
    store(location(2, URLSet{a}), globals);
    EXPECT_TRUE(source_.setMediaItemLocation(location(1, URLSet{c}), {}, std::nullopt));
    EXPECT_EQ(storedIn(globals)->sourceURIs(), URLSet{c});
}

TEST_F(GivenALocationSource, WhenWhatIsStoredCannotBeReadThenItIsNotReplaced) {
    storeUndecodable(titleID_->internalID(), locals);
    store(PLXMediaItemTitleID::initWithUUID(titleID_->internalID()), globals);
    for (const std::int64_t type : {0, 1}) {
        const auto given = location(type, URLSet{a});
        EXPECT_FALSE(source_.setMediaItemLocation(given, {}, std::nullopt));
        readWrite([&](Writer& transaction) {
            EXPECT_FALSE(source_.setMediaItemLocation(given, {}, transaction));
        });
    }
    EXPECT_EQ(storedIn(locals), nullptr);
    EXPECT_TRUE(stored<PLXMediaItemTitleID>(titleID_->internalID(), globals));
    EXPECT_EQ(rows(), 2U);
}

TEST_F(GivenALocationSource, WhenTheOtherCollectionHasOneThenNeitherTakesFromTheOther) {
    const auto global = location(1, URLSet{a});
    const Data bookmark(std::vector<std::uint8_t>{1, 2});
    global->setUrlBookmarkData(bookmark);
    store(global, globals);
    EXPECT_TRUE(source_.setMediaItemLocation(location(0), {}, std::nullopt));
    EXPECT_EQ(storedIn(locals)->urlBookmarkData(), std::nullopt);
    EXPECT_EQ(storedURIs(), std::nullopt);
    const URL file = fileNamed("song.mp3");
    EXPECT_TRUE(source_.setMediaItemLocation(location(0), file, std::nullopt));
    EXPECT_EQ(bookmarkedURL(), file);
    EXPECT_EQ(storedIn(globals)->urlBookmarkData(), bookmark);
    EXPECT_EQ(storedIn(globals)->sourceURIs(), URLSet{a});
}

TEST_F(GivenALocationSource, WhenURIsAreStaleThenTheyAreLeftOutOfTheMergedOnes) {
    store(location(0, URLSet{a, b}), locals);
    EXPECT_TRUE(source_.setMediaItemLocation(location(0, URLSet{c}), {}, URLSet{b}));
    EXPECT_EQ(storedURIs(), (URLSet{c, a}));
    EXPECT_TRUE(source_.setMediaItemLocation(location(0, URLSet{c}), {}, URLSet{d}));
    EXPECT_EQ(storedURIs(), (URLSet{c, a})) << "nothing in common";
    EXPECT_TRUE(source_.setMediaItemLocation(location(0, URLSet{c}), {}, URLSet()));
    EXPECT_EQ(storedURIs(), (URLSet{c, a})) << "no stale ones";
    EXPECT_TRUE(source_.setMediaItemLocation(location(0), {}, URLSet{a, c, d}));
    EXPECT_EQ(storedURIs(), URLSet()) << "all are stale";
    EXPECT_TRUE(source_.setMediaItemLocation(location(0), {}, URLSet{a}));
    EXPECT_EQ(storedURIs(), std::nullopt);
}

TEST_F(GivenALocationSource, WhenATransactionIsGivenThenBothFormsWorkInIt) {
    readWrite([&](Writer& transaction) {
        EXPECT_TRUE(source_.setMediaItemLocation(location(0, URLSet{a, b}), {}, transaction));
        EXPECT_TRUE(
            source_.setMediaItemLocation(location(0, URLSet{c}), {}, URLSet{a}, transaction));
        EXPECT_EQ(source_.mediaItemLocationForTitleID(titleID_, transaction)->sourceURIs(),
                  (URLSet{c, b}));
    });
    EXPECT_EQ(storedURIs(), (URLSet{c, b}));
}

TEST_F(GivenALocationSource, WhenThereIsNoLocationOrItHasNoKeyThenNothingIsStored) {
    EXPECT_FALSE(source_.setMediaItemLocation(nullptr, {}, std::nullopt));
    EXPECT_FALSE(source_.setMediaItemLocation(Location::initWithUUID({}), {}, std::nullopt));
    EXPECT_EQ(rows(), 0U);
}

TEST(GivenAManagerThatIsNotSetUp, WhenALocationIsStoredThenNothingHappens) {
    PLXDatabaseManager manager;
    PLXMediaItemLocationSource source(manager);
    EXPECT_FALSE(source.setMediaItemLocation(Location::initWithUUID("u"), {}, std::nullopt));
}

TEST(GivenTheSharedManager, WhenTheSharedLocationSourceIsAskedThenItIsOneAndStoresThere) {
    auto& manager = sharedLibrary();
    auto& source = PLXMediaItemLocationSource::sharedInstance();
    EXPECT_EQ(&source, &PLXMediaItemLocationSource::sharedInstance());
    EXPECT_TRUE(source.setMediaItemLocation(Location::initWithUUID("u"), {}, std::nullopt));
    manager.bgDatabaseConnection()->read(
        [](Reader& transaction) { EXPECT_TRUE(transaction.object<Location>("u", locals)); });
}

TEST(GivenALibraryWhoseFileFails, WhenALocationIsMergedThenItIsTheOldOneOrTheNewOne) {
    FaultyLibrary library;
    bool isStored = false;
    const auto storing = [&](const URL& uri) {
        return [&, uri](PLXDatabaseManager& manager) {
            const auto location = Location::initWithUUID("u");
            location->setSourceURIs(URLSet{uri});
            location->setUrlBookmarkData(Data(std::vector<std::uint8_t>(20'000)));  // many pages
            isStored = PLXMediaItemLocationSource(manager).setMediaItemLocation(location, {},
                                                                                std::nullopt);
        };
    };
    const auto verify = [&](PLXDatabaseManager& manager) {
        manager.bgDatabaseConnection()->read([&](Reader& transaction) {
            const auto found = transaction.object<Location>("u", locals);
            ASSERT_TRUE(found);
            EXPECT_TRUE(found->sourceURIs() == (URLSet{b, a}) ||
                        (!isStored && found->sourceURIs() == URLSet{a}));
        });
    };
    EXPECT_GT(library.forEachFailingWrite(storing(a), storing(b), verify), 0U);
    EXPECT_GT(library.forEachFailingRead(storing(a), storing(b), verify), 0U);
}

}  // namespace
}  // namespace qsml
