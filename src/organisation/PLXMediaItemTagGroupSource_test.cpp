#include "organisation/PLXMediaItemTagGroupSource.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "organisation/PLXQueue.h"
#include "organisation/detail/testing/FaultyLibrary.h"
#include "organisation/detail/testing/TagGroups.h"

namespace qsml {
namespace {

class GivenATagGroupSource : public LibraryWithTagGroups {
protected:
    void SetUp() override {
        LibraryWithTagGroups::SetUp();
        setGroup("mood", "Mood", {"dark", "bright"});
        setGroup("set", "Set", {"warm-up", "bright"});
        drain();
        source_ = std::make_unique<PLXMediaItemTagGroupSource>(manager_);
    }
    /// Tells of commits as the manager does.
    void post(const YapDatabaseNotifications& commits, const void* sender) {
        NotificationCenter::defaultCenter().post(
            {std::string(PLXUIDatabaseConnectionDidUpdateNotification),
             sender,
             {{std::string(PLXUIDatabaseConnectionNotificationsKey), commits}}});
    }
    static YapDatabaseNotifications commitOf(const String& collection) {
        auto commit = std::make_shared<YapDatabaseCommit>();
        commit->changes.push_back({{collection, "k"}, true});
        return {commit};
    }
    /// Whether the action makes the source load: it answers the same map until then.
    template <class Action>
    bool loads(Action&& action) {
        const auto before = source_->groups();
        action();
        return source_->groups() != before;
    }

