#include "tracks/PLXMediaItemLocationSource.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "foundation/Bundle.h"
#include "foundation/URLBookmark.h"
#include "organisation/detail/testing/FaultyLibrary.h"
#include "tracks/PLXMediaItemLocation.h"
#include "tracks/detail/testing/TrackLibrary.h"
#include "tracks/qsc_cachedBookmarkDataForURL.h"

namespace qsml {
namespace {

using Location = PLXMediaItemLocation;
using Reader = YapDatabaseReadTransaction;
constexpr auto locals = PLXDatabaseCollectionLocalMediaItemLocations;
constexpr auto globals = PLXDatabaseCollectionGlobalMediaItemLocations;

const URL a = URL::withString("a:1").value(), b = URL::withString("b:2").value(),
          c = URL::withString("c:3").value(), d = URL::withString("d:4").value();

class GivenALocationSource : public TrackLibrary {
protected:
    void TearDown() override {
        setCachedBookmarkDataForURL({});
        TrackLibrary::TearDown();
    }

    std::shared_ptr<Location> location(std::int64_t type, std::optional<URLSet> uris = {}) {
        auto made = Location::initWithTitleID(titleID_, {}, type);
        made->setSourceURIs(std::move(uris));
        return made;
    }
    std::shared_ptr<const Location> storedIn(std::string_view collection) {
        return stored<Location>(titleID_->internalID(), collection);
    }
    std::optional<URLSet> storedURIs() { return storedIn(locals)->sourceURIs(); }
    URL fileNamed(std::string_view name) {
        writeFile(directory_.file(name), "music");
        return URL::fileURLWithPath(directory_.file(name));
    }
    std::optional<URL> bookmarkedURL() {
        const auto found = storedIn(locals);
        if (!found || !found->urlBookmarkData()) return std::nullopt;
        return URLByResolvingBookmarkData(*found->urlBookmarkData(), 0, nullptr);
    }

