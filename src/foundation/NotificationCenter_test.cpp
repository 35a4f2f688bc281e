#include "foundation/NotificationCenter.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <vector>

#include "foundation/Log.h"

using namespace qsml;
using Token = NotificationCenter::Token;

namespace {

class GivenACenter : public ::testing::Test {
protected:
    Token observe(const std::string& id, std::string name = "n", const void* sender = nullptr) {
        return center_->addObserver(std::move(name), sender,
                                    [this, id](const Notification&) { told_ += id; });
    }

    std::unique_ptr<NotificationCenter> center_ = std::make_unique<NotificationCenter>();
    std::string told_;
};

}  // namespace

TEST_F(GivenACenter, WhenPostedThenObserversAreToldInOrderOfRegistration) {
    const auto a = observe("a"), b = observe("b", ""), c = observe("c"), d = observe("d", "");
    center_->post({"n"});
    EXPECT_EQ(told_, "abcd");
}

TEST_F(GivenACenter, WhenNamesAndSendersAreGivenThenOnlyThoseConcern) {
    const int first = 0, second = 0;
    const auto a = observe("a", "n", &first), b = observe("b", "m"), c = observe("c", "", &second),
               d = observe("d", "");
    center_->post({"n", &first});
    EXPECT_EQ(told_, "ad");
    center_->post({"m", &second});
    EXPECT_EQ(told_, "adbcd");
    center_->post({"n"});
    EXPECT_EQ(told_, "adbcdd");
}

TEST_F(GivenACenter, WhenAnEmptyNameIsPostedThenEachObserverIsToldOnce) {
    const auto a = observe("a", "");
    center_->post({""});
    EXPECT_EQ(told_, "a");
}

TEST_F(GivenACenter, WhenFactsAreSentThenTheyReadByKeyAndType) {
    std::string text;
    const auto token = center_->addObserver("n", nullptr, [&](const Notification& note) {
        if (auto* found = note.info<std::string>("key")) text = *found;
        EXPECT_EQ(note.info<int>("key"), nullptr);
        EXPECT_EQ(note.info<std::string>("other"), nullptr);
    });
    center_->post({"n", nullptr, {{"key", std::string("value")}}});
    EXPECT_EQ(text, "value");
}

TEST_F(GivenACenter, WhenATokenIsCancelledOrDroppedOrReplacedThenItsObservationEnds) {
    auto a = observe("a"), b = observe("b");
    { const auto c = observe("c"); }
    a.cancel();
    a.cancel();
    b = observe("d");
    Token moved = std::move(b);
    center_->post({"n"});
    EXPECT_EQ(told_, "d");
}

TEST_F(GivenACenter, WhenAnObserverIsAddedDuringAPostThenItWaitsForTheNext) {
    Token added;
    const auto a = center_->addObserver("n", nullptr, [&](const Notification&) {
        told_ += "a";
        added = observe("b");
    });
    center_->post({"n"});
    EXPECT_EQ(told_, "a");
}

TEST_F(GivenACenter, WhenAnObserverIsRemovedBeforeItsTurnThenItIsSkipped) {
    Token own, later;
    own = center_->addObserver("n", nullptr, [&](const Notification&) {
        told_ += "a";
        own.cancel();
        later.cancel();
    });
    later = observe("b");
    const auto c = observe("c");
    center_->post({"n"});
    center_->post({"n"});
    EXPECT_EQ(told_, "acc");
}

TEST_F(GivenACenter, WhenAnObserverThrowsThenItIsLoggedAndTheOthersAreTold) {
    std::string line;
    const auto previous = setLogSink([&](std::string_view text) { line = text; });
    const auto a = center_->addObserver(
        "n", nullptr, [](const Notification&) { throw std::runtime_error("broken"); });
    const auto b = observe("b");
    center_->post({"n"});
    setLogSink(previous);
    EXPECT_EQ(told_, "b");
    EXPECT_EQ(line, "An observer of \"n\" threw: broken");
}

TEST_F(GivenACenter, WhenItGoesBeforeItsTokensThenTheyAreHarmless) {
    auto a = observe("a"), b = observe("b");
    center_.reset();
    a.cancel();
}

TEST_F(GivenACenter, WhenAnObserverPostsThenTheInnerPostIsCompleteFirst) {
    const auto a = center_->addObserver("n", nullptr, [&](const Notification&) {
        told_ += "(";
        center_->post({"m"});
        told_ += ")";
    });
    const auto b = observe("b", "m");
    center_->post({"n"});
    EXPECT_EQ(told_, "(b)");
}

TEST_F(GivenACenter, WhenAThousandObserveThenAllAreToldAndCanGoInAnyOrder) {
    std::vector<Token> tokens;
    int told = 0;
    for (int i = 0; i < 1000; ++i)
        tokens.push_back(center_->addObserver("n", nullptr, [&](const Notification&) { ++told; }));
    center_->post({"n"});
    EXPECT_EQ(told, 1000);
    for (std::size_t i = 0; i < tokens.size(); i += 2) tokens[i].cancel();
    center_->post({"n"});
    EXPECT_EQ(told, 1500);
}

TEST_F(GivenACenter, WhenManyThreadsObserveAndPostThenEachHearsItsOwnPosts) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([this] {
            int heard = 0;
            for (int n = 0; n < 500; ++n) {
                const auto token =
                    center_->addObserver("n", &heard, [&](const Notification&) { ++heard; });
                center_->post({"n", &heard});
            }
            EXPECT_EQ(heard, 500);
        });
    for (auto& thread : threads) thread.join();
}