    std::unique_ptr<PLXMediaItemTagGroupSource> source_;
};

TEST_F(GivenATagGroupSource, WhenMadeThenTheGroupsAreThereByUUID) {
    const GroupContents expected = {{"mood", {"Mood", {"dark", "bright"}}},
                                    {"set", {"Set", {"warm-up", "bright"}}}};
    EXPECT_EQ(contentsOf(*source_), expected);
}

TEST_F(GivenATagGroupSource, WhenAGroupIsSoughtByTagThenTheTextCountsExactly) {
    ASSERT_TRUE(source_->groupForTag("dark"));
    EXPECT_EQ(source_->groupForTag("dark")->uuid(), "mood");
    EXPECT_EQ(source_->groupForTag("warm-up")->uuid(), "set");
    EXPECT_TRUE(source_->groupForTag("bright")) << "any of the two";
    for (const String& text : {String("Dark"), String("dark "), String(""), String()})
        EXPECT_EQ(source_->groupForTag(text), nullptr) << text;
}

TEST_F(GivenATagGroupSource, WhenAGroupHasNoTagsThenItHoldsNone) {
    write([](YapDatabaseReadWriteTransaction& transaction) {
        transaction.setObject(PLXMediaItemTagGroup::initWithUUID("a"), "a", "mediaItemTagGroups");
    });
    drain();
    ASSERT_TRUE(source_->groups()->contains("a"));
    EXPECT_EQ(source_->groupForTag("x"), nullptr);
    EXPECT_EQ(source_->groupForTag(nullptr), nullptr);
    EXPECT_EQ(source_->groupForTag("dark")->uuid(), "mood");
}

TEST_F(GivenATagGroupSource, WhenAGroupChangesThenItIsLoadedAndWhatOthersHoldStays) {
    const auto held = source_->groups();
    setGroup("mood", "Moods", {"gloomy"});
    EXPECT_EQ(source_->groups(), held) << "not before the notice";
    drain();
    EXPECT_EQ(source_->groups()->at("mood")->name(), "Moods");
    EXPECT_EQ(source_->groupForTag("dark"), nullptr);
    EXPECT_EQ(held->at("mood")->name(), "Mood");

    write([](YapDatabaseReadWriteTransaction& transaction) {
        transaction.removeObjectForKey("mood", "mediaItemTagGroups");
    });
    drain();
    EXPECT_EQ(source_->groups()->size(), 1U);
    EXPECT_EQ(held->size(), 2U);
}

TEST_F(GivenATagGroupSource, WhenOtherCollectionsChangeThenNothingIsLoaded) {
    EXPECT_FALSE(loads([this] {
        write([](YapDatabaseReadWriteTransaction& transaction) {
            transaction.setObject(PLXQueue::initWithUUID("q"), "q", "mediaItemTags");
            transaction.setObject(PLXQueue::initWithUUID("q"), "mediaItemTagGroups", "queues");
        });
        drain();
    }));
}

TEST_F(GivenATagGroupSource, WhenToldOfCommitsThenOnlyThoseThatMayConcernItLoad) {
    auto foreign = std::make_shared<YapDatabaseCommit>();
    foreign->isForeign = true;
    EXPECT_TRUE(loads([&] { post({foreign}, &manager_); })) << "any row may have changed";
    EXPECT_TRUE(loads([&] { post(commitOf("mediaItemTagGroups"), &manager_); }));
    EXPECT_FALSE(loads([&] { post(commitOf("mediaItemTags"), &manager_); }));
    EXPECT_FALSE(loads([&] { post({}, &manager_); }));
    EXPECT_FALSE(loads([&] { post(commitOf("mediaItemTagGroups"), this); })) << "another library's";
}

TEST_F(GivenATagGroupSource, WhenANoticeHoldsNoListOrAnotherThingThenNothingIsLoaded) {
    Notification notice{std::string(PLXUIDatabaseConnectionDidUpdateNotification), &manager_};
    EXPECT_FALSE(loads([&] { source_->databaseDidUpdate(notice); }));
    notice.userInfo[std::string(PLXUIDatabaseConnectionNotificationsKey)] = 5;
    EXPECT_FALSE(loads([&] { source_->databaseDidUpdate(notice); }));
    notice.userInfo[std::string(PLXUIDatabaseConnectionNotificationsKey)] =
        commitOf("mediaItemTagGroups");
    EXPECT_TRUE(loads([&] { source_->databaseDidUpdate(notice); }));
}

TEST_F(GivenATagGroupSource, WhenRecordsOfOtherClassesOrWithoutUUIDStandThereThenTheyAreLeftOut) {
    const auto before = contentsOf(*source_);
    write([](YapDatabaseReadWriteTransaction& transaction) {
        transaction.setObject(PLXQueue::initWithUUID("q"), "q", "mediaItemTagGroups");
        transaction.setObject(PLXMediaItemTagGroup::initWithUUID({}), "n", "mediaItemTagGroups");
        transaction.setObject(Value("text"), "t", "mediaItemTagGroups");
    });
    drain();
    EXPECT_EQ(contentsOf(*source_), before);
}

TEST_F(GivenATagGroupSource, WhenItGoesThenNoNoticeReachesIt) {
    source_.reset();
    removeAllGroups();
    writeDefaults(element("a"));
    drain();
    EXPECT_TRUE(storedGroups(manager_).empty()) << "nobody seeds";
}

// The first observer of a notice ends the source that is the next.
TEST_F(GivenATagGroupSource, WhenItGoesWhileANoticeIsDeliveredThenItIsNotTold) {
    source_.reset();
    std::unique_ptr<PLXMediaItemTagGroupSource> source;
    const auto token = NotificationCenter::defaultCenter().addObserver(
        std::string(PLXUIDatabaseConnectionDidUpdateNotification), &manager_,
        [&](const Notification&) { source.reset(); });
    source = std::make_unique<PLXMediaItemTagGroupSource>(manager_);
    writeDefaults(element("a"));
    removeAllGroups();
    drain();
    EXPECT_EQ(source, nullptr);
    EXPECT_TRUE(storedGroups(manager_).empty());
}

// The reload stands still in the log line of its malformed file while another thread ends the
// source.
TEST_F(GivenATagGroupSource, WhenItGoesWhileItLoadsThenItWaitsForThatAndNothingMoreBegins) {
    writeFile(pathOfDefaults(), "no property list");
    std::promise<void> loading;
    std::atomic<bool> isEnding{false}, isGone{false}, wasGoneMeanwhile{false};
    const auto previous = setLogSink([&](std::string_view) {
        loading.set_value();
        while (!isEnding) std::this_thread::yield();
        for (int turn = 0; turn < 10'000; ++turn) {
            std::this_thread::yield();
            if (isGone) wasGoneMeanwhile = true;
        }
    });
    removeAllGroups();
    queue_.resume();
    loading.get_future().wait();
    std::thread ending([&] {
        isEnding = true;
        source_.reset();
        isGone = true;
    });
    ending.join();
    queue_.sync([] {});
    queue_.suspend();
    setLogSink(previous);
    EXPECT_FALSE(wasGoneMeanwhile);
    setGroup("b", "Other", {});
    writeDefaults(element("a"));
    removeAllGroups();
    drain();
    EXPECT_TRUE(storedGroups(manager_).empty());
}

TEST_F(GivenATagGroupSource, WhenManyThreadsReadWhileItLoadsThenEachSeesAWholeState) {
    const auto setBoth = [&](const String& name) {
        write([&](YapDatabaseReadWriteTransaction& transaction) {
            for (const char* uuid : {"mood", "set"}) {
                const auto group = PLXMediaItemTagGroup::initWithUUID(uuid);
                group->setName(name);
                transaction.setObject(group, uuid, "mediaItemTagGroups");
            }
        });
        drain();
    };
    setBoth("first");
    std::atomic<bool> isDone{false};
    std::atomic<int> halfStates{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 2; ++i)
        readers.emplace_back([&] {
            while (!isDone) {
                const auto groups = source_->groups();
                if (groups->at("mood")->name() != groups->at("set")->name()) ++halfStates;
                (void)source_->groupForTag("x");
            }
        });
    for (int i = 0; i < 30; ++i) setBoth(std::to_string(i));
    isDone = true;
    for (auto& reader : readers) reader.join();
    EXPECT_EQ(halfStates, 0);
    EXPECT_EQ(source_->groups()->at("mood")->name(), "29");
}

TEST(GivenATagGroupLibraryWhoseFileFails, WhenLoadedAgainThenTheGroupsAreNewOrAsBefore) {
    const auto set = [](PLXDatabaseManager& manager, const char* name) {
        manager.database()->newConnection()->readWrite([&](auto& transaction) {
            for (int i = 0; i < 10; ++i) {
                const auto group = PLXMediaItemTagGroup::initWithUUID(std::to_string(i));
                group->setName(name + std::string(2000, 'n'));
                transaction.setObject(group, group->uuid(), "mediaItemTagGroups");
            }
        });
    };
    std::uint64_t failures = 0;
    const auto load = [&](PLXDatabaseManager& manager) {
        PLXMediaItemTagGroupSource source(manager);
        const auto before = source.groups();
        LogCapture log;
        const bool isLoaded = source.setupGroups();
        const auto lines = log.linesWith("The tag groups could not be loaded: ");
        EXPECT_EQ(lines.size(), isLoaded ? 0U : 1U);
        for (const auto& line : lines) EXPECT_NE(line.find(".qsml"), std::string::npos) << line;
        EXPECT_EQ(source.groups() == before, !isLoaded);
        EXPECT_TRUE(!isLoaded || source.groups()->size() == 10);
        if (!isLoaded) ++failures;
    };
    const FaultyLibrary::Step fill = [&](auto& manager) { set(manager, "a"); };
    FaultyLibrary().forEachFailingCall({FileCall::read | FileCall::lock | FileCall::shmLock}, fill,
                                       load, [](PLXDatabaseManager&) {});
    EXPECT_GT(failures, 0U);
}

TEST(GivenAManagerThatIsNotSetUp, WhenASourceIsMadeThenItHasNoGroupsUntilTold) {
    LogCapture log;
    PLXDatabaseManager manager;
    PLXMediaItemTagGroupSource source(manager);
    ASSERT_TRUE(source.groups());
    EXPECT_TRUE(source.groups()->empty());
    EXPECT_EQ(source.groupForTag("x"), nullptr);
    EXPECT_FALSE(source.setupGroups());
    EXPECT_TRUE(log.lines().empty());
    manager.yapDatabaseModified({});
    TemporaryDirectory directory;
    ASSERT_TRUE(manager.setupDatabaseWithFileURL(URL::fileURLWithPath(directory.file("l.qsml"))));
    EXPECT_TRUE(source.setupGroups());
    EXPECT_FALSE(source.groups()->empty());
}

TEST(GivenTheSharedManager, WhenTheSharedTagGroupSourceIsAskedThenItIsOneAndUsesItsLibrary) {
    auto& manager = sharedLibrary();
    auto& source = PLXMediaItemTagGroupSource::sharedInstance();
    EXPECT_EQ(&source, &PLXMediaItemTagGroupSource::sharedInstance());
    EXPECT_FALSE(source.groups()->empty());
    EXPECT_EQ(contentsOf(source), storedGroups(manager));
}

}  // namespace
}  // namespace qsml
