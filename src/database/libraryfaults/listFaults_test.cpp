// Delegates of lists, filters, blocks and the log sink that throw, write, wait and go away while
// they are called.
#include <gtest/gtest.h>

#include <thread>

#include "database/libraryfaults/CallbackLibrary.h"
#include "foundation/Log.h"
#include "store/YapDatabaseException.h"

namespace qsml {
namespace {

class GivenAListWhoseDelegateThrows : public CallbackLibrary {
protected:
    void SetUp() override {
        CallbackLibrary::SetUp();
        source_ = list();
        delegate_ = recorder();
        source_->setDelegate(delegate_);
    }
    template <class... Arguments>
    std::function<void(PLXViewDataSource&, Arguments...)> broken() {
        return [this](PLXViewDataSource&, Arguments...) {
            calls_.push_back("thrown");
            throw std::runtime_error("broken delegate");
        };
    }
    /// Two rows come into the list.
    void addTwo() {
        write([](Writer& t) {
            put(t, "elder", "fruit/8");
            put(t, "fig", "fruit/9");
        });
        settle();
        EXPECT_EQ(source_->numberOfRowsInSection(0), 6u);
        EXPECT_FALSE(log_.linesWith("broken delegate").empty());
    }
    std::shared_ptr<PLXViewDataSource> source_;
    std::shared_ptr<PLXViewDataSourceDelegate> delegate_;
};

TEST_F(GivenAListWhoseDelegateThrows, WhenAtTheBeginningThenTheRowsAndTheEndAreToldAllTheSame) {
    delegate_->willBeginUpdates = broken<>();
    addTwo();
    EXPECT_EQ(calls(), (Calls{"thrown", "insert 0.4", "insert 0.5", "end"}));
}

TEST_F(GivenAListWhoseDelegateThrows, WhenAtARowThenTheOthersAndTheEndAreToldAllTheSame) {
    delegate_->didInsertRowAtIndexPath = broken<IndexPath>();
    addTwo();
    EXPECT_EQ(calls(), (Calls{"begin", "thrown", "thrown", "end"}));
}

TEST_F(GivenAListWhoseDelegateThrows, WhenInsteadOfPerformingThenTheEndIsToldAllTheSame) {
    delegate_->performUpdates = broken<const PLXViewDataSourceDelegate::Block&>();
    addTwo();
    EXPECT_EQ(calls(), (Calls{"begin", "thrown", "end"}));
}

TEST_F(GivenAListWhoseDelegateThrows, WhenAtTheEndThenTheSelectionFollowsItsRecordAllTheSame) {
    delegate_->didEndUpdates = broken<>();
    source_->setIndexPathForSelectedRow(IndexPath{0, 1});
    put("aaa", "fruit/0");
    settle();
    EXPECT_EQ(source_->indexPathForSelectedRow(), (IndexPath{0, 2}));
}

TEST_F(GivenAListWhoseDelegateThrows, WhenThereIsAnotherListThenThatIsTold) {
    delegate_->willBeginUpdates = broken<>();
    const auto second = list({"fruit"});
    const auto delegate = std::make_shared<PLXViewDataSourceDelegate>();
    delegate->didInsertRowAtIndexPath = [this](auto&, IndexPath) { calls_.push_back("second"); };
    second->setDelegate(delegate);
    addTwo();
    const Calls told = calls();
    EXPECT_EQ(std::count(told.begin(), told.end(), "second"), 2);
}

class GivenAListWhoseDelegateActs : public GivenAListWhoseDelegateThrows {};

TEST_F(GivenAListWhoseDelegateActs, WhenItWritesThenThatIsToldInAnUpdateOfItsOwn) {
    const auto writeOnce = once([this] { put("zest", "herbs/9"); });
    delegate_->didInsertRowAtIndexPath = [this, writeOnce](auto&, IndexPath path) {
        calls_.push_back("insert " + textOf(path));
        writeOnce();
    };
    put("elder", "fruit/9");
    settle();
    EXPECT_EQ(calls(), (Calls{"begin", "insert 0.4", "end", "begin", "insert 1.1", "end"}));
}

TEST_F(GivenAListWhoseDelegateActs, WhenItLetsGoOfTheListThenNothingMoreIsToldOfTheNextCommit) {
    delegate_->willBeginUpdates = [this](auto&) {
        calls_.push_back("gone");
        source_ = nullptr;
    };
    put("elder", "fruit/9");
    settle();
    const Calls told = calls();
    ASSERT_FALSE(told.empty());
    EXPECT_EQ(told.front(), "gone");
    put("fig", "fruit/8");
    settle();
    EXPECT_EQ(calls(), Calls());
}

TEST_F(GivenAListWhoseDelegateActs, WhenItGoesAwayThenItsCallEndsAndNothingBreaks) {
    delegate_->willBeginUpdates = [this](auto&) { delegate_ = nullptr; };
    put("elder", "fruit/9");
    settle();
    EXPECT_EQ(source_->delegate(), nullptr);
    EXPECT_EQ(source_->numberOfRowsInSection(0), 5u);
}

TEST_F(GivenAListWhoseDelegateActs, WhenItAsksForRowsThenItSeesTheNewSnapshot) {
    delegate_->didInsertRowAtIndexPath = [this](PLXViewDataSource& source, IndexPath path) {
        calls_.push_back(source.itemAtIndexPath(path).string().str());
    };
    put("elder", "fruit/9");
    settle();
    EXPECT_EQ(calls(), (Calls{"begin", "fruit/9", "end"}));
}

class GivenAFilterThatMisbehaves : public CallbackLibrary {
protected:
    std::shared_ptr<PLXViewDataSource> filtered(PLXViewDataSource::Filter filter) {
        auto made =
            PLXViewDataSource::initWithView("things", {"fruit"}, std::move(filter), manager_);
        settle();
        return made;
    }
};

TEST_F(GivenAFilterThatMisbehaves, WhenItThrowsForARowThenThatIsNotShownAndTheOthersAre) {
    const auto source = filtered([](auto, std::string_view key) {
        if (key == "cherry") throw std::runtime_error("broken filter");
        return true;
    });
    EXPECT_EQ(source->numberOfRowsInSection(0), 3u);
    EXPECT_FALSE(log_.linesWith("broken filter").empty());
}

TEST_F(GivenAFilterThatMisbehaves, WhenItThrowsDuringACommitThenThatIsDoneAllTheSame) {
    const auto source = filtered([](auto, std::string_view key) {
        if (key == "elder") throw std::runtime_error("broken filter");
        return true;
    });
    write([](Writer& t) {
        put(t, "elder", "fruit/8");
        put(t, "fig", "fruit/9");
    });
    settle();
    EXPECT_EQ(source->numberOfRowsInSection(0), 5u);
}

TEST_F(GivenAFilterThatMisbehaves, WhenItThrowsNoExceptionThenItIsTheSame) {
    const auto source = filtered([](auto, std::string_view key) {
        if (key == "cherry") throw 42;
        return true;
    });
    EXPECT_EQ(source->numberOfRowsInSection(0), 3u);
}

TEST_F(GivenAFilterThatMisbehaves, WhenItWritesThenThatIsRefusedAndTheRowNotShown) {
    bool isRefused = false;
    const auto source = filtered([&](auto, std::string_view key) {
        if (key != "elder") return true;
        try {
            manager_.database()->newConnection()->readWrite([](auto&) {});
        } catch (const YapDatabaseException&) {
            isRefused = true;
            throw;
        }
        return true;
    });
    put("elder", "fruit/9");
    settle();
    EXPECT_TRUE(isRefused);
    EXPECT_EQ(source->numberOfRowsInSection(0), 4u);
}

TEST_F(GivenAFilterThatMisbehaves, WhenItWaitsForAReadOfAnotherThreadThenThatIsDone) {
    const auto source = filtered([&](auto, std::string_view key) {
        bool isThere = false;
        std::thread([&] {
            manager_.database()->newConnection()->read(
                [&](auto& t) { isThere = t.hasObjectForKey(key, "things"); });
        }).join();
        return isThere;
    });
    EXPECT_EQ(source->numberOfRowsInSection(0), 4u);
}

class GivenBlocksThatThrow : public CallbackLibrary {};

TEST_F(GivenBlocksThatThrow, WhenAWriteDoesThenNothingOfItStaysAndTheCallerGetsIt) {
    const auto source = list();
    const auto delegate = recorder();
    source->setDelegate(delegate);
    EXPECT_THROW(manager_.bgDatabaseConnection()->readWrite([](auto& t) {
        put(t, "elder", "fruit/9");
        throw std::runtime_error("broken block");
    }),
                 std::runtime_error);
    settle();
    EXPECT_EQ(calls(), Calls());
    EXPECT_EQ(source->numberOfRowsInSection(0), 4u);
}

TEST_F(GivenBlocksThatThrow, WhenAnAsynchronousWriteDoesThenItsCompletionIsToldAndTheNextIsDone) {
    bool failed = false, done = false;
    manager_.bgDatabaseConnection()->asyncReadWrite(
        [](auto&) { throw std::runtime_error("broken block"); },
        [&](const Error& error) { failed = static_cast<bool>(error); });
    manager_.bgDatabaseConnection()->asyncReadWrite([](auto& t) { put(t, "elder", "fruit/9"); },
                                                    [&](const Error& error) { done = !error; });
    settle();
    EXPECT_TRUE(failed);
    EXPECT_TRUE(done);
    EXPECT_EQ(log_.linesWith("broken block").size(), 1u);
}

TEST_F(GivenBlocksThatThrow, WhenACompletionDoesThenTheNextIsCalled) {
    bool done = false;
    manager_.bgDatabaseConnection()->asyncReadWrite(
        [](auto& t) { put(t, "elder", "fruit/9"); },
        [](const Error&) { throw std::runtime_error("broken completion"); });
    manager_.bgDatabaseConnection()->asyncReadWrite([](auto& t) { put(t, "fig", "fruit/8"); },
                                                    [&](const Error&) { done = true; });
    settle();
    EXPECT_TRUE(done);
    EXPECT_EQ(log_.linesWith("broken completion").size(), 1u);
}

class GivenALogSinkThatMisbehaves : public CallbackLibrary {
protected:
    /// Something that is logged amid the news of a commit, and an observer after it.
    void expectTheNewsToGoOn() {
        observe("first", {}, throwing());
        observe("second");
        writeRow("a");
        settle();
        EXPECT_EQ(calls(), (Calls{"first a", "second a"}));
    }
    void TearDown() override {
        setLogSink(previous_);
        CallbackLibrary::TearDown();
    }
    void setSink(LogSink sink) { previous_ = setLogSink(std::move(sink)); }
    LogSink previous_;
};

TEST_F(GivenALogSinkThatMisbehaves, WhenItThrowsThenTheNewsGoesOn) {
    setSink([](std::string_view) { throw std::runtime_error("broken sink"); });
    expectTheNewsToGoOn();
}

TEST_F(GivenALogSinkThatMisbehaves, WhenItLogsThenTheNewsGoesOn) {
    setSink([](std::string_view) { log("a line about a line"); });
    expectTheNewsToGoOn();
}

TEST_F(GivenALogSinkThatMisbehaves, WhenItReadsTheLibraryThenTheNewsGoesOn) {
    bool isThere = false;
    setSink([&](std::string_view) {
        manager_.database()->newConnection()->read(
            [&](auto& t) { isThere = t.hasObjectForKey("a", "rows"); });
    });
    expectTheNewsToGoOn();
    EXPECT_TRUE(isThere);
}

}  // namespace
}  // namespace qsml
