// Every operation of the sources and lists with every call of the system failing, one after the
// other, on a library with every extension, an open list and observers.
#include <gtest/gtest.h>

#include "database/PLXViewDataSource.h"
#include "database/libraryfaults/LibraryOperation.h"
#include "database/libraryfaults/sampleContent.h"
#include "testing/FileTrace.h"
#include "testing/LogCapture.h"
#include "testing/failingCalls.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

using Repeat = FaultyFiles::Repeat;
using Kind = FaultyFiles::Kind;

struct FaultCase {
    std::string name;
    FaultyFiles::Fault fault;
};
constexpr FileCall writing = FileCall::write | FileCall::truncate;
const FaultCase faultCases[] = {
    {"CallFailsOnce", {anyFileCall, 1, Repeat::once, Kind::ioError}},
    {"CallFailsForGood", {anyFileCall, 1, Repeat::forever, Kind::ioError}},
    {"DiskIsFull", {writing, 1, Repeat::forever, Kind::diskFull}},
    {"ReadIsShort", {FileCall::read, 1, Repeat::once, Kind::shortRead}},
    {"SyncFails", {FileCall::sync, 1, Repeat::once, Kind::ioError}}};

/// Never taken out of service: a thread of the pool may be the last to hold a file.
FaultyFiles& files() {
    static FaultyFiles& files = *new FaultyFiles;
    files.skipSyncs();
    return files;
}

/// The image that every run begins with, made once.
const FileImage& sampleImage() {
    static const FileImage image = [] {
        const LogCapture log;
        const TemporaryDirectory directory;
        LibraryAtWork library(directory.file("sample.qsml"));
        EXPECT_TRUE(library.open());
        LibraryOperation::makeSample(library);
        library.close();
        return imageOf(directory.file("sample.qsml"));
    }();
    return image;
}

