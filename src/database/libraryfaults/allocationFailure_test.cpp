// Operations of the library with every allocation failing, one after the other, with every
// extension registered: each ends in a failure that it reports, or in success, and never in half of
// it. A program of its own, as it replaces operator new.
#include <gtest/gtest.h>

#include "database/libraryfaults/LibraryOperation.h"
#include "database/libraryfaults/sampleContent.h"
#include "store/faults/FailingAllocations.h"
#include "testing/FileTrace.h"
#include "testing/LogCapture.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

using Repeat = failingAllocations::Repeat;

class GivenALibraryWithoutMemory
    : public ::testing::TestWithParam<std::tuple<std::size_t, Repeat>> {
protected:
    static void SetUpTestSuite() { failingAllocations::install(); }
    const LibraryOperation& operation() const {
        return libraryOperations()[std::get<0>(GetParam())];
    }
    void SetUp() override {
        library_.options.synchronous = YapDatabaseSynchronous::normal;
        ASSERT_TRUE(library_.open());
        LibraryOperation::makeSample(library_);
        library_.close();
        image_ = imageOf(library_.path());
    }
    void TearDown() override {
        work_ = nullptr;
        library_.close();
    }
    /// The library as it was made; where a run left it so, only with nothing in the caches.
    void prepare() {
        if (!library_.isOpen() || hasChanged_) {
            work_ = nullptr;
            library_.close();
            writeImage(image_, library_.path());
            ASSERT_TRUE(library_.open());
            work_ = operation().prepare(library_);
            library_.settle();
            before_ = library_.sight();
        }
        hasChanged_ = false;
        library_.database().flushMemory();
    }
    /// True when no allocation failed.
    bool attempt(std::uint64_t number) {
        prepare();
        if (HasFatalFailure()) return true;
        const auto snapshot = library_.database().snapshot();
        bool claimed = false, threw = false;
        failingAllocations::fail(number, std::get<1>(GetParam()));
        try {
            claimed = work_();
        } catch (const std::bad_alloc&) {
            threw = true;
        }
        const bool isClean = failingAllocations::heal() == 0;
        library_.settle();
        EXPECT_TRUE(!threw || operation().hasBlock) << "bad_alloc left the library";
        EXPECT_TRUE(claimed || !isClean);
        hasChanged_ = library_.database().snapshot() != snapshot;
        verify(claimed);
        return isClean;
    }
    void verify(bool claimed) {
        EXPECT_EQ(hasChanged_, claimed && operation().writes);
        const LibrarySight now = library_.sight();
        EXPECT_EQ(claimed ? "" : now.differenceFrom(before_), "") << "something of it stayed";
        EXPECT_EQ(library_.sight(library_.background()).differenceFrom(now), "");
        if (++runs_ % 10 != 0 && !hasChanged_) return;
        EXPECT_TRUE(library_.write([](auto& transaction) {
            EXPECT_TRUE(sampleContent::importTrack(transaction, 2000));
        })) << "the next write fails";
        EXPECT_EQ(library_.faults(), "");
        hasChanged_ = true;
    }

    LogCapture log_;  // the failures are expected
    TemporaryDirectory directory_;
    LibraryAtWork library_{directory_.file("library.qsml")};
    FileImage image_;
    std::function<bool()> work_;
    LibrarySight before_;
    bool hasChanged_ = false;
    std::size_t runs_ = 0;
};

TEST_P(GivenALibraryWithoutMemory, WhenAnOperationMeetsItThenAllOrNothingHappens) {
    // The first allocations one by one, where each is another place; then further and further
    // apart.
    const std::uint64_t divisor = testScale(8, 200);
    std::uint64_t number = 1;
    while (!attempt(number) && !HasFailure()) {
        number += 1 + number / divisor;
        ASSERT_LT(number, 1'000'000u);
    }
    EXPECT_FALSE(HasFailure()) << "with allocation " << number << " failing";
    RecordProperty("allocations", std::to_string(number));
    RecordProperty("runs", std::to_string(runs_));
}

INSTANTIATE_TEST_SUITE_P(Library, GivenALibraryWithoutMemory,
                         ::testing::Combine(::testing::Range(std::size_t{0},
                                                             libraryOperations().size()),
                                            ::testing::Values(Repeat::once, Repeat::forever)),
                         [](const auto& test) {
                             const bool once = std::get<1>(test.param) == Repeat::once;
                             return libraryOperations()[std::get<0>(test.param)].name +
                                    (once ? "Once" : "ForGood");
                         });

}  // namespace
}  // namespace qsml
