#include "foundation/Log.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace qsml;

namespace {

class GivenASink : public ::testing::Test {
protected:
    GivenASink() {
        previous_ = setLogSink([this](std::string_view line) { lines_.emplace_back(line); });
    }
    ~GivenASink() override { setLogSink(previous_); }

    LogSink previous_;
    std::vector<std::string> lines_;
};

}  // namespace

TEST_F(GivenASink, WhenLoggedThenMethodAndLineStandInFront) {
    log("-[PLXFileBookmark initWithFileURL:]", 30, "Invalid file URL: x");
    log("plain");
    EXPECT_EQ(lines_,
              (std::vector<std::string>{
                  "-[PLXFileBookmark initWithFileURL:] [Line 30] Invalid file URL: x", "plain"}));
}

TEST_F(GivenASink, WhenTextHoldsControlCharactersThenNoLineCanBeForged) {
    log(std::string_view("a\nb\r\t\x1B[0m\0\x7F", 11));
    log("\u0085|\u2028|\u2029");
    log("Caf\u00E9 \u266B \\n");
    log("\xFF\xC3(");
    EXPECT_EQ(lines_, (std::vector<std::string>{"a\\nb\\x0D\\x09\\x1B[0m\\x00\\x7F",
                                                "\\xC2\\x85|\\xE2\\x80\\xA8|\\xE2\\x80\\xA9",
                                                "Caf\u00E9 \u266B \\n", "\\xFF\\xC3("}));
}

TEST_F(GivenASink, WhenTheMessageIsLongThenItIsCutAt4KiBBetweenCharacters) {
    log("m", 1, std::string(5000, 'a'));
    EXPECT_EQ(lines_[0], "m [Line 1] " + std::string(4096, 'a'));
    log("a" + std::string(4094, 'a') + "\u00E9");
    EXPECT_EQ(lines_[1], std::string(4095, 'a'));
}

TEST_F(GivenASink, WhenItLogsOrThrowsItselfThenTheLineGoesToStandardError) {
    setLogSink([](std::string_view) { log("from the sink"); });
    testing::internal::CaptureStderr();
    log("a");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "from the sink\n");
    setLogSink([](std::string_view) { throw 1; });
    testing::internal::CaptureStderr();
    EXPECT_NO_THROW(log("a"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "a\n");
}

TEST_F(GivenASink, WhenTheEmptySinkIsSetThenStandardErrorIsBackAndThePreviousIsReturned) {
    const LogSink mine = setLogSink(nullptr);
    testing::internal::CaptureStderr();
    log("a\nb");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "a\\nb\n");
    EXPECT_FALSE(setLogSink(mine));
    log("c");
    EXPECT_EQ(lines_, std::vector<std::string>{"c"});
}

TEST_F(GivenASink, WhenItReplacesItselfThenItEndsInPeace) {
    setLogSink([this](std::string_view line) {
        lines_.emplace_back(line);
        setLogSink([this](std::string_view next) { lines_.push_back("2 " + std::string(next)); });
        lines_.emplace_back("still alive");
    });
    log("a");
    log("b");
    EXPECT_EQ(lines_, (std::vector<std::string>{"a", "still alive", "2 b"}));
}

TEST_F(GivenASink, WhenReplacedWhileThreadsLogThenTheOldOneIsNeverCalledAgain) {
    std::vector<std::thread> threads;
    std::atomic<bool> stop{false};
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            while (!stop) log("x");
        });
    for (int n = 0; n < 200; ++n) {
        auto alive = std::make_shared<std::atomic<bool>>(true);
        setLogSink([alive](std::string_view) { EXPECT_TRUE(*alive); });
        setLogSink([](std::string_view) {});
        *alive = false;
    }
    stop = true;
    for (auto& thread : threads) thread.join();
}
