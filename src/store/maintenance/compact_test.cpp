// Giving free pages back, beside readers, writers and other processes.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "store/maintenance/testing/DerivedStore.h"
#include "testing/ChildProcess.h"

namespace qsml {
namespace {

constexpr auto inTheWay = static_cast<std::int64_t>(YapDatabaseErrorCode::inTheWay);

class GivenFreePages : public DerivedStore {
protected:
    void SetUp() override {
        DerivedStore::SetUp();
        ASSERT_TRUE(store_.connection().readWrite([](auto& transaction) {
            for (int row = 0; row < 300; row++)
                transaction.setObject(String(std::string(5000, 'S') + "SECRET"),
                                      "s" + std::to_string(row), "secrets");
        }));
        ASSERT_TRUE(store_.connection().readWrite(
            [](auto& transaction) { transaction.removeAllObjectsInCollection("secrets"); }));
        ASSERT_TRUE(store_.database().checkpoint());
        before_ = size();
        rowids_ = rowids();
        ASSERT_GT(freePages(), 150);
    }
    std::uintmax_t size() const { return std::filesystem::file_size(store_.path()); }
    std::string query(const std::string& sql) { return PlainSqlite(store_.path()).query(sql); }
    long freePages() { return std::stol(query("PRAGMA freelist_count")); }
    std::string rowids() {
        return query("SELECT rowid, key FROM row ORDER BY rowid") +
               query("SELECT * FROM view_places ORDER BY rowid") +
               query("SELECT id FROM view_nodes ORDER BY id") +
               query("SELECT rowid, * FROM search_texts ORDER BY rowid") +
               query("SELECT id FROM search_search_data ORDER BY id") +
               query("SELECT * FROM yap ORDER BY extension, key");
    }
    bool compact(Error* error = nullptr) { return store_.database().compact(error); }
    void expectCompact() {
        EXPECT_LT(size(), before_ - 150 * 8192);
        EXPECT_EQ(freePages(), 0);
        EXPECT_EQ(store_.database().walSize(), 0u);
        EXPECT_TRUE(rowids() == rowids_) << "rows or row ids are not the same";
        expectOnlyOwnFiles();
        expectWhole();
    }
    void expectOnlyOwnFiles() {
        EXPECT_EQ(directory_.entries(), (std::vector<std::string>{"store.db", "store.db-lock",
                                                                  "store.db-shm", "store.db-wal"}));
    }

