#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <future>
#include <stdexcept>
#include <thread>

#include "database/PLXDatabaseManager.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "testing/FaultyFiles.h"
#include "testing/LogCapture.h"
#include "testing/OpenLibrary.h"
#include "testing/failingCalls.h"

namespace qsml {
namespace {

using Calls = std::vector<std::string>;

void writeRow(PLXDatabaseManager& manager) {
    Error error;
    const auto write = [](auto& transaction) {
        transaction.setObject(Value("text"), "k", "mediaItems");
    };
    EXPECT_TRUE(manager.bgDatabaseConnection()->readWrite(write, &error)) << error.description;
}

class GivenNoFile : public ::testing::Test {
protected:
    URL urlOf(std::string_view name) {
        return URL::fileURLWithPath(directory_.path() + "/" + std::string(name));
    }
    TemporaryDirectory directory_;
    PLXDatabaseManager manager_;
};

TEST_F(GivenNoFile, WhenNotSetUpThenThereIsNoDatabaseAndFiftyLevelsOfUndo) {
    EXPECT_EQ(manager_.database(), nullptr);
    EXPECT_EQ(manager_.uiDatabaseConnection(), nullptr);
    EXPECT_EQ(manager_.bgDatabaseConnection(), nullptr);
    EXPECT_EQ(manager_.undoManager().levelsOfUndo(), 50u);
    EXPECT_EQ(manager_.cloudKitExtension(), nullptr);
}

TEST_F(GivenNoFile, WhenSetUpThenTheFileIsThereAndBothConnectionsAreConfigured) {
    Error error;
    ASSERT_TRUE(manager_.setupDatabaseWithFileURL(urlOf("a library.qsml"), &error))
        << error.description;

    EXPECT_EQ(manager_.database()->defaultObjectPolicy(), YapDatabasePolicy::share);
    EXPECT_EQ(manager_.database()->defaultMetadataPolicy(), YapDatabasePolicy::share);
    for (const auto& connection :
         {manager_.uiDatabaseConnection(), manager_.bgDatabaseConnection()}) {
        EXPECT_TRUE(connection->objectCacheEnabled());
        EXPECT_EQ(connection->objectCacheLimit(), 0u);
        EXPECT_FALSE(connection->metadataCacheEnabled());
        EXPECT_EQ(connection->objectPolicy(), YapDatabasePolicy::share);
    }
    EXPECT_TRUE(manager_.uiDatabaseConnection()->isInLongLivedReadTransaction());
    EXPECT_FALSE(manager_.bgDatabaseConnection()->isInLongLivedReadTransaction());
}

TEST_F(GivenNoFile, WhenTheFolderIsMissingThenSetupSaysSoAndMayBeTriedAgain) {
    Error error;
    EXPECT_FALSE(manager_.setupDatabaseWithFileURL(urlOf("missing/library.qsml"), &error));
    EXPECT_NE(error.description.find("missing/library.qsml"), std::string::npos)
        << error.description;
    EXPECT_EQ(manager_.database(), nullptr);
    EXPECT_TRUE(manager_.setupDatabaseWithFileURL(urlOf("library.qsml"), &error))
        << error.description;
}

TEST_F(GivenNoFile, WhenTheURLIsNoFileURLThenSetupIsRefused) {
    Error error;
    EXPECT_FALSE(
        manager_.setupDatabaseWithFileURL(*URL::withString("https://example.org/x"), &error));
    EXPECT_TRUE(error);
}

TEST_F(GivenNoFile, WhenProvidersAreGivenThenTheyAreAskedInOrderBeforeTheConnectionsOpen) {
    struct Provider : PLXDatabaseExtensionProvider {
        Provider(Calls& calls, std::string name) : calls_(calls), name_(std::move(name)) {}
        void setupDatabaseExtension(PLXDatabaseManager& manager) override {
            calls_.push_back(name_);
            EXPECT_NE(manager.database(), nullptr);
            EXPECT_EQ(manager.uiDatabaseConnection(), nullptr);
        }
        Calls& calls_;
        std::string name_;
    };
    Calls calls;
    const PLXDatabaseManager::Providers providers{std::make_shared<Provider>(calls, "first"),
                                                  std::make_shared<Provider>(calls, "second")};
    ASSERT_TRUE(manager_.setupDatabaseWithFileURL(urlOf("library.qsml"), providers));
    EXPECT_EQ(calls, (Calls{"first", "second"}));
}

TEST_F(GivenNoFile, WhenAProviderThrowsThenItIsLoggedAndTheOthersAndTheLibraryStillWork) {
    struct Provider : PLXDatabaseExtensionProvider {
        explicit Provider(bool throws) : throws_(throws) {}
        void setupDatabaseExtension(PLXDatabaseManager&) override {
            if (throws_) throw std::runtime_error("no extension today");
            wasAsked = true;
        }
        bool throws_;
        bool wasAsked = false;
    };
    LogCapture log;
    const auto last = std::make_shared<Provider>(false);
    EXPECT_TRUE(manager_.setupDatabaseWithFileURL(urlOf("library.qsml"),
                                                  {std::make_shared<Provider>(true), last}));
    EXPECT_TRUE(last->wasAsked);
    EXPECT_EQ(log.linesWith("no extension today").size(), 1u);
    writeRow(manager_);
}

TEST_F(GivenNoFile, WhenACommitIsAnnouncedBeforeSetupThenBothNotificationsComeWithoutAList) {
    Calls calls;
    auto& center = NotificationCenter::defaultCenter();
    const auto observe = [&](std::string_view name) {
        return center.addObserver(std::string(name), &manager_, [&](const Notification& posted) {
            calls.push_back(posted.name);
            EXPECT_TRUE(posted.userInfo.empty());
        });
    };
    const auto will = observe(PLXUIDatabaseConnectionWillUpdateNotification);
    const auto did = observe(PLXUIDatabaseConnectionDidUpdateNotification);
    manager_.yapDatabaseModified({std::string(YapDatabaseModifiedNotification)});
    EXPECT_EQ(calls, (Calls{"PLXUIDatabaseConnectionWillUpdateNotification",
                            "PLXUIDatabaseConnectionDidUpdateNotification"}));
}

TEST_F(GivenNoFile, WhenACallOfTheSystemFailsThenSetupSaysSoOrEverythingWorks) {
    // Never taken out of service: a pool thread may be the last to hold a file.
    static FaultyFiles& files = *new FaultyFiles;
    files.skipSyncs();
    DispatchQueue queue("tests.notifications");
    LogCapture log;
    std::unique_ptr<PLXDatabaseManager> manager;
    URL url = urlOf("0.qsml");
    bool done = false;
    int tries = 0;
    Error error;
    const auto setup = [&] {
        error = {};
        done = manager->setupDatabaseWithFileURL(url, &error);
    };
    const auto prepare = [&] {
        manager = std::make_unique<PLXDatabaseManager>();
        YapDatabaseOptions options;
        options.vfsName = files.vfsName();
        options.notificationQueue = &queue;
        manager->setDatabaseOptions(options);
        url = urlOf(std::to_string(++tries) + ".qsml");
    };
    const auto verify = [&] {
        if (!done) {
            EXPECT_TRUE(error);
            EXPECT_EQ(manager->database(), nullptr);
            EXPECT_EQ(manager->uiDatabaseConnection(), nullptr);
            queue.sync([] {});  // the notice of a registration holds the database until it is told
            setup();
        }
        ASSERT_TRUE(done) << error.description;
        writeRow(*manager);
        queue.sync([] {});  // a background checkpoint that failed may have cost the old snapshot
        EXPECT_TRUE(manager->uiDatabaseConnection()->isInLongLivedReadTransaction());
    };
    EXPECT_GT(forEachFailingCall(files, {anyFileCall}, {prepare, setup, verify}), 10U);
    manager.reset();
    queue.sync([] {});  // nothing may hold a file when its VFS goes
}

// ---- a second setup

class GivenALibraryThatIsSetUp : public OpenLibrary {};

TEST_F(GivenALibraryThatIsSetUp, WhenSetUpAgainThenThatIsRefusedAndEverythingStays) {
    const auto database = manager_.database();
    const auto ui = manager_.uiDatabaseConnection();
    Calls calls;
    (void)manager_.addChangeObserverForCollection("mediaItems", {},
                                                  [&](auto, auto) { calls.push_back("observer"); });
    for (const std::string& file : {path(), directory_.path() + "/other.qsml"}) {
        Error error;
        EXPECT_FALSE(manager_.setupDatabaseWithFileURL(URL::fileURLWithPath(file), &error));
        EXPECT_EQ(error.domain, YapDatabaseErrorDomain);
        EXPECT_EQ(error.code, static_cast<std::int64_t>(YapDatabaseErrorCode::alreadyOpen));
    }
    EXPECT_EQ(manager_.database(), database);
    EXPECT_EQ(manager_.uiDatabaseConnection(), ui);
    EXPECT_FALSE(std::ifstream(directory_.path() + "/other.qsml").good()) << "nothing was made";
    writeRow(manager_);
    drain();
    EXPECT_EQ(calls, (Calls{"observer"}));
}

TEST_F(GivenALibraryThatIsSetUp,
       WhenAnotherManagerWantsTheSameFileThenItIsRefusedAndThisOneGoesOn) {
    PLXDatabaseManager other;
    Error error;
    EXPECT_FALSE(other.setupDatabaseWithFileURL(URL::fileURLWithPath(path()), &error));
    EXPECT_EQ(error.code, static_cast<std::int64_t>(YapDatabaseErrorCode::alreadyOpen));
    EXPECT_EQ(other.database(), nullptr);
    writeRow(manager_);
}

// ---- a manager that goes away

class GivenAManagerThatGoesAway : public OpenLibrary {
protected:
    void SetUp() override {
        OpenLibrary::SetUp();
        leaving_->setDatabaseOptions(options());
        ASSERT_TRUE(leaving_->setupDatabaseWithFileURL(
            URL::fileURLWithPath(directory_.path() + "/leaving.qsml")));
        drain();
    }
    std::unique_ptr<PLXDatabaseManager> leaving_ = std::make_unique<PLXDatabaseManager>();
};

TEST_F(GivenAManagerThatGoesAway, WhenNotificationsWaitThenNothingIsCalledAnyMore) {
    Calls calls;
    (void)leaving_->addChangeObserverForCollection("mediaItems", {},
                                                   [&](auto, auto) { calls.push_back("gone"); });
    writeRow(*leaving_);
    const auto keepsTheFileOpen = leaving_->database();
    leaving_.reset();
    drain();
    EXPECT_TRUE(calls.empty());
}

TEST_F(GivenAManagerThatGoesAway, WhenACallbackRunsOnAnotherThreadThenThatIsWaitedFor) {
    std::promise<void> started;
    std::promise<void> leaves;
    std::atomic<bool> finished{false};
    (void)leaving_->addChangeObserverForCollection("mediaItems", {}, [&](auto, auto) {
        started.set_value();
        leaves.get_future().wait();
        for (int turn = 0; turn < 1000; ++turn) std::this_thread::yield();
        finished = true;
    });
    writeRow(*leaving_);
    queue_.resume();
    started.get_future().wait();
    leaves.set_value();
    leaving_.reset();
    EXPECT_TRUE(finished);
    queue_.suspend();
}

}  // namespace
}  // namespace qsml
