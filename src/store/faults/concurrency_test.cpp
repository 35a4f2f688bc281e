// Many threads on one store, made for the thread sanitizer: a bank whose total never changes.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <random>
#include <thread>

#include "testing/OpenStore.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

/// An account as it is stored: "balance changes".
struct Account {
    long long balance = 100;
    long long changes = 0;

    static Account read(const Value& object) {
        const std::string text = object.string().str();
        Account account;
        EXPECT_EQ(std::sscanf(text.c_str(), "%lld %lld", &account.balance, &account.changes), 2)
            << "torn: " << text;
        return account;
    }
    String text() const { return std::to_string(balance) + " " + std::to_string(changes); }
};

class GivenABank : public OpenStore {
protected:
    static constexpr int accounts = 40;
    using Accounts = std::vector<Account>;

    void SetUp() override {
        store_.options.synchronous = YapDatabaseSynchronous::normal;
        OpenStore::SetUp();
        ASSERT_TRUE(store_.connection().readWrite([](auto& transaction) {
            for (int number = 0; number < accounts; number++)
                transaction.setObject(Account().text(), std::to_string(number), "bank");
        }));
    }
    static Accounts accountsOf(YapDatabaseReadTransaction& transaction) {
        Accounts all;
        for (int number = 0; number < accounts; number++)
            all.push_back(Account::read(transaction.objectForKey(std::to_string(number), "bank")));
        return all;
    }
    static void transfer(YapDatabaseReadWriteTransaction& transaction, std::mt19937& random) {
        const auto from = random() % accounts,
                   to = (from + 1 + random() % (accounts - 1)) % accounts;
        const auto amount = static_cast<long long>(random() % 10);
        const auto add = [&](std::uint_fast32_t number, long long sum) {
            const std::string key = std::to_string(number);
            Account account = Account::read(transaction.objectForKey(key, "bank"));
            account.balance += sum;
            account.changes++;
            ASSERT_TRUE(transaction.setObject(account.text(), key, "bank"));
        };
        add(from, -amount);
        add(to, amount);
    }
    /// The total holds and no account went back in time.
    static void expectNewer(const Accounts& older, const Accounts& newer) {
        long long total = 0, changes = 0;
        for (std::size_t number = 0; number < newer.size(); number++) {
            total += newer[number].balance;
            changes += newer[number].changes;
            const long long before = older.empty() ? 0 : older[number].changes;
            EXPECT_GE(newer[number].changes, before);
        }
        EXPECT_EQ(total, accounts * 100);
        EXPECT_EQ(changes % 2, 0) << "half a transfer";
    }
    void write(unsigned seed, std::size_t commits) {
        std::mt19937 random(seed);
        const auto connection = store_.database().newConnection();
        for (; commits > 0; commits--) {
            const auto block = [&](auto& transaction) { transfer(transaction, random); };
            EXPECT_TRUE(connection->readWrite(block));
        }
    }
    void readUntil(const std::atomic<bool>& ends) {
        const auto connection = store_.database().newConnection();
        Accounts last;
        while (!ends) {
            Accounts now;
            EXPECT_TRUE(
                connection->read([&](auto& transaction) { now = accountsOf(transaction); }));
            expectNewer(last, now);
            last = now;
        }
    }
    /// A pin that moves: between two moves it shows one snapshot.
    void readPinnedUntil(const std::atomic<bool>& ends) {
        const auto connection = store_.database().newConnection();
        Accounts last;
        std::uint64_t snapshot = 0;
        connection->beginLongLivedReadTransaction();
        while (!ends) {
            for (const auto& commit : connection->beginLongLivedReadTransaction()) {
                EXPECT_GT(commit->snapshot, snapshot) << "announced twice or out of order";
                snapshot = commit->snapshot;
            }
            Accounts first, second;
            connection->read([&](auto& transaction) { first = accountsOf(transaction); });
            std::this_thread::yield();
            connection->read([&](auto& transaction) { second = accountsOf(transaction); });
            expectNewer(last, first);
            for (std::size_t number = 0; number < first.size(); number++)
                EXPECT_EQ(first[number].text(), second[number].text()) << "the pin moved";
            last = second;
        }
    }
};

TEST_F(GivenABank, WhenFourWriteAndFourReadThenEveryReaderSeesWholeCommitsInOrder) {
    const std::size_t commits = testScale(150, 20'000);
    std::atomic<bool> ends = false;
    std::vector<std::thread> readers, writers;
    for (int reader = 0; reader < 3; reader++) readers.emplace_back([&] { readUntil(ends); });
    readers.emplace_back([&] { readPinnedUntil(ends); });
    for (unsigned writer = 0; writer < 4; writer++)
        writers.emplace_back([&, writer] { this->write(writer, commits); });
    for (auto& writer : writers) writer.join();
    ends = true;
    for (auto& reader : readers) reader.join();
    Accounts last;
    store_.connection().read([&](auto& transaction) { last = accountsOf(transaction); });
    expectNewer({}, last);
    long long changes = 0;
    for (const auto& account : last) changes += account.changes;
    EXPECT_EQ(changes, static_cast<long long>(2 * 4 * commits)) << "a commit is lost";
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenABank, WhenAsynchronousWritesMixWithSynchronousOnesThenNoneIsLost) {
    const std::size_t commits = testScale(200, 20'000);
    std::atomic<std::size_t> done = 0;
    std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): touched by one write block at a time
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; thread++)
        threads.emplace_back([&] {
            const auto connection = store_.database().newConnection();
            for (std::size_t commit = 0; commit < commits; commit++) {
                const auto block = [&](auto& transaction) { transfer(transaction, random); };
                if (commit % 2)
                    connection->asyncReadWrite(block, [&](const Error& error) { done += !error; });
                else
                    done += connection->readWrite(block);
            }
        });
    for (auto& thread : threads) thread.join();
    store_.drain();
    EXPECT_EQ(done, 3 * commits);
    store_.connection().read([&](auto& t) { expectNewer({}, accountsOf(t)); });
}

std::size_t openDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

TEST_F(GivenABank, WhenManyShortThreadsReadThenTheirConnectionsCloseWithThem) {
    const auto readOnce = [&] {
        std::thread([&] {
            const auto connection = store_.database().newConnection();
            EXPECT_TRUE(connection->read([](auto& transaction) {
                EXPECT_EQ(transaction.numberOfKeysInCollection("bank"), 40u);
            }));
        }).join();
    };
    readOnce();
    const std::size_t before = openDescriptors();
    for (std::size_t left = testScale(300, 10'000); left > 0; left--) readOnce();
    EXPECT_LE(openDescriptors(), before);
}

}  // namespace
}  // namespace qsml