    std::uintmax_t before_ = 0;
    std::string rowids_;
};

TEST_F(GivenFreePages, WhenCompactedThenTheFileShrinksAndSaysTheSame) {
    const auto snapshot = store_.database().snapshot();
    Error error;
    EXPECT_TRUE(compact(&error)) << error.description;
    expectCompact();
    EXPECT_EQ(store_.database().snapshot(), snapshot);
    ASSERT_TRUE(store_.set("later", "lorem 9"));
    expectWhole(rowCount + 1);
    EXPECT_TRUE(compact());
    ASSERT_TRUE(store_.open());
    registerAll();
    expectWhole(rowCount + 1);
}

TEST_F(GivenFreePages, WhenCompactedThenNothingOfRemovedRowsIsInTheFile) {
    for (const char* name : {"search", "view"})  // They forget words and limits in their time.
        ASSERT_TRUE(store_.database().unregisterExtension(name));
    ASSERT_NE(contentOf(store_.path()).find("SECRET"), std::string::npos);
    ASSERT_TRUE(compact());
    EXPECT_EQ(contentOf(store_.path()).find("SECRET"), std::string::npos);
    EXPECT_EQ(contentOf(store_.path() + "-wal").find("SECRET"), std::string::npos);
}

TEST_F(GivenFreePages, WhenConnectionsRestOnTheNewestSnapshotThenTheyGoOnAndAreNotInTheWay) {
    const auto reader = store_.database().newConnection();
    reader->beginLongLivedReadTransaction();
    ASSERT_EQ(items(*reader, "view"), rowCount);
    Error error;
    EXPECT_TRUE(compact(&error)) << error.description;
    EXPECT_TRUE(reader->isInLongLivedReadTransaction());
    EXPECT_EQ(items(*reader, "view"), rowCount);
    EXPECT_TRUE(reader->beginLongLivedReadTransaction().empty());
    expectCompact();
}

TEST_F(GivenFreePages, WhenAnOldSnapshotIsReadThenNothingIsDoneAndTheReaderIsNamed) {
    const auto reader = store_.database().newConnection();
    reader->setName("old list");
    reader->beginLongLivedReadTransaction();
    ASSERT_TRUE(store_.set("later", "lorem 9"));
    Error error;
    EXPECT_FALSE(compact(&error));
    EXPECT_EQ(error.code, inTheWay);
    EXPECT_NE(error.description.find("\"old list\""), std::string::npos) << error.description;
    EXPECT_NE(error.description.find("nothing was done"), std::string::npos) << error.description;
    EXPECT_GT(freePages(), 150);
    EXPECT_EQ(items(*reader, "view"), rowCount);
    reader->beginLongLivedReadTransaction();
    EXPECT_TRUE(compact(&error)) << error.description;
    expectWhole(rowCount + 1);
}

TEST_F(GivenFreePages, WhenAReadIsRunningThenTheErrorTellsWhatIsLeftToDo) {
    Error error;
    EXPECT_TRUE(store_.connection().read([&](auto& transaction) {
        EXPECT_FALSE(compact(&error));
        EXPECT_EQ(transaction.objectForKey(keyOf(9), "texts").string().str(),
                  "word number9 lorem ipsum");
    }));
    EXPECT_EQ(error.code, inTheWay);
    EXPECT_NE(error.description.find("the next checkpoint"), std::string::npos)
        << error.description;
    EXPECT_TRUE(store_.database().checkpoint());
    EXPECT_LT(size(), before_ - 150 * 8192);
    EXPECT_TRUE(compact());
    expectCompact();
}

TEST_F(GivenFreePages, WhenAnotherProcessReadsTheLogThenTheErrorSaysSo) {
    ASSERT_TRUE(store_.set("later", "lorem 9"));
    ChildProcess other("qsml_store_child");
    ASSERT_EQ(other.ask("open " + store_.path()), "ok");
    ASSERT_EQ(other.ask("begin"), "0 foreign, 0 own");
    ASSERT_TRUE(store_.set("later", "lorem 7"));
    Error error;
    EXPECT_FALSE(compact(&error));
    EXPECT_EQ(error.code, inTheWay);
    EXPECT_NE(error.description.find("another process"), std::string::npos) << error.description;
    EXPECT_EQ(other.ask("close"), "ok");
    EXPECT_TRUE(compact(&error)) << error.description;
    EXPECT_EQ(other.ask("open " + store_.path()), "ok");
    EXPECT_EQ(other.ask("get later"), "lorem 7");
    EXPECT_TRUE(compact(&error)) << error.description << " (a process that only has it open)";
    EXPECT_EQ(other.ask("set later again"), "ok");
    EXPECT_EQ(store_.text("later"), "again");
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenFreePages, WhenACrashLeftACopyThenItIsReplaced) {
    writeFile(store_.path() + "-compact", "rubbish");
    writeFile(store_.path() + "-compact-journal", "rubbish");
    EXPECT_TRUE(compact());
    expectCompact();
}

TEST_F(GivenFreePages, WhenALinkHasTheNameOfTheCopyThenItsTargetIsLeftAlone) {
    writeFile(directory_.file("precious"), "content");
    std::filesystem::create_symlink(directory_.file("precious"), store_.path() + "-compact");
    EXPECT_TRUE(compact());
    EXPECT_EQ(contentOf(directory_.file("precious")), "content");
    std::filesystem::remove(directory_.file("precious"));
    expectCompact();
}

TEST_F(GivenFreePages, WhenOthersWriteMeanwhileThenEveryCommitIsThere) {
    std::atomic<int> commits = 0;
    std::atomic<bool> stops = false;
    std::thread writer([&, connection = store_.database().newConnection()] {
        for (int number = 0; !stops; number++)
            commits += connection->readWrite([&](auto& transaction) {
                transaction.setObject("counted", "n" + std::to_string(number), "counters");
            });
    });
    std::thread reader([&, connection = store_.database().newConnection()] {
        while (!stops) EXPECT_EQ(matches(*connection, "lorem"), rowCount);
    });
    for (int round = 0; round < 10; round++) {
        Error error;
        EXPECT_TRUE(compact(&error) || error.code == inTheWay) << error.description;
    }
    stops = true;
    writer.join();
    reader.join();
    EXPECT_EQ(query("SELECT count(*) FROM records WHERE collection='counters'"),
              std::to_string(commits) + "\n");
    EXPECT_TRUE(compact());
    EXPECT_EQ(store_.faults(), "");
}

}  // namespace
}  // namespace qsml
