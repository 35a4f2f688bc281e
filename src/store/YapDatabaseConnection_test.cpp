#include "store/YapDatabaseConnection.h"

#include <dirent.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <thread>

#include "store/YapDatabaseException.h"
#include "testing/OpenStore.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

using Writer = YapDatabaseReadWriteTransaction;
using Reader = YapDatabaseReadTransaction;

class GivenTwoConnections : public OpenStore {
protected:
    void SetUp() override {
        OpenStore::SetUp();
        second_ = store_.database().newConnection();
        ASSERT_TRUE(second_);
    }
    void TearDown() override {
        second_.reset();
        OpenStore::TearDown();
    }
    static Value object(YapDatabaseConnection& connection, std::string_view key) {
        Value found;
        connection.read([&](Reader& t) { found = t.objectForKey(key, "texts"); });
        return found;
    }
    static const void* identity(const Value& value) { return value.string().identity(); }

    std::shared_ptr<YapDatabaseConnection> second_;
};

// Isolation.

TEST_F(GivenTwoConnections, WhenAWriteCommitsThenARunningReadKeepsItsSnapshot) {
    store_.set("k", "a");
    second_->read([&](Reader& t) {
        const auto before = t.snapshot();
        store_.set("k", "b");
        EXPECT_EQ(t.objectForKey("k", "texts").string(), "a");
        EXPECT_EQ(t.snapshot(), before);
    });
    EXPECT_EQ(object(*second_, "k").string(), "b");
}

TEST_F(GivenTwoConnections, WhenAWriteRunsThenOthersSeeItOnlyAfterTheCommit) {
    store_.connection().readWrite([&](Writer& t) {
        t.setObject("a", "k", "texts");
        EXPECT_TRUE(object(*second_, "k").isNil());
    });
    EXPECT_EQ(object(*second_, "k").string(), "a");
}

TEST_F(GivenTwoConnections, WhenABlockStartsASynchronousTransactionOfItsOwnThenItThrows) {
    auto& first = store_.connection();
    first.read([&](Reader&) {
        EXPECT_THROW(first.read([](Reader&) {}), YapDatabaseException);
        EXPECT_THROW(first.readWrite([](Writer&) {}), YapDatabaseException);
        EXPECT_THROW(first.beginLongLivedReadTransaction(), YapDatabaseException);
    });
    first.readWrite([&](Writer&) {
        EXPECT_THROW(second_->readWrite([](Writer&) {}), YapDatabaseException);
        EXPECT_THROW(store_.database().checkpoint(), YapDatabaseException);
    });
    EXPECT_TRUE(store_.set("k", "works on"));
}

TEST_F(GivenTwoConnections, WhenABlockStartsAnAsynchronousWriteThenItRunsAfterwards) {
    std::promise<void> done;
    store_.connection().readWrite([&](Writer& t) {
        t.setObject("a", "k", "texts");
        store_.connection().asyncReadWrite([](Writer& next) { next.setObject("b", "k", "texts"); },
                                           [&](const Error& error) {
                                               EXPECT_FALSE(error);
                                               done.set_value();
                                           });
    });
    done.get_future().wait();
    EXPECT_EQ(store_.text("k"), "b");
}

TEST_F(GivenTwoConnections, WhenAnAsynchronousBlockThrowsThenItIsRolledBackAndReported) {
    std::promise<Error> failure;
    store_.connection().asyncReadWrite(
        [](Writer& t) {
            t.setObject("a", "k", "texts");
            throw std::runtime_error("a mishap");
        },
        [&](const Error& error) { failure.set_value(error); });
    EXPECT_NE(failure.get_future().get().description.find("a mishap"), std::string::npos);
    EXPECT_EQ(store_.text("k"), "(nil)");
}

TEST_F(GivenTwoConnections, WhenFlushedThenEverythingSubmittedEarlierIsDone) {
    std::atomic<int> runs{0};
    std::promise<int> seen;
    for (int i = 0; i < 20; ++i) store_.connection().asyncRead([&](Reader&) { ++runs; });
    store_.connection().flushTransactions([&] { seen.set_value(runs); });
    EXPECT_EQ(seen.get_future().get(), 20);
}

