// Who can read the files, which files there are, what names can do, and how SQLite is set.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <random>
#include <set>

#include "testing/ChildProcess.h"
#include "testing/FaultyFiles.h"
#include "testing/OpenStore.h"
#include "testing/RowListExtension.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

const std::vector<std::string> expectedFiles = {"store.db", "store.db-lock", "store.db-shm",
                                                "store.db-wal"};

class GivenAUmask : public ::testing::TestWithParam<const char*> {};

TEST_P(GivenAUmask, WhenAStoreIsMadeThenOnlyItsOwnerCanReadIt) {
    TemporaryDirectory directory;
    ChildProcess child("qsml_store_child");
    ASSERT_EQ(child.ask(std::string("umask ") + GetParam()), "ok");
    ASSERT_EQ(child.ask("open " + directory.file("store.db")), "ok");
    ASSERT_EQ(child.ask("set key text"), "ok");
    EXPECT_EQ(directory.entries(), expectedFiles);
    for (const auto& name : directory.entries()) {
        struct stat facts = {};
        ASSERT_EQ(::stat(directory.file(name).c_str(), &facts), 0);
        EXPECT_EQ(facts.st_mode & 0777, 0600u) << name;
    }
}

INSTANTIATE_TEST_SUITE_P(Store, GivenAUmask, ::testing::Values("000", "022", "077", "277"),
                         [](const auto& test) { return std::string("Of") + test.param; });

class GivenABusyStore : public OpenStore {
protected:
    void SetUp() override {
        store_.options.vfsName = files_.vfsName();
        store_.options.pageCacheBytes = 64
                                        << 10;  // Pages must leave the cache within a transaction.
        OpenStore::SetUp();
        ASSERT_TRUE(
            store_.database().registerExtension(std::make_shared<RowListExtension>(), "list"));
    }
    /// Runs the check on SQLite's handle of several connections, reading and writing.
    void onEveryHandle(const std::function<void(sqlite3*)>& look) {
        const auto lookAt = [&](YapDatabaseReadTransaction& transaction) {
            auto* list = transaction.ext<RowListExtension::Transaction>("list");
            ASSERT_NE(list, nullptr);
            look(list->handle());
        };
        for (int number = 0; number < 3; number++) {
            const auto connection = store_.database().newConnection();
            ASSERT_TRUE(connection->read(lookAt));
            ASSERT_TRUE(connection->readWrite(lookAt));
            connection->beginLongLivedReadTransaction();
            ASSERT_TRUE(connection->read(lookAt));
        }
    }
    FaultyFiles files_;
};

TEST_F(GivenABusyStore, WhenItWorksThenItOpensOnlyItsOwnFilesAndClosesThem) {
    ASSERT_TRUE(store_.connection().readWrite([](auto& transaction) {
        for (int row = 0; row < 3000; row++)
            transaction.setObject(String(std::string(500, 'x')), std::to_string(row), "texts");
    }));
    ASSERT_TRUE(store_.connection().readWrite(
        [](auto& transaction) { transaction.removeAllObjectsInCollection("texts"); }));
    EXPECT_EQ(store_.faults(), "");
    EXPECT_TRUE(store_.database().checkpoint());
    for (const auto& name : directory_.entries())
        EXPECT_EQ(std::count(expectedFiles.begin(), expectedFiles.end(), name), 1) << name;
    // The journal serves the change of a new file to a write-ahead log, and is gone then.
    const std::string& own = store_.path();
    for (const auto& path : files_.openedFiles())
        EXPECT_TRUE(path == own || path == own + "-wal" || path == own + "-journal") << path;
    store_.close();
    EXPECT_EQ(files_.openFiles(), std::vector<std::string>());
}

long long pragma(sqlite3* handle, const std::string& name) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(handle, ("PRAGMA " + name).c_str(), -1, &statement, nullptr);
    const bool found = sqlite3_step(statement) == SQLITE_ROW;
    const long long value = found ? sqlite3_column_int64(statement, 0) : -1;
    sqlite3_finalize(statement);
    return value;
}

int configured(sqlite3* handle, int option) {
    int value = -1;
    sqlite3_db_config(handle, option, -1, &value);
    return value;
}

TEST_F(GivenABusyStore, WhenAConnectionIsOpenedThenSQLiteIsHardened) {
    int handles = 0;
    onEveryHandle([&](sqlite3* handle) {
        handles++;
        EXPECT_EQ(configured(handle, SQLITE_DBCONFIG_DEFENSIVE), 1);
        EXPECT_EQ(configured(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA), 0);
        EXPECT_EQ(configured(handle, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION), 0);
        EXPECT_EQ(pragma(handle, "cell_size_check"), 1);
        EXPECT_LE(pragma(handle, "mmap_size"), 0) << "a mapped file turns I/O errors into signals";
        EXPECT_EQ(pragma(handle, "temp_store"), 2);
        EXPECT_EQ(pragma(handle, "synchronous"), 2);
        EXPECT_EQ(pragma(handle, "wal_autocheckpoint"), 0);
        EXPECT_EQ(sqlite3_limit(handle, SQLITE_LIMIT_ATTACHED, -1), 0);
        EXPECT_LE(sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, -1), 64 << 20);
        EXPECT_LE(sqlite3_limit(handle, SQLITE_LIMIT_SQL_LENGTH, -1), 1 << 20);
    });
    EXPECT_EQ(handles, 9);
}

