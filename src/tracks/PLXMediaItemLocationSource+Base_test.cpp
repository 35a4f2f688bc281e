#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "database/collectionNames.h"
#include "foundation/Bundle.h"
#include "foundation/URLBookmark.h"
#include "testing/LogCapture.h"
#include "tracks/PLXMediaItemLocation.h"
#include "tracks/PLXMediaItemLocationSource.h"
#include "tracks/detail/testing/TrackLibrary.h"

namespace qsml {
namespace {

// What is found once in a process needs one of its own for each answer.

int answerOf(bool isRight) { return isRight ? 0 : 1; }

TEST(GivenTheBaseOfBookmarks, WhenTheHostHasNamedNoPathThenThatIsLoggedOnceAndThereIsNone) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto ask = [](const Value& named) {
        LogCapture log;
        Bundle::main().setInfoValue("QSMediaLibraryBundlePath", named);
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
    EXPECT_EXIT(ask(Value()), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(ask(Value("")), testing::ExitedWithCode(0), "") << "an empty text";
    EXPECT_EXIT(ask(Value(5)), testing::ExitedWithCode(0), "") << "no text";
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
    PLXMediaItemLocationSource(manager).setMediaItemLocation(
        PLXMediaItemLocation::initWithUUID("u"), at("base/song.mp3"), std::nullopt);
    std::shared_ptr<const PLXMediaItemLocation> stored;
    manager.bgDatabaseConnection()->read([&](YapDatabaseReadTransaction& transaction) {
        stored = transaction.object<PLXMediaItemLocation>(
            "u", PLXDatabaseCollectionLocalMediaItemLocations);
    });
    if (!stored || !stored->urlBookmarkData()) return false;
    const URL moved = at("moved");
    return URLByResolvingBookmarkData(*stored->urlBookmarkData(), 0, &moved) ==
           at("moved/song.mp3");
}

TEST(GivenTheBaseOfBookmarks, WhenAFileIsBookmarkedThenTheBookmarkFollowsTheBase) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::_Exit(answerOf(followsTheBase())), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace qsml
