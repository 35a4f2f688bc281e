// The write-ahead log stays small although the user interface always has a read transaction open.
#include <gtest/gtest.h>

#include <filesystem>

#include "testing/LogCapture.h"
#include "testing/OpenStore.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

constexpr std::uint64_t megabyte = 1 << 20;

class GivenAnOpenUserInterface : public OpenStore {
protected:
    void SetUp() override {
        store_.options.synchronous = YapDatabaseSynchronous::normal;
        store_.options.walWarningBytes = 12 * megabyte;
        OpenStore::SetUp();
        ui_ = store_.database().newConnection();
        ui_->beginLongLivedReadTransaction();
    }
    void TearDown() override {
        ui_.reset();
        OpenStore::TearDown();
    }
    void commit() {
        const std::string key = std::to_string(commits_++ * 7919 % 1000);
        ASSERT_TRUE(store_.set(key, std::string(300, 'x')));
    }
    /// What the host does after a commit: step to it. Background checkpoints get their turn.
    void serve() {
        ui_->beginLongLivedReadTransaction();
        store_.drain();
    }
    std::uint64_t logBytes() const {
        std::error_code missing;
        const auto size = std::filesystem::file_size(store_.path() + "-wal", missing);
        return missing ? 0 : size;
    }

    LogCapture log_;
    std::shared_ptr<YapDatabaseConnection> ui_;
    std::size_t commits_ = 0;
};

TEST_F(GivenAnOpenUserInterface, WhenItIsServedThenTheLogStaysUnderEightMegabytes) {
    std::uint64_t largest = 0;
    for (std::size_t left = testScale(3'000, 100'000); left > 0; left--) {
        commit();
        serve();
        largest = std::max(largest, logBytes());
    }
    EXPECT_GT(largest, megabyte) << "the log was never used";
    EXPECT_LE(largest, 8 * megabyte);
    EXPECT_EQ(log_.lines(), std::vector<std::string>());
}

TEST_F(GivenAnOpenUserInterface, WhenItStallsThenTheLogGrowsWarnsOnceAndRecovers) {
    while (logBytes() < 14 * megabyte) {
        commit();
        ASSERT_LT(commits_, 20'000u) << "the log does not grow; the stall is not tested";
    }
    store_.drain();
    const auto warnings = log_.lines();
    ASSERT_EQ(warnings.size(), 1u) << "one warning is due";
    EXPECT_NE(warnings[0].find(store_.path()), std::string::npos) << warnings[0];
    serve();
    commit();
    serve();
    commit();
    serve();
    EXPECT_LE(logBytes(), 8 * megabyte) << "two commits after the user interface went on";
    EXPECT_LE(store_.database().walSize(), 8 * megabyte);
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAnOpenUserInterface, WhenItIsPinnedThenACheckpointKeepsItsSnapshot) {
    ASSERT_TRUE(store_.set("key", "old"));
    ui_->beginLongLivedReadTransaction();
    ASSERT_TRUE(store_.set("key", "new"));
    EXPECT_TRUE(store_.database().checkpoint());
    ui_->read([](auto& transaction) {
        EXPECT_EQ(transaction.objectForKey("key", "texts").string(), "old");
    });
    EXPECT_EQ(store_.text("key"), "new");
}

}  // namespace
}  // namespace qsml