TEST_F(GivenABusyStore, WhenATransactionStartsThenNoStatementIsLeftRunning) {
    ASSERT_TRUE(store_.set("key", "text"));
    onEveryHandle([&](sqlite3* handle) {
        for (auto* s = sqlite3_next_stmt(handle, nullptr); s; s = sqlite3_next_stmt(handle, s))
            EXPECT_FALSE(sqlite3_stmt_busy(s)) << sqlite3_sql(s);
    });
    store_.connection().read([](auto& transaction) {
        transaction.enumerateKeysAndObjectsInCollection(
            "texts", [](std::string_view, const Value&, bool& stop) { stop = true; });
    });
    onEveryHandle([](sqlite3*) {});
}

std::vector<std::string> hostileNames() {
    return {"a\"b",
            "x'; DROP TABLE sqlite_master; --",
            std::string("nul\0inside", 10),
            std::string(10'000, 'k'),
            "\xF0\x9F\x8E\xB5\xF0\x9F\x8E\xA7",
            "%s%n%d",
            "a.b",
            "[x]",
            "`y`",
            "",
            " ",
            "\n",
            "?1",
            "sqlite_sequence",
            "records",
            "main"};
}

std::string anyName(std::mt19937& random) {
    static const std::vector<std::string> pieces = {"\"",
                                                    "'",
                                                    ";",
                                                    "--",
                                                    "/*",
                                                    "\\",
                                                    std::string(1, '\0'),
                                                    "%",
                                                    "_",
                                                    "a",
                                                    "B",
                                                    "\xC3\xA9",
                                                    "\xF0\x9F\x8E\xB5",
                                                    " ",
                                                    "\n",
                                                    "DROP TABLE ",
                                                    "?",
                                                    ":x",
                                                    "@",
                                                    "[",
                                                    "]",
                                                    "`"};
    std::string name;
    for (auto left = random() % 12; left > 0; left--) name += pieces[random() % pieces.size()];
    return name;
}

TEST_F(GivenABusyStore, WhenNamesAreHostileThenTheyAreJustNames) {
    std::mt19937 random(3);  // NOLINT(cert-msc51-cpp): the same names each time
    std::set<std::pair<std::string, std::string>> rows;
    for (const auto& name : hostileNames()) rows.insert({name, name});
    while (rows.size() < 1000) rows.insert({anyName(random), anyName(random)});
    ASSERT_TRUE(store_.connection().readWrite([&](auto& transaction) {
        for (const auto& [collection, key] : rows)
            ASSERT_TRUE(transaction.setObject(String(collection + "/" + key), key, collection));
    }));
    store_.close();
    ASSERT_TRUE(store_.open());
    std::set<std::pair<std::string, std::string>> found;
    store_.connection().read([&](auto& transaction) {
        transaction.enumerateKeysAndObjectsInAllCollections(
            [&](std::string_view collection, std::string_view key, const Value& object, bool&) {
                found.insert({std::string(collection), std::string(key)});
                EXPECT_EQ(object.string().str(), std::string(collection) + "/" + std::string(key));
            });
        for (const auto& [collection, key] : rows)
            EXPECT_EQ(transaction.objectForKey(key, collection).string().str(),
                      collection + "/" + key);
    });
    EXPECT_TRUE(found == rows);
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenABusyStore, WhenExtensionNamesAreHostileThenTheyWorkOrAreRefused) {
    std::mt19937 random(5);  // NOLINT(cert-msc51-cpp)
    ASSERT_TRUE(store_.set("key", "text"));
    auto names = hostileNames();
    for (std::size_t left = testScale(40, 1000); left > 0; left--) names.push_back(anyName(random));
    std::set<std::string> registered;
    std::size_t worked = 0;
    for (const auto& name : names) {
        Error error;
        if (!store_.database().registerExtension(std::make_shared<RowListExtension>(), name,
                                                 &error)) {
            EXPECT_TRUE(error) << "refused without a reason";
            continue;
        }
        EXPECT_TRUE(registered.insert(name).second) << "registered twice: " << name;
        worked++;
        if (random() % 2 && store_.database().unregisterExtension(name)) registered.erase(name);
    }
    EXPECT_GT(worked, names.size() / 2);
    EXPECT_TRUE(store_.set("key", "changed"));
    EXPECT_EQ(store_.faults(), "");
    EXPECT_EQ(store_.text("key"), "changed");
}

}  // namespace
}  // namespace qsml