TEST_F(GivenTwoConnections, WhenUsedInAForkedChildThenItThrows) {
    const pid_t child = fork();
    if (child == 0) {
        int code = 1;
        try {
            store_.connection().read([](Reader&) {});
        } catch (const YapDatabaseException&) {
            code = 0;
        }
        _exit(code);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_TRUE(store_.set("k", "the parent works on"));
}

// Caches and policies.

TEST_F(GivenTwoConnections, WhenReadTwiceThenTheSecondComesFromTheCache) {
    store_.set("k", "a");
    const Value first = object(*second_, "k");
    EXPECT_EQ(identity(object(*second_, "k")), identity(first));
    second_->flushMemory();
    EXPECT_NE(identity(object(*second_, "k")), identity(first));
    second_->setObjectCacheEnabled(false);
    EXPECT_NE(identity(object(*second_, "k")), identity(object(*second_, "k")));
}

TEST_F(GivenTwoConnections, WhenWrittenThenTheWriterReadsItsOwnInstance) {
    const String text("a");
    store_.connection().readWrite([&](Writer& t) { t.setObject(text, "k", "texts"); });
    EXPECT_EQ(identity(object(store_.connection(), "k")), text.identity());
}

TEST_F(GivenTwoConnections, WhenRolledBackThenTheCacheKeepsTheOldValue) {
    store_.set("k", "a");
    object(store_.connection(), "k");
    store_.connection().readWrite([](Writer& t) {
        t.setObject("b", "k", "texts");
        EXPECT_EQ(t.objectForKey("k", "texts").string(), "b");
        t.rollback();
    });
    EXPECT_EQ(store_.text("k"), "a");
}

TEST_F(GivenTwoConnections, WhenPolicyIsContainmentThenOthersReadTheRowAgain) {
    store_.set("k", "a");
    object(*second_, "k");
    const String text("b");
    store_.connection().readWrite([&](Writer& t) { t.setObject(text, "k", "texts"); });
    EXPECT_EQ(object(*second_, "k").string(), "b");
    EXPECT_NE(identity(object(*second_, "k")), text.identity());
}

TEST_F(GivenTwoConnections, WhenPolicyIsShareThenOthersGetTheInstanceOfKeysTheyHave) {
    second_->setObjectPolicy(YapDatabasePolicy::share);
    store_.set("k", "a");
    object(*second_, "k");
    const String text("b"), unknown("c");
    store_.connection().readWrite([&](Writer& t) {
        t.setObject(text, "k", "texts");
        t.setObject(unknown, "new", "texts");
    });
    EXPECT_EQ(identity(object(*second_, "k")), text.identity());
    EXPECT_NE(identity(object(*second_, "new")), unknown.identity());
    store_.connection().readWrite([&](Writer& t) { t.removeObjectForKey("k", "texts"); });
    EXPECT_TRUE(object(*second_, "k").isNil());
}

TEST_F(GivenTwoConnections, WhenDefaultsAreSetThenNewConnectionsCopyThem) {
    store_.database().setDefaultObjectPolicy(YapDatabasePolicy::share);
    store_.database().setDefaultMetadataPolicy(YapDatabasePolicy::copy);
    const auto third = store_.database().newConnection();
    EXPECT_EQ(third->objectPolicy(), YapDatabasePolicy::share);
    EXPECT_EQ(third->metadataPolicy(), YapDatabasePolicy::copy);
    EXPECT_EQ(second_->objectPolicy(), YapDatabasePolicy::containment);
}

TEST_F(GivenTwoConnections, WhenNewThenCachesHoldTwoHundredAndFifty) {
    EXPECT_TRUE(second_->objectCacheEnabled());
    EXPECT_TRUE(second_->metadataCacheEnabled());
    EXPECT_EQ(second_->objectCacheLimit(), 250u);
    EXPECT_EQ(second_->metadataCacheLimit(), 250u);
}

// Long-lived reads.

std::vector<std::uint64_t> snapshots(const YapDatabaseNotifications& list) {
    std::vector<std::uint64_t> numbers;
    for (const auto& commit : list) numbers.push_back(commit->snapshot);
    return numbers;
}

using Snapshots = std::vector<std::uint64_t>;

TEST_F(GivenTwoConnections, WhenPinnedThenReadsStayUntilItMovesAndTheCommitsAreAnswered) {
    store_.set("k", "a");
    EXPECT_TRUE(second_->beginLongLivedReadTransaction().empty());
    EXPECT_TRUE(second_->isInLongLivedReadTransaction());
    store_.set("k", "b");
    store_.set("k", "c");
    EXPECT_EQ(object(*second_, "k").string(), "a");
    EXPECT_EQ(snapshots(second_->beginLongLivedReadTransaction()), (Snapshots{2, 3}));
    EXPECT_EQ(object(*second_, "k").string(), "c");
    EXPECT_TRUE(second_->beginLongLivedReadTransaction().empty());
    store_.set("k", "d");
    EXPECT_EQ(snapshots(second_->endLongLivedReadTransaction()), (Snapshots{4}));
    EXPECT_FALSE(second_->isInLongLivedReadTransaction());
    EXPECT_EQ(object(*second_, "k").string(), "d");
}

TEST_F(GivenTwoConnections, WhenAPinnedConnectionWritesThenThePinEndsAndItIsOnItsOwnCommit) {
    second_->beginLongLivedReadTransaction();
    second_->readWrite([](Writer& t) { t.setObject("a", "k", "texts"); });
    EXPECT_FALSE(second_->isInLongLivedReadTransaction());
    EXPECT_TRUE(second_->beginLongLivedReadTransaction().empty());
}

TEST_F(GivenTwoConnections, WhenImplicitEndsThrowThenTheyDoInTheCaller) {
    second_->enableExceptionsForImplicitlyEndingLongLivedReadTransaction();
    second_->beginLongLivedReadTransaction();
    EXPECT_THROW(second_->readWrite([](Writer&) {}), YapDatabaseException);
    EXPECT_THROW(second_->asyncReadWrite([](Writer&) {}), YapDatabaseException);
    EXPECT_TRUE(second_->isInLongLivedReadTransaction());
    second_->disableExceptionsForImplicitlyEndingLongLivedReadTransaction();
    EXPECT_TRUE(second_->readWrite([](Writer&) {}));
}

TEST_F(GivenTwoConnections, WhenAPinnedReaderFollowsThenTheLogStaysShort) {
    const std::size_t commits = testScale(4'000, 100'000);
    store_.options.checkpointBytes = 1 << 20;
    store_.options.synchronous = YapDatabaseSynchronous::normal;
    second_.reset();
    ASSERT_TRUE(store_.open());
    second_ = store_.database().newConnection();
    const std::string text(1'000, 'x');
    std::uint64_t longest = 0;
    second_->beginLongLivedReadTransaction();
    for (std::size_t i = 0; i < commits; ++i) {
        store_.set(std::to_string(i % 200), text);
        second_->beginLongLivedReadTransaction();
        longest = std::max(longest, store_.database().walSize());
    }
    EXPECT_LE(longest, 2u << 20);
    EXPECT_GT(longest, 0u);
}

TEST_F(GivenTwoConnections, WhenAPinnedReaderStallsThenTheLogIsCutAfterItMoves) {
    store_.options.checkpointBytes = 1 << 20;
    store_.options.synchronous = YapDatabaseSynchronous::normal;
    second_.reset();
    ASSERT_TRUE(store_.open());
    second_ = store_.database().newConnection();
    const std::string text(1'000, 'x');
    second_->beginLongLivedReadTransaction();
    for (int i = 0; i < 1'000; ++i) store_.set(std::to_string(i % 200), text);
    const auto stalled = store_.database().walSize();
    EXPECT_GT(stalled, 2u << 20);
    second_->beginLongLivedReadTransaction();
    store_.drain();
    store_.set("k", text);
    EXPECT_LE(store_.database().walSize(), 2u << 20);
}

// Questions to a list.

TEST(NotificationList, WhenAskedThenItTellsRowsAndHalves) {
    auto commit = std::make_shared<YapDatabaseCommit>();
    commit->changes = {{.row = {"c", "object"}, .object = true},
                       {.row = {"c", "metadata"}, .metadata = true},
                       {.row = {"d", "gone"}, .object = true, .metadata = true, .removed = true}};
    const YapDatabaseNotifications list = {commit, commit};
    using C = YapDatabaseConnection;
    EXPECT_TRUE(C::hasChangeForCollection("c", list));
    EXPECT_FALSE(C::hasChangeForCollection("e", list));
    EXPECT_TRUE(C::hasObjectChangeForCollection("d", list));
    EXPECT_TRUE(C::hasMetadataChangeForCollection("c", list));
    EXPECT_TRUE(C::hasChangeForKey("metadata", "c", list));
    EXPECT_FALSE(C::hasChangeForKey("metadata", "d", list));
    EXPECT_FALSE(C::hasObjectChangeForKey("metadata", "c", list));
    EXPECT_TRUE(C::hasMetadataChangeForKey("metadata", "c", list));
    EXPECT_FALSE(C::hasMetadataChangeForKey("object", "c", list));
    EXPECT_TRUE(C::hasChangeForAnyKeys({"x", "object"}, "c", list));
    EXPECT_FALSE(C::hasChangeForAnyKeys({}, "c", list));
    EXPECT_FALSE(C::hasObjectChangeForAnyKeys({"metadata"}, "c", list));
    EXPECT_TRUE(C::hasMetadataChangeForAnyKeys({"gone"}, "d", list));
    std::string pairs, keys;
    C::enumerateChangedCollectionKeys(
        list, [&](auto collection, auto key, bool&) { pairs.append(collection).append(key); });
    EXPECT_EQ(pairs, "cobjectcmetadatadgone");
    C::enumerateChangedKeysInCollection("c", list, [&](auto key, bool& stop) {
        keys.append(key);
        stop = true;
    });
    EXPECT_EQ(keys, "object");
}

TEST(NotificationList, WhenACommitIsForeignThenEverythingMayHaveChanged) {
    auto commit = std::make_shared<YapDatabaseCommit>();
    commit->isForeign = true;
    EXPECT_TRUE(YapDatabaseConnection::hasObjectChangeForKey("k", "c", {commit}));
    EXPECT_FALSE(YapDatabaseConnection::hasObjectChangeForKey("k", "c", {}));
}

// Threads.

TEST_F(GivenTwoConnections, WhenMoneyMovesThenEveryReaderSeesAllOfIt) {
    constexpr int accounts = 20, total = accounts * 100;
    const std::size_t transfers = testScale(400, 5'000);
    const auto key = [](std::size_t account) { return std::to_string(account); };
    store_.connection().readWrite([&](Writer& t) {
        for (std::size_t i = 0; i < accounts; ++i) t.setObject("100", key(i), "bank");
    });
    const auto amount = [&](Reader& t, std::size_t account) {
        return std::stoi(t.objectForKey(key(account), "bank").string().str());
    };
    std::atomic<bool> isOver{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int reader = 0; reader < 3; ++reader)
        threads.emplace_back([&, reader] {
            const auto connection = store_.database().newConnection();
            if (reader == 0) connection->setObjectPolicy(YapDatabasePolicy::share);
            while (!isOver)
                connection->read([&](Reader& t) {
                    int sum = 0;
                    for (std::size_t i = 0; i < accounts; ++i) sum += amount(t, i);
                    if (sum != total) ++wrong;
                });
        });
    std::vector<std::thread> writers;
    for (std::size_t writer = 0; writer < 2; ++writer)
        writers.emplace_back([&, writer] {
            const auto connection = store_.database().newConnection();
            for (std::size_t i = 0; i < transfers; ++i)
                connection->readWrite([&](Writer& t) {
                    const std::size_t from = i % accounts, to = (i * 7 + writer + 1) % accounts;
                    if (from == to) return;
                    const int left = amount(t, from) - 1, right = amount(t, to) + 1;
                    t.setObject(String(std::to_string(left)), key(from), "bank");
                    t.setObject(String(std::to_string(right)), key(to), "bank");
                });
        });
    for (auto& thread : writers) thread.join();
    isOver = true;
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
}

std::size_t openDescriptors() {
    std::size_t count = 0;
    DIR* folder = opendir("/proc/self/fd");
    while (readdir(folder)) ++count;
    closedir(folder);
    return count;
}

TEST_F(GivenTwoConnections, WhenManyShortThreadsReadThenDescriptorsStayFlat) {
    store_.set("k", "a");
    const auto readOnce = [&] {
        std::thread([&] {
            const auto connection = store_.database().newConnection();
            EXPECT_EQ(object(*connection, "k").string(), "a");
        }).join();
    };
    readOnce();
    const std::size_t before = openDescriptors();
    for (std::size_t i = 0; i < testScale(300, 10'000); ++i) readOnce();
    EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
}  // namespace qsml