    const std::shared_ptr<const PLXMediaItemTitleID> titleID_ = titleIDOf("Song");
    PLXMediaItemLocationSource source_{manager_};
};

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

TEST_F(GivenALocationSource, WhenTheURLIsOfAFileThenItsBookmarkIsStored) {
    const URL file = fileNamed("song.mp3");
    EXPECT_TRUE(source_.setMediaItemLocation(location(0), file, std::nullopt));
    EXPECT_EQ(bookmarkedURL(), file);
    const URL other = fileNamed("other.mp3");
    EXPECT_TRUE(source_.setMediaItemLocation(location(0), other, std::nullopt));
    EXPECT_EQ(bookmarkedURL(), other) << "a new one replaces what was merged";
    EXPECT_EQ(storedURIs(), std::nullopt) << "the URL is no source URI by itself";
}

TEST_F(GivenALocationSource, WhenTheURLIsOfNoFileThenNoBookmarkIsMade) {
    LogCapture log;
    EXPECT_TRUE(source_.setMediaItemLocation(location(0), a, std::nullopt));
    EXPECT_EQ(storedIn(locals)->urlBookmarkData(), std::nullopt);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(GivenALocationSource, WhenTheBookmarkCannotBeMadeThenThatIsLoggedAndTheOldOneStays) {
    const URL file = fileNamed("song.mp3");
    EXPECT_TRUE(source_.setMediaItemLocation(location(0), file, std::nullopt));
    const std::string missing = directory_.file("missing.mp3");
    const URL url = URL::fileURLWithPath(missing);
    LogCapture log;
    EXPECT_TRUE(source_.setMediaItemLocation(location(0, URLSet{a}), url, std::nullopt));
    EXPECT_EQ(bookmarkedURL(), file);
    EXPECT_EQ(storedURIs(), URLSet{a});
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 1U);
    const std::string method =
        "-[PLXMediaItemLocationSource "
        "setMediaItemLocation:withURL:removingStaleSourceURIs:transaction:] [Line ";
    const auto end = lines[0].find("] ", method.size());
    ASSERT_NE(end, std::string::npos) << lines[0];
    EXPECT_EQ(lines[0].substr(0, method.size()), method);
    EXPECT_EQ(lines[0].substr(end + 2), "Failed to save URL bookmark for " +
                                            url.absoluteString().str() + ": The file \"" + missing +
                                            "\" cannot be bookmarked: No such file or directory");
}

TEST_F(GivenALocationSource, WhenTheHostHasABookmarkOfTheURLThenTheFileThatItLeadsToIsBookmarked) {
    const URL url = URL::fileURLWithPath(directory_.file("known to the host only.mp3"));
    const URL file = fileNamed("moved.mp3");
    std::vector<URL> asked;
    setCachedBookmarkDataForURL([&](const URL& of) {
        asked.push_back(of);
        return bookmarkDataForURL(file, 0, nullptr);
    });
    EXPECT_TRUE(source_.setMediaItemLocation(location(0), url, std::nullopt));
    EXPECT_EQ(asked, std::vector<URL>{url});
    EXPECT_EQ(bookmarkedURL(), file);
}

TEST_F(GivenALocationSource, WhenTheHostsBookmarkLeadsNowhereThenTheURLItselfIsBookmarked) {
    const URL file = fileNamed("song.mp3");
    const std::vector<CachedBookmarkData> answers = {
        [](const URL&) { return std::nullopt; },
        [](const URL&) {
            return Data(std::vector<std::uint8_t>{1, 2, 3});
        },
        [](const URL&) -> std::optional<Data> { throw std::runtime_error("no bookmarks today"); },
        [](const URL&) -> std::optional<Data> { throw 5; }};
    for (const auto& answer : answers) {
        readWrite([&](Writer& transaction) {
            transaction.removeObjectForKey(titleID_->internalID(), locals);
        });
        LogCapture log;
        setCachedBookmarkDataForURL(answer);
        EXPECT_TRUE(source_.setMediaItemLocation(location(0), file, std::nullopt));
        EXPECT_EQ(bookmarkedURL(), file);
        const bool throws = &answer - answers.data() >= 2;
        EXPECT_EQ(log.linesWith("The host's cached bookmarks threw").size(), throws ? 1U : 0U);
    }
}

TEST(GivenNoCachedBookmarks, WhenAskedThenThereIsNoneUntilTheHostSetsThem) {
    EXPECT_EQ(qsc_cachedBookmarkDataForURL(a), std::nullopt);
    const Data bookmark(std::vector<std::uint8_t>{1});
    setCachedBookmarkDataForURL([&](const URL&) { return bookmark; });
    EXPECT_EQ(qsc_cachedBookmarkDataForURL(a), bookmark);
    setCachedBookmarkDataForURL({});
    EXPECT_EQ(qsc_cachedBookmarkDataForURL(a), std::nullopt);
}

// What is found once in a process needs one of its own for each answer.

int answerOf(bool isRight) { return isRight ? 0 : 1; }

TEST(GivenTheBaseOfBookmarks, WhenTheHostHasNotNamedItThenThatIsLoggedOnceAndThereIsNone) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto ask = [] {
        LogCapture log;
        const bool isAbsent = !PLXMediaItemLocationSource::bookmarkDataRelativeURL();
        Bundle::main().setInfoValue("QSMediaLibraryBundlePath", "/later");
        const bool isStillAbsent = !PLXMediaItemLocationSource::bookmarkDataRelativeURL();
        const auto lines = log.lines();
        const bool isLogged =
            lines.size() == 1 &&
            lines[0].starts_with("+[PLXMediaItemLocationSource bookmarkDataRelativeURL] [Line ") &&
            lines[0].ends_with("] QSMediaLibraryBundlePath not configured in Info.plist");
        std::_Exit(answerOf(isAbsent && isStillAbsent && isLogged));
    };
    EXPECT_EXIT(ask(), testing::ExitedWithCode(0), "");
}

TEST(GivenTheBaseOfBookmarks, WhenTheHostHasNamedItThenItIsReadOnceAndTheTildeIsHome) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto ask = [] {
        LogCapture log;
        setenv("HOME", "/home/dj", 1);
        Bundle::main().setInfoValue("QSMediaLibraryBundlePath", "~/Music/Library");
        const auto first = PLXMediaItemLocationSource::bookmarkDataRelativeURL();
        Bundle::main().setInfoValue("QSMediaLibraryBundlePath", "/elsewhere");
        const auto second = PLXMediaItemLocationSource::bookmarkDataRelativeURL();
        std::_Exit(answerOf(first == URL::fileURLWithPath("/home/dj/Music/Library") &&
                            second == first && log.lines().empty()));
    };
    EXPECT_EXIT(ask(), testing::ExitedWithCode(0), "");
}

/// Stores a bookmark of base/song.mp3; once the base has moved it leads to the new place.
bool followsTheBase() {
    const TemporaryDirectory directory;
    const auto at = [&](const std::string& name) {
        return URL::fileURLWithPath(directory.file(name));
    };
    for (const char* folder : {"base", "moved"}) {
        std::filesystem::create_directory(directory.file(folder));
        writeFile(directory.file(folder) + "/song.mp3", "music");
    }
    Bundle::main().setInfoValue("QSMediaLibraryBundlePath", directory.file("base"));
    PLXDatabaseManager manager;
    if (!manager.setupDatabaseWithFileURL(at("library.qsml"))) return false;
    PLXMediaItemLocationSource(manager).setMediaItemLocation(Location::initWithUUID("u"),
                                                             at("base/song.mp3"), std::nullopt);
    std::shared_ptr<const Location> stored;
    manager.bgDatabaseConnection()->read(
        [&](Reader& transaction) { stored = transaction.object<Location>("u", locals); });
    if (!stored || !stored->urlBookmarkData()) return false;
    const URL moved = at("moved");
    return URLByResolvingBookmarkData(*stored->urlBookmarkData(), 0, &moved) ==
           at("moved/song.mp3");
}

TEST(GivenTheBaseOfBookmarks, WhenAFileIsBookmarkedThenTheBookmarkFollowsTheBase) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::_Exit(answerOf(followsTheBase())), testing::ExitedWithCode(0), "");
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
}

}  // namespace
}  // namespace qsml
