#include "core/PLXFileBookmark.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <thread>

#include "testing/LogCapture.h"
#include "testing/TemporaryDirectory.h"
#include "testing/recordArchives.h"

namespace qsml {
namespace {

class GivenAFile : public testing::Test {
protected:
    GivenAFile() : path_(directory_.path() + "/song.mp3") { std::ofstream(path_) << "music"; }

    TemporaryDirectory directory_;
    std::string path_;
    URL url_ = URL::fileURLWithPath(path_);
    LogCapture logs_;
};

TEST_F(GivenAFile, WhenBookmarkedThenItResolvesToTheFile) {
    const auto bookmark = PLXFileBookmark::initWithFileURL(url_);
    ASSERT_TRUE(bookmark);
    EXPECT_TRUE(bookmark->bookmarkData());
    EXPECT_EQ(bookmark->URL(), std::nullopt);
    bool isPlaceholder = true;
    const auto resolved = bookmark->URLByResolvingBookmarkData(isPlaceholder);
    ASSERT_TRUE(resolved);
    EXPECT_EQ(resolved->path(), path_);
    EXPECT_FALSE(isPlaceholder);
    EXPECT_TRUE(logs_.lines().empty());
}

TEST_F(GivenAFile, WhenItMovesOutOfReachThenTheBookmarkGivesItsOldPathAsAPlaceholder) {
    const auto bookmark = PLXFileBookmark::initWithFileURL(url_);
    ASSERT_EQ(std::remove(path_.c_str()), 0);
    bool isPlaceholder = false;
    const auto resolved = bookmark->URLByResolvingBookmarkData(isPlaceholder);
    ASSERT_TRUE(resolved);
    EXPECT_TRUE(resolved->isFileURL());
    EXPECT_EQ(resolved->path(), path_);
    EXPECT_TRUE(isPlaceholder);
}

TEST_F(GivenAFile, WhenTheURLIsNoFileURLThenThereIsNoBookmarkAndALogLine) {
    EXPECT_EQ(PLXFileBookmark::initWithFileURL(*URL::withString("https://example.com/a")), nullptr);
    EXPECT_EQ(logs_.lines(), std::vector<std::string>{
                                 "-[PLXFileBookmark initWithFileURL:relativeToURL:] [Line 30] "
                                 "Invalid file URL: https://example.com/a"});
}

TEST_F(GivenAFile, WhenItDoesNotExistThenThereIsNoBookmarkAndALogLineWithTheError) {
    const URL absent = URL::fileURLWithPath(path_ + ".absent");
    EXPECT_EQ(PLXFileBookmark::initWithFileURL(absent), nullptr);
    ASSERT_EQ(logs_.lines().size(), 1U);
    const std::string expected =
        "-[PLXFileBookmark initWithFileURL:relativeToURL:] [Line 54] Failed to create URL bookmark "
        "for " +
        absent.absoluteString().str() + ": ";
    EXPECT_EQ(logs_.lines()[0].substr(0, expected.size()), expected);
    EXPECT_GT(logs_.lines()[0].size(), expected.size());
}

TEST_F(GivenAFile, WhenTheBookmarkHasNoDataThenItResolvesToNothing) {
    const auto archive = archiveOf(*PLXFileBookmark::initWithFileURL(url_));
    auto withoutData = archive;
    // Another key of the same length: the data is not found.
    const std::string_view key = "bookmarkData";
    auto found = std::search(withoutData.begin(), withoutData.end(), key.begin(), key.end());
    ASSERT_NE(found, withoutData.end());
    *found = 'B';
    const auto empty = recordFrom<PLXFileBookmark>(withoutData);
    ASSERT_TRUE(empty);
    bool isPlaceholder = true;
    EXPECT_EQ(empty->URLByResolvingBookmarkData(isPlaceholder), std::nullopt);
    EXPECT_FALSE(isPlaceholder);
}

TEST_F(GivenAFile, WhenArchivedAndCopiedThenTheDataStaysAndTheURLIsCopiedOnly) {
    const auto bookmark = PLXFileBookmark::initWithFileURL(url_);
    bookmark->setURL(url_);
    EXPECT_EQ(archivedKeys(*bookmark), std::vector<std::string>{"bookmarkData"});
    const auto read = recordFrom<PLXFileBookmark>(archiveOf(*bookmark));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->bookmarkData(), bookmark->bookmarkData());
    EXPECT_EQ(read->URL(), std::nullopt);
    const auto copy = bookmark->copy();
    EXPECT_EQ(copy->bookmarkData(), bookmark->bookmarkData());
    EXPECT_EQ(copy->URL(), url_);
}

TEST_F(GivenAFile, WhenABaseIsGivenThenTheFileIsFoundBesideIt) {
    const URL base = URL::fileURLWithPath(directory_.path());
    const auto bookmark = PLXFileBookmark::initWithFileURL(url_, &base);
    ASSERT_TRUE(bookmark);
    bool isPlaceholder = true;
    const auto resolved = bookmark->URLByResolvingBookmarkDataRelativeToURL(&base, isPlaceholder);
    ASSERT_TRUE(resolved);
    EXPECT_EQ(resolved->path(), path_);
    EXPECT_FALSE(isPlaceholder);
}

TEST_F(GivenAFile, WhenThreadsAttachAndReadURLsThenEachReadIsOneThatWasAttached) {
    const auto bookmark = PLXFileBookmark::initWithFileURL(url_);
    const URL other = URL::fileURLWithPath(path_ + ".other");
    bookmark->setURL(url_);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 2000; ++i) {
                bookmark->setURL(t % 2 ? url_ : other);
                const auto read = bookmark->copy()->URL();
                EXPECT_TRUE(read == url_ || read == other);
            }
        });
    for (auto& thread : threads) thread.join();
}

TEST_F(GivenAFile, WhenTheBookmarksArchiveIsDamagedThenItReadsAsABookmarkOrNil) {
    readDamagedArchives(*PLXFileBookmark::initWithFileURL(url_));
}

}  // namespace
}  // namespace qsml