class GivenAnOperationThatMeetsAFault
    : public ::testing::TestWithParam<std::tuple<std::size_t, std::size_t>> {
protected:
    const LibraryOperation& operation() const {
        return libraryOperations()[std::get<0>(GetParam())];
    }
    const FaultCase& faultCase() const { return faultCases[std::get<1>(GetParam())]; }

    void SetUp() override {
        files().fail({FileCall::open, ~std::uint64_t{0}});  // none: forgets those of other tests
        files().heal();
        library_.options.vfsName = files().vfsName();
        library_.options.pageCacheBytes = 64 << 10;  // few pages: the others are read and spilled
    }
    void TearDown() override { close(); }

    void close() {
        work_ = nullptr;
        list_ = filtered_ = nullptr;
        library_.close();
    }
    /// The library as it was made, with lists on screen and nothing in the caches.
    void open() {
        close();
        writeImage(sampleImage(), library_.path());
        Error error;
        ASSERT_TRUE(library_.open(&error)) << error.description;
        work_ = operation().prepare(library_);
        auto& manager = library_.manager();
        list_ = PLXViewDataSource::initWithView("mediaView", {"mediaItem", "artist", "playlist"},
                                                manager);
        filtered_ = PLXViewDataSource::initWithView(
            "mediaItemsView", {"mediaItem"},
            [](auto, std::string_view key) { return key[0] < '8'; }, manager);
        delegate_->willBeginUpdates = [this](auto&) { ++told_; };
        list_->setDelegate(delegate_);
        filtered_->setDelegate(delegate_);
        for (const auto collection :
             {PLXDatabaseCollectionMediaItems, PLXDatabaseCollectionMediaItemPlaylists})
            manager.addChangeObserverForCollection(collection, {}, [this](auto, auto) { ++told_; });
        library_.settle();
        before_ = library_.sight();
        shownBefore_ = shown();
        ASSERT_TRUE(before_.isWhole);
    }
    /// What the lists show.
    std::string shown() {
        std::string rows;
        for (const auto& source : {list_, filtered_})
            for (std::uint64_t section = 0; section < source->numberOfSections(); ++section)
                for (std::uint64_t row = 0; row < source->numberOfRowsInSection(section); ++row) {
                    const Value item = source->itemAtIndexPath({section, row});
                    const auto record = objectOfClass<PLXDatabaseObject>(item);
                    rows += (record ? record->uuid().str() : "(nil)") + " ";
                }
        return rows;
    }

    void prepare() {
        if (!library_.isOpen() || hasChanged_) open();
        hasChanged_ = claimed_ = false;
        library_.database().flushMemory();
        told_ = 0;
    }
    void operate() {
        const auto snapshot = library_.database().snapshot();
        claimed_ = work_();
        hasChanged_ = library_.database().snapshot() != snapshot;
        const bool syncFailed = faultCase().name == "SyncFails" && files().failures() > 0;
        EXPECT_FALSE(syncFailed && claimed_ && hasChanged_)
            << "a failed sync was reported as success";
    }
    /// What the operation claims is what happened, to everybody.
    void verify() {
        library_.settle();
        EXPECT_EQ(operation().writes && claimed_, hasChanged_);
        const LibrarySight now = library_.sight();
        LibrarySight same = library_.sight(library_.background());
        // A page that was cut short may still be there when it is read next; that read says so.
        if (faultCase().name == "ReadIsShort" && !same.isWhole)
            same = library_.sight(library_.background());
        EXPECT_EQ(now.differenceFrom(same), "");
        if (!claimed_) {
            EXPECT_EQ(now.differenceFrom(before_), "") << "something of it stayed";
            EXPECT_EQ(shown(), shownBefore_);
            EXPECT_EQ(told_, 0);
        } else if (operation().writes && operation().name != "Search") {
            EXPECT_FALSE(now == before_) << "success was claimed of nothing";
        }
        verifyThatItGoesOn();
    }
    /// Seldom, as it takes long: the deep check, a write, and the file opened again.
    void verifyThatItGoesOn() {
        if (++runs_ % testScale(8, 3) != 1 && !HasFailure()) return;
        EXPECT_TRUE(library_.write([](auto& transaction) {
            EXPECT_TRUE(sampleContent::importTrack(transaction, 2000));
        })) << "the next write fails";
        EXPECT_EQ(library_.faults(), "");
        const LibrarySight last = library_.sight();
        close();
        Error error;
        ASSERT_TRUE(library_.open(&error)) << error.description;
        LibrarySight reopened = library_.sight();
        EXPECT_EQ(reopened.rows.size(), last.rows.size());
        reopened.views["searchResultsView"] = last.views.at("searchResultsView");  // in memory
        EXPECT_EQ(reopened.differenceFrom(last), "");
        EXPECT_EQ(library_.faults(), "");
        hasChanged_ = true;
    }

    LogCapture log_;  // the failures are expected
    TemporaryDirectory directory_;
    LibraryAtWork library_{directory_.file("library.qsml")};
    std::function<bool()> work_;
    std::shared_ptr<PLXViewDataSource> list_, filtered_;
    std::shared_ptr<PLXViewDataSourceDelegate> delegate_ =
        std::make_shared<PLXViewDataSourceDelegate>();
    LibrarySight before_;
    std::string shownBefore_;
    int told_ = 0;
    bool claimed_ = false, hasChanged_ = false;
    std::size_t runs_ = 0;
};

TEST_P(GivenAnOperationThatMeetsAFault, WhenItFailsThenNothingOfItStaysAndElseAllOfIt) {
    prepare();
    operate();
    ASSERT_TRUE(claimed_);
    FailingRun run;
    run.prepare = [&] { prepare(); };
    run.operation = [&] { operate(); };
    run.verify = [&] { verify(); };
    run.step = testScale(faultCase().fault.calls == anyFileCall ? 13 : 7, 1);
    RecordProperty("failures",
                   static_cast<int>(forEachFailingCall(files(), faultCase().fault, run)));
}

INSTANTIATE_TEST_SUITE_P(
    Library, GivenAnOperationThatMeetsAFault,
    ::testing::Combine(::testing::Range(std::size_t{0}, libraryOperations().size()),
                       ::testing::Range(std::size_t{0}, std::size(faultCases))),
    [](const auto& test) {
        return libraryOperations()[std::get<0>(test.param)].name +
               faultCases[std::get<1>(test.param)].name;
    });

}  // namespace
}  // namespace qsml
