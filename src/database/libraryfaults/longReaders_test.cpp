// A screen that always reads: the log, the memory of what happened and the caches stay small, and
// what goes away leaves nothing behind.
#include <gtest/gtest.h>

#include <filesystem>
#include <limits>

#include "database/PLXViewDataSource.h"
#include "database/libraryfaults/LibraryAtWork.h"
#include "database/libraryfaults/liveBytes.h"
#include "database/libraryfaults/sampleContent.h"
#include "testing/LogCapture.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

namespace content = sampleContent;
constexpr std::uint64_t megabyte = 1 << 20;
constexpr std::int64_t slack = 200'000;  // bytes: caches of pages and statements breathe

/// Files that this process has open.
std::size_t openFiles() {
    const std::filesystem::directory_iterator all("/proc/self/fd"), end;
    return static_cast<std::size_t>(std::distance(all, end));
}

class GivenAScreenThatAlwaysReads : public ::testing::Test {
protected:
    static constexpr int tracks = 200;

    void SetUp() override {
        library_.options.synchronous = YapDatabaseSynchronous::normal;
        library_.options.walWarningBytes = 12 * megabyte;
        ASSERT_TRUE(library_.open());
        ASSERT_TRUE(library_.write([](auto& transaction) {
            for (int track = 0; track < tracks; ++track) content::importTrack(transaction, track);
            content::addLists(transaction, tracks);
        }));
        library_.settle();
        list_ = newList();
    }
    void TearDown() override {
        list_ = nullptr;
        EXPECT_EQ(library_.faults(), "");
        library_.close();
    }
    std::shared_ptr<PLXViewDataSource> newList() {
        return PLXViewDataSource::initWithView("mediaView", {"mediaItem", "artist", "playlist"},
                                               library_.manager());
    }
    void commit() {
        const int step = static_cast<int>(commits_++);
        ASSERT_TRUE(library_.write([&](auto& transaction) {
            EXPECT_TRUE(step % 4 == 0 ? content::retitle(transaction, step * 7 % tracks,
                                                         "renamed " + std::to_string(step % 1000))
                                      : content::rate(transaction, step * 7 % tracks, step % 6));
        }));
    }
    /// The screen moves to the newest commit, and the list with it.
    void serve() {
        library_.announcements().sync([] {});
    }
    void workServed(std::size_t commits) {
        library_.announcements().resume();
        for (; commits > 0 && !HasFatalFailure(); --commits) {
            commit();
            serve();
            largestLog_ = std::max(largestLog_, library_.database().walSize());
        }
        library_.announcements().suspend();
        library_.settle();
    }
    /// With nothing in the caches.
    std::int64_t restingBytes() {
        library_.settle();
        library_.database().flushMemory();
        return liveBytes();
    }
    std::string shown() {
        std::string rows;
        for (std::uint64_t section = 0; section < list_->numberOfSections(); ++section)
            for (std::uint64_t row = 0; row < list_->numberOfRowsInSection(section); ++row) {
                const auto record =
                    objectOfClass<PLXDatabaseObject>(list_->itemAtIndexPath({section, row}));
                rows += (record ? record->uuid().str() : "(nil)") + " ";
            }
        return rows;
    }

    LogCapture log_;
    TemporaryDirectory directory_;
    LibraryAtWork library_{directory_.file("library.qsml")};
    std::shared_ptr<PLXViewDataSource> list_;
    std::size_t commits_ = 0;
    std::uint64_t largestLog_ = 0;
};

TEST_F(GivenAScreenThatAlwaysReads, WhenItIsServedThenLogAndMemoryStayAsTheyWere) {
    // What happened is kept for connections that rest, up to a thousand commits: memory goes up and
    // down with that, and the lowest it gets to must stay.
    constexpr std::size_t step = 250, parts = 3;
    const std::size_t steps = testScale(10'000, 100'000) / step;
    std::vector<std::int64_t> lowest(parts, std::numeric_limits<std::int64_t>::max());
    std::int64_t highest = 0;
    for (std::size_t done = 0; done < steps; ++done) {
        workServed(step);
        const std::int64_t bytes = restingBytes();
        lowest[done * parts / steps] = std::min(lowest[done * parts / steps], bytes);
        highest = std::max(highest, bytes);
    }
    EXPECT_LE(lowest.back() - lowest[1], slack) << "of " << lowest[1];
    EXPECT_LE(highest - lowest.back(), std::int64_t{8 * megabyte});
    EXPECT_GT(largestLog_, megabyte) << "the log was never used";
    EXPECT_LE(largestLog_, 8 * megabyte);
    EXPECT_EQ(log_.lines(), std::vector<std::string>());
    RecordProperty("largestLog", std::to_string(largestLog_));
    RecordProperty("growth", std::to_string(lowest.back() - lowest[1]));
}

