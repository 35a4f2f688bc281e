#include "testing/LogCapture.h"

#include <gtest/gtest.h>

#include <thread>

namespace qsml {
namespace {

TEST(GivenALogCapture, WhenLinesAreLoggedThenItHoldsThemAndTheOuterOneDoesNot) {
    LogCapture outer;
    {
        const LogCapture inner;
        log("inside");
        log("method", 7, "message");
        EXPECT_EQ(inner.lines(), (std::vector<std::string>{"inside", "method [Line 7] message"}));
        EXPECT_EQ(inner.linesWith("mess").size(), 1u);
    }
    log("outside");
    EXPECT_EQ(outer.lines(), std::vector<std::string>{"outside"});
    outer.clear();
    EXPECT_TRUE(outer.lines().empty());
}

TEST(GivenALogCapture, WhenThreadsLogThenNoLineIsLost) {
    const LogCapture capture;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; thread++)
        threads.emplace_back([] {
            for (int line = 0; line < 100; line++) log("line");
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(capture.lines().size(), 400u);
}

}  // namespace
}  // namespace qsml
