#include <gtest/gtest.h>

#include <new>
#include <set>
#include <stdexcept>

#include "foundation/BookmarkPlatform.h"
#include "testing/LogCapture.h"
#include "tracks/detail/testing/LocationLibrary.h"

namespace qsml {
namespace {

const URL a = URL::withString("a:1").value();

class GivenAFileOfATrack : public LocationLibrary {};

TEST_F(GivenAFileOfATrack, WhenTheURLIsOfAFileThenItsBookmarkIsStored) {
    const URL file = fileNamed("song.mp3");
    EXPECT_TRUE(source_.setMediaItemLocation(location(0), file, std::nullopt));
    EXPECT_EQ(bookmarkedURL(), file);
    const URL other = fileNamed("other.mp3");
    EXPECT_TRUE(source_.setMediaItemLocation(location(0), other, std::nullopt));
    EXPECT_EQ(bookmarkedURL(), other) << "a new one replaces what was merged";
    EXPECT_EQ(storedURIs(), std::nullopt) << "the URL is no source URI by itself";
}

TEST_F(GivenAFileOfATrack, WhenTheURLIsOfNoFileThenNoBookmarkIsMade) {
    LogCapture log;
    EXPECT_TRUE(source_.setMediaItemLocation(location(0), a, std::nullopt));
    EXPECT_EQ(storedIn(locals)->urlBookmarkData(), std::nullopt);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(GivenAFileOfATrack, WhenTheBookmarkCannotBeMadeThenThatIsLoggedAndTheOldOneStays) {
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

TEST_F(GivenAFileOfATrack, WhenTheHostHasABookmarkOfTheURLThenTheFileThatItLeadsToIsBookmarked) {
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

TEST_F(GivenAFileOfATrack, WhenTheHostsBookmarkLeadsNowhereThenTheURLItselfIsBookmarked) {
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

/// A platform that refuses what it is told to, and notes what it is asked.
class StrictPlatform final : public BookmarkPlatform {
public:
    StrictPlatform() { setCurrent(*this); }
    ~StrictPlatform() override { setCurrent(native()); }

    std::set<unsigned> refusedOptions;
    bool grantsAccess = true;
    bool isOutOfMemory = false;

    std::vector<unsigned> bookmarkOptions, resolutionOptions;
    std::vector<URL> bookmarked, started, stopped;

    std::optional<Data> bookmarkData(const URL& fileURL, unsigned options, const URL* relativeTo,
                                     Error* error) override {
        bookmarkOptions.push_back(options);
        bookmarked.push_back(fileURL);
        EXPECT_EQ(stopped.size(), 0U) << "within the scope";
        if (isOutOfMemory) throw std::bad_alloc();
        if (!refusedOptions.contains(options))
            return BookmarkPlatform::bookmarkData(fileURL, options, relativeTo, error);
        report(error, {"tests", 1, "refused with " + std::to_string(options)});
        return std::nullopt;
    }
    std::optional<URL> resolve(const Data& bookmark, unsigned options, const URL* relativeTo,
                               Error* error) override {
        resolutionOptions.push_back(options);
        return BookmarkPlatform::resolve(bookmark, options, relativeTo, error);
    }
    bool startAccess(const URL& url) override {
        started.push_back(url);
        return grantsAccess;
    }
    void stopAccess(const URL& url) override { stopped.push_back(url); }
};

constexpr unsigned scoped = 2048, scopedReadOnly = 2048 + 4096, withoutUIAndScoped = 256 + 1024;

TEST_F(GivenAFileOfATrack, WhenAScopedBookmarkIsRefusedThenAReadOnlyOneIsTaken) {
    const URL file = fileNamed("song.mp3");
    StrictPlatform platform;
    platform.refusedOptions = {scoped};
    const LogCapture log;
    EXPECT_TRUE(source_.setMediaItemLocation(location(0), file, std::nullopt));
    EXPECT_EQ(platform.bookmarkOptions, (std::vector{scoped, scopedReadOnly}));
    EXPECT_EQ(bookmarkedURL(), file);
    EXPECT_TRUE(log.linesWith("bookmark for").empty());
}

TEST_F(GivenAFileOfATrack, WhenTheScopedBookmarkIsMadeThenNoOtherIsTried) {
    StrictPlatform platform;
    EXPECT_TRUE(source_.setMediaItemLocation(location(0), fileNamed("song.mp3"), std::nullopt));
    EXPECT_EQ(platform.bookmarkOptions, std::vector{scoped});
    EXPECT_EQ(platform.resolutionOptions, std::vector<unsigned>()) << "the host has none";
}

TEST_F(GivenAFileOfATrack, WhenBothBookmarksAreRefusedThenTheLogNamesTheGivenURLAndTheLastError) {
    const URL url = URL::fileURLWithPath(directory_.file("known to the host only.mp3"));
    const URL file = fileNamed("moved.mp3");
    const auto cached = bookmarkDataForURL(file, 0, nullptr);
    setCachedBookmarkDataForURL([&](const URL&) { return cached; });
    StrictPlatform platform;
    platform.refusedOptions = {scoped, scopedReadOnly};
    const LogCapture log;
    EXPECT_TRUE(source_.setMediaItemLocation(location(0), url, std::nullopt));
    EXPECT_EQ(platform.resolutionOptions, std::vector{withoutUIAndScoped});
    EXPECT_EQ(platform.bookmarked, (std::vector{file, file}));
    EXPECT_EQ(bookmarkedURL(), std::nullopt);
    EXPECT_EQ(log.linesWith("bookmark for").size(), 1U);
    EXPECT_EQ(log.linesWith("Failed to save URL bookmark for " + url.absoluteString().str() +
                            ": refused with 6144")
                  .size(),
              1U);
}

TEST_F(GivenAFileOfATrack, WhenItsScopeIsOpenedThenItIsClosedHoweverItEnds) {
    const URL file = fileNamed("song.mp3");
    for (const bool isOutOfMemory : {false, true}) {
        StrictPlatform platform;
        platform.refusedOptions = {scoped};
        platform.isOutOfMemory = isOutOfMemory;
        EXPECT_EQ(source_.setMediaItemLocation(location(0), file, std::nullopt), !isOutOfMemory);
        EXPECT_EQ(platform.started, std::vector{file});
        EXPECT_EQ(platform.stopped, platform.started) << isOutOfMemory;
    }
}

TEST_F(GivenAFileOfATrack, WhenItsScopeIsNotGrantedThenItIsBookmarkedAndNothingIsClosed) {
    const URL file = fileNamed("song.mp3");
    StrictPlatform platform;
    platform.grantsAccess = false;
    EXPECT_TRUE(source_.setMediaItemLocation(location(0), file, std::nullopt));
    EXPECT_EQ(platform.started, std::vector{file});
    EXPECT_EQ(platform.stopped, std::vector<URL>());
    EXPECT_EQ(bookmarkedURL(), file);
}

TEST(GivenNoCachedBookmarks, WhenAskedThenThereIsNoneUntilTheHostSetsThem) {
    EXPECT_EQ(qsc_cachedBookmarkDataForURL(a), std::nullopt);
    const Data bookmark(std::vector<std::uint8_t>{1});
    setCachedBookmarkDataForURL([&](const URL&) { return bookmark; });
    EXPECT_EQ(qsc_cachedBookmarkDataForURL(a), bookmark);
    setCachedBookmarkDataForURL({});
    EXPECT_EQ(qsc_cachedBookmarkDataForURL(a), std::nullopt);
}

}  // namespace
}  // namespace qsml
