// A disk without space, by the system's own limit on the size of files, in a process of its own.
#include <gtest/gtest.h>

#include <filesystem>

#include "testing/ChildProcess.h"
#include "testing/TemporaryDirectory.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

class GivenADiskWithoutSpace : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(child_.ask("open " + path_), "ok");
        ASSERT_EQ(fill('a'), "ok");
    }
    /// Twenty rows of a kilobyte in one transaction.
    std::string fill(char letter) { return child_.ask(std::string("fill 0 20 1000 ") + letter); }
    std::string limit(std::uintmax_t bytes) { return child_.ask("limit " + std::to_string(bytes)); }
    std::uintmax_t logBytes() const { return std::filesystem::file_size(path_ + "-wal"); }
    void expectEveryRow(char letter) {
        for (const char* row : {"0", "7", "19"})
            ASSERT_EQ(child_.ask(std::string("get ") + row), std::string(1000, letter)) << row;
    }

    TemporaryDirectory directory_;
    std::string path_ = directory_.file("store.db");
    ChildProcess child_{"qsml_store_child"};
};

TEST_F(GivenADiskWithoutSpace, WhenItIsFullThenWritesFailAndReadsGoOnUntilThereIsSpace) {
    ASSERT_EQ(limit(logBytes() + 100), "ok");
    for (int attempt = 0; attempt < 5; attempt++) {
        const std::string answer = fill('b');
        ASSERT_EQ(answer.substr(0, 7), "failed ") << answer;
        EXPECT_NE(answer.find(path_), std::string::npos) << "the file is not named: " << answer;
        expectEveryRow('a');
    }
    EXPECT_EQ(child_.ask("check"), "ok");
    ASSERT_EQ(limit(0), "ok");
    EXPECT_EQ(fill('c'), "ok");
    expectEveryRow('c');
    EXPECT_EQ(child_.ask("check"), "ok");
}

TEST_F(GivenADiskWithoutSpace, WhenItFillsAtAnyByteThenACommitIsWholeOrAbsent) {
    const std::size_t steps = testScale(40, 500);
    char last = 'a';
    bool succeeded = false, failed = false;
    for (std::size_t step = 0; step < steps; step++) {
        const char next = last == 'a' ? 'b' : 'a';
        ASSERT_EQ(limit(logBytes() + step * 60'000 / steps), "ok");
        const std::string answer = fill(next);
        (answer == "ok" ? succeeded : failed) = true;
        if (answer == "ok") last = next;
        expectEveryRow(last);
        ASSERT_EQ(limit(0), "ok");
        ASSERT_EQ(child_.ask("set other text"), "ok");
    }
    EXPECT_TRUE(succeeded && failed) << "the limits did not span a commit";
    EXPECT_EQ(child_.ask("check"), "ok");
    EXPECT_EQ(child_.ask("close"), "ok");
    EXPECT_EQ(child_.ask("open " + path_), "ok");
    expectEveryRow(last);
}

TEST_F(GivenADiskWithoutSpace, WhenACheckpointFindsNoneThenNothingIsLost) {
    ASSERT_EQ(child_.ask("fill 100 500 1000 x"), "ok");
    ASSERT_EQ(limit(std::filesystem::file_size(path_) + 4096), "ok");
    EXPECT_EQ(child_.ask("checkpoint").substr(0, 7), "failed ");
    expectEveryRow('a');
    EXPECT_EQ(child_.ask("get 599"), std::string(1000, 'x'));
    ASSERT_EQ(limit(0), "ok");
    EXPECT_EQ(child_.ask("checkpoint"), "ok");
    EXPECT_EQ(child_.ask("check"), "ok");
    EXPECT_EQ(child_.ask("get 599"), std::string(1000, 'x'));
}

}  // namespace
}  // namespace qsml