TEST_F(GivenAScreenThatAlwaysReads, WhenItStallsThenLogAndHistoryGrowAndAreGoneWhenItGoesOn) {
    workServed(1500);
    const auto before = restingBytes();
    for (std::size_t stalled = 0; stalled < 4000; ++stalled) commit();
    EXPECT_GT(library_.database().walSize(), 14 * megabyte) << "the log does not grow";
    EXPECT_EQ(log_.linesWith("write-ahead log").size(), 1u);
    EXPECT_GT(liveBytes() - before, std::int64_t{8 * megabyte}) << "the history does not grow";
    workServed(2);
    EXPECT_LE(library_.database().walSize(), 8 * megabyte) << "two commits after it went on";
    EXPECT_LE(restingBytes() - before, slack);
    EXPECT_EQ(list_->numberOfRowsInSection(0), std::uint64_t{tracks});
}

TEST_F(GivenAScreenThatAlwaysReads, WhenTheHostAsksForMemoryThenCachesEmptyAndListsAnswerOn) {
    library_.database().flushMemory();
    const auto empty = liveBytes();
    const std::string rows = shown();
    const auto full = liveBytes();
    EXPECT_GT(full - empty, 100'000) << "nothing was kept; emptying is not tested";
    library_.database().flushMemory();
    EXPECT_LE(liveBytes() - empty, (full - empty) / 3);
    EXPECT_EQ(shown(), rows);
    workServed(10);
    EXPECT_EQ(list_->numberOfRowsInSection(0), std::uint64_t{tracks});
}

TEST_F(GivenAScreenThatAlwaysReads, WhenListsObserversAndConnectionsGoThenNothingOfThemStays) {
    auto& manager = library_.manager();
    const auto comeAndGo = [&] {
        const auto plain = newList();
        const auto filtered = PLXViewDataSource::initWithView(
            "mediaItemsView", {"mediaItem"}, [](auto, auto) { return true; }, manager);
        const auto delegate = std::make_shared<PLXViewDataSourceDelegate>();
        delegate->didUpdateRowAtIndexPath = [](auto&, auto) {};
        filtered->setDelegate(delegate);
        const auto connection = library_.database().newConnection();
        connection->beginLongLivedReadTransaction();
        const auto all =
            manager.addChangeObserverForCollection("mediaItems", {}, [](auto, auto) {});
        const auto one =
            manager.addChangeObserverForCollection("mediaItems", "a", [](auto, auto) {});
        commit();
        library_.settle();
        filtered->setFilter([](auto, auto) { return false; });
        library_.settle();
        manager.removeChangeObserver(all);
        manager.removeChangeObserver(one);
    };
    for (int round = 0; round < 10; ++round) comeAndGo();
    const auto before = restingBytes();
    const auto files = openFiles();
    const auto extensions = library_.database().registeredExtensionNames();
    const std::size_t rounds = testScale(40, 500);
    for (std::size_t round = 0; round < rounds; ++round) comeAndGo();
    const auto history = static_cast<std::int64_t>(rounds * 6000);  // some commits in each round
    EXPECT_LE(restingBytes() - before, history + slack);
    // SQLite keeps the files of connections that went while others read, and uses them again.
    EXPECT_LE(openFiles(), files + 8);
    EXPECT_EQ(library_.database().registeredExtensionNames(), extensions);
}

TEST_F(GivenAScreenThatAlwaysReads, WhenTheWholeLibraryIsClosedThenItsMemoryAndFilesAreGone) {
    const auto openAndClose = [&] {
        list_ = nullptr;
        ASSERT_TRUE(library_.open());
        list_ = newList();
        workServed(3);
    };
    openAndClose();
    openAndClose();
    const auto before = restingBytes();
    const auto files = openFiles();
    for (std::size_t round = 0; round < testScale(8, 100); ++round) openAndClose();
    EXPECT_LE(restingBytes() - before, slack);
    EXPECT_EQ(openFiles(), files);
}

}  // namespace
}  // namespace qsml
