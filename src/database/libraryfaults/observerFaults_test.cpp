// Observers of commits that throw, write, wait, add and remove while they are called.
#include <gtest/gtest.h>

#include <thread>

#include "database/libraryfaults/CallbackLibrary.h"
#include "store/YapDatabaseException.h"

namespace qsml {
namespace {

class GivenObserversThatThrow : public CallbackLibrary {};

TEST_F(GivenObserversThatThrow, WhenOneDoesThenItIsLoggedAndTheOthersAreCalled) {
    observe("first", {}, throwing("broken observer"));
    observe("second");
    writeRow("a");
    settle();
    EXPECT_EQ(calls(), (Calls{"first a", "second a"}));
    EXPECT_EQ(log_.linesWith("broken observer").size(), 1u);
}

TEST_F(GivenObserversThatThrow, WhenWhatComesIsNoExceptionThenItIsTheSame) {
    observe("first", {}, [] { throw 42; });
    observe("second");
    writeRow("a");
    settle();
    EXPECT_EQ(calls(), (Calls{"first a", "second a"}));
    EXPECT_EQ(log_.lines().size(), 1u);
}

TEST_F(GivenObserversThatThrow, WhenItIsThatOfTheRowThenThoseOfTheCollectionAreCalled) {
    observe("collection");
    observe("row", "a", throwing());
    writeRow("a");
    settle();
    EXPECT_EQ(calls(), (Calls{"row a", "collection a"}));
}

TEST_F(GivenObserversThatThrow, WhenSeveralRowsChangedThenEachIsToldToAll) {
    observe("first", {}, throwing("again"));
    observe("second");
    writeRows({"a", "b", "c"});
    settle();
    EXPECT_EQ(calls(),
              (Calls{"first a", "second a", "first b", "second b", "first c", "second c"}));
    EXPECT_EQ(log_.linesWith("again").size(), 3u);
}

TEST_F(GivenObserversThatThrow, WhenOneOfWillUpdateDoesThenTheConnectionMovesAllTheSame) {
    const auto token = onNotification(PLXUIDatabaseConnectionWillUpdateNotification, throwing());
    const auto did = onNotification(PLXUIDatabaseConnectionDidUpdateNotification, [&] {
        EXPECT_EQ(manager_.uiDatabaseConnection()->snapshot(), manager_.database()->snapshot());
        calls_.push_back("did");
    });
    observe("observer");
    writeRow("a");
    settle();
    EXPECT_EQ(calls(), (Calls{"did", "observer a"}));
}

TEST_F(GivenObserversThatThrow, WhenOneOfDidUpdateDoesThenChangeObserversAndListsAreTold) {
    const auto token = onNotification(PLXUIDatabaseConnectionDidUpdateNotification, throwing());
    observe("observer");
    const auto source = list();
    put("elder", "fruit/9");
    writeRow("a");
    settle();
    EXPECT_EQ(calls(), (Calls{"observer a"}));
    EXPECT_EQ(source->numberOfRowsInSection(0), 5u);
}

class GivenObserversThatWrite : public CallbackLibrary {};

TEST_F(GivenObserversThatWrite, WhenOneDoesThenTheNewCommitIsToldLaterAndOnce) {
    observe("a", "a", [this] {
        writeRow("b");
        calls_.push_back("wrote");
    });
    observe("b", "b");
    writeRow("a");
    settle();
    EXPECT_EQ(calls(), (Calls{"a a", "wrote", "b b"}));
}

TEST_F(GivenObserversThatWrite, WhenSeveralDoThenEachCommitIsToldOnce) {
    observe("first", "a", [this] { writeRow("b"); });
    observe("second", "a", [this] { writeRow("c"); });
    observe("all");
    writeRow("a");
    settle();
    EXPECT_EQ(calls(), (Calls{"first a", "second a", "all a", "all b", "all c"}));
}

TEST_F(GivenObserversThatWrite, WhenItIsAsynchronousThenItIsTheSame) {
    observe("a", "a", [this] {
        manager_.bgDatabaseConnection()->asyncReadWrite(
            [](auto& t) { t.setObject(Value("text"), "b", "rows"); });
    });
    observe("b", "b");
    writeRow("a");
    settle();
    EXPECT_EQ(calls(), (Calls{"a a", "b b"}));
}

TEST_F(GivenObserversThatWrite, WhenTheyChangeWhatTheyObserveThenItEndsWhenTheyDo) {
    int left = 5;
    observe("a", "a", [&] {
        if (left-- > 0) writeRow("a");
    });
    writeRow("a");
    for (int turn = 0; turn < 3; ++turn) settle();
    EXPECT_EQ(calls(), Calls(6, "a a"));
}

TEST_F(GivenObserversThatWrite, WhenTheyThrowAfterwardsThenWhatTheyWroteIsToldAllTheSame) {
    observe("a", "a", [this] {
        writeRow("b");
        throw std::runtime_error("after the write");
    });
    observe("b", "b");
    writeRow("a");
    settle();
    EXPECT_EQ(calls(), (Calls{"a a", "b b"}));
}

TEST_F(GivenObserversThatWrite, WhenItIsOnTheConnectionOfTheScreenThenItIsRefused) {
    observe("a", "a", [this] { manager_.uiDatabaseConnection()->readWrite([](auto&) {}); });
    observe("all");
    writeRow("a");
    settle();
    EXPECT_EQ(calls(), (Calls{"a a", "all a"}));
    EXPECT_EQ(log_.lines().size(), 1u);
    EXPECT_TRUE(manager_.uiDatabaseConnection()->isInLongLivedReadTransaction());
}

TEST_F(GivenObserversThatWrite, WhenOneOfWillUpdateDoesThenThatCommitIsToldOnceToo) {
    const auto writeOnce = once([this] { writeRow("b"); });
    const auto token = onNotification(PLXUIDatabaseConnectionWillUpdateNotification, writeOnce);
    observe("all");
    writeRow("a");
    settle();
    EXPECT_EQ(calls(), (Calls{"all a", "all b"}));
}

TEST_F(GivenObserversThatWrite, WhenOneMakesAListThenItShowsTheCommitAndFollowsTheNext) {
    std::shared_ptr<PLXViewDataSource> made;
    observe("a", "a", [&] {
        made = PLXViewDataSource::initWithView(
            "things", bothGroups(), [](auto, auto) { return true; }, manager_);
    });
    write([](Writer& t) {
        t.setObject(Value("text"), "a", "rows");
        put(t, "elder", "fruit/9");
    });
    settle();
    ASSERT_TRUE(made);
    EXPECT_EQ(made->numberOfRowsInSection(0), 5u);
    put("fig", "fruit/8");
    settle();
    EXPECT_EQ(made->numberOfRowsInSection(0), 6u);
}

class GivenObserversThatAddAndRemove : public CallbackLibrary {};

TEST_F(GivenObserversThatAddAndRemove, WhenOneRemovesItselfThenItIsNotCalledForTheNextRow) {
    Token self = 0;
    self = observe("self", {}, [&] { manager_.removeChangeObserver(self); });
    observe("other");
    writeRows({"a", "b"});
    settle();
    EXPECT_EQ(calls(), (Calls{"self a", "other a", "other b"}));
}

TEST_F(GivenObserversThatAddAndRemove, WhenOneRemovesALaterOneThenThatIsCalledForThisRowStill) {
    Token second = 0;
    observe("first", {}, [&] { manager_.removeChangeObserver(second); });
    second = observe("second");
    writeRows({"a", "b"});
    settle();
    EXPECT_EQ(calls(), (Calls{"first a", "second a", "first b"}));
}

TEST_F(GivenObserversThatAddAndRemove, WhenOneAddsAnotherThenThatIsCalledFromTheNextRowOn) {
    observe("first", {}, once([this] { observe("second"); }));
    writeRows({"a", "b"});
    settle();
    EXPECT_EQ(calls(), (Calls{"first a", "first b", "second b"}));
}

TEST_F(GivenObserversThatAddAndRemove, WhenAllAreRemovedThenTheRestOfTheCommitIsToldToNobody) {
    std::vector<Token> all;
    for (const char* name : {"first", "second"})
        all.push_back(observe(name, {}, [&] {
            for (const Token token : all) manager_.removeChangeObserver(token);
        }));
    writeRows({"a", "b", "c"});
    settle();
    EXPECT_EQ(calls(), (Calls{"first a", "second a"}));
}

TEST_F(GivenObserversThatAddAndRemove, WhenOneOfDidUpdateEndsAnotherThenThatIsSkipped) {
    NotificationCenter::Token second;
    const auto first = onNotification(PLXUIDatabaseConnectionDidUpdateNotification, [&] {
        calls_.push_back("first");
        second.cancel();
    });
    second = onNotification(PLXUIDatabaseConnectionDidUpdateNotification,
                            [&] { calls_.push_back("second"); });
    writeRow("a");
    settle();
    EXPECT_EQ(calls(), (Calls{"first"}));
}

class GivenObserversThatWait : public CallbackLibrary {};

TEST_F(GivenObserversThatWait, WhenItIsForAWriteOfAnotherThreadThenThatIsDone) {
    observe("a", "a", [this] { std::thread([this] { writeRow("b"); }).join(); });
    observe("b", "b");
    writeRow("a");
    settle();
    EXPECT_EQ(calls(), (Calls{"a a", "b b"}));
}

TEST_F(GivenObserversThatWait, WhenItIsForAReadOfTheScreenByAnotherThreadThenThatIsDone) {
    observe("a", "a", [this] {
        std::thread([this] {
            manager_.uiDatabaseConnection()->read([&](auto& t) {
                if (t.hasObjectForKey("a", "rows")) calls_.push_back("seen");
            });
        }).join();
    });
    writeRow("a");
    settle();
    EXPECT_EQ(calls(), (Calls{"a a", "seen"}));
}

TEST_F(GivenObserversThatWait, WhenItIsForOneThatAddsAndRemovesObserversThenThatIsDone) {
    observe("a", "a", [this] {
        std::thread([this] { manager_.removeChangeObserver(observe("never")); }).join();
    });
    writeRow("a");
    settle();
    EXPECT_EQ(calls(), (Calls{"a a"}));
}

TEST_F(GivenObserversThatWait, WhenCommitsGatherMeanwhileThenEachIsToldOnceAndInOrder) {
    observe("all", {}, once([this] {
                std::thread([this] {
                    for (const char* key : {"b", "c", "b", "d"}) writeRow(key);
                }).join();
            }));
    writeRow("a");
    settle();
    EXPECT_EQ(calls(), (Calls{"all a", "all b", "all c", "all d"}));
}

}  // namespace
}  // namespace qsml
