#include "testing/FaultyFiles.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "testing/TemporaryDirectory.h"
#include "testing/failingCalls.h"

namespace qsml {
namespace {

class GivenSQLiteOnFaultyFiles : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(
            sqlite3_open_v2(path_.c_str(), &handle_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE,
                            files_.vfsName().c_str()),
            SQLITE_OK);
        ASSERT_EQ(run("PRAGMA journal_mode = WAL; CREATE TABLE t (a); INSERT INTO t VALUES (1)"),
                  SQLITE_OK);
        sqlite3_extended_result_codes(handle_, 1);
    }
    void TearDown() override { sqlite3_close(handle_); }
    int run(const char* sql) { return sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr); }
    int insert() { return run("INSERT INTO t VALUES (2)"); }

    TemporaryDirectory directory_;
    FaultyFiles files_;
    std::string path_ = directory_.file("bare.db");
    sqlite3* handle_ = nullptr;
};

TEST_F(GivenSQLiteOnFaultyFiles, WhenNothingFailsThenItWorksAndCallsAreCounted) {
    files_.resetCounts();
    EXPECT_EQ(insert(), SQLITE_OK);
    EXPECT_GT(files_.count(FileCall::write), 0u);
    EXPECT_GT(files_.count(FileCall::sync), 0u);
    EXPECT_EQ(files_.count(FileCall::open), 0u);
    EXPECT_EQ(files_.count(FileCall::write | FileCall::sync),
              files_.count(FileCall::write) + files_.count(FileCall::sync));
}

TEST_F(GivenSQLiteOnFaultyFiles, WhenASyncFailsOnceThenTheNextOneSucceeds) {
    files_.fail({FileCall::sync, 1, FaultyFiles::Repeat::once});
    EXPECT_EQ(insert(), SQLITE_IOERR_FSYNC);
    EXPECT_EQ(insert(), SQLITE_OK);
    EXPECT_EQ(files_.failures(), 1u);
}

TEST_F(GivenSQLiteOnFaultyFiles, WhenWritesFailForGoodThenTheyFailUntilHealed) {
    files_.fail({FileCall::write, 1, FaultyFiles::Repeat::forever, FaultyFiles::Kind::diskFull});
    EXPECT_EQ(insert(), SQLITE_FULL);
    EXPECT_EQ(insert(), SQLITE_FULL);
    EXPECT_EQ(run("SELECT * FROM t"), SQLITE_OK) << "reads go on";
    files_.heal();
    EXPECT_EQ(insert(), SQLITE_OK);
}

TEST_F(GivenSQLiteOnFaultyFiles, WhenEachWriteFailsInTurnThenAllAreTried) {
    FailingRun run;
    std::uint64_t failures = 0;
    run.prepare = [] {};
    run.operation = [&] { failures += insert() != SQLITE_OK; };
    run.verify = [] {};
    EXPECT_EQ(forEachFailingWrite(files_, FaultyFiles::Repeat::once, run), failures);
    EXPECT_GT(failures, 1u);
}

TEST_F(GivenSQLiteOnFaultyFiles, WhenFilesAreOpenThenTheyAreNamedUntilClosed) {
    EXPECT_EQ(files_.openFiles(), (std::vector<std::string>{path_, path_ + "-wal"}));
    sqlite3_close(handle_);
    handle_ = nullptr;
    EXPECT_EQ(files_.openFiles(), std::vector<std::string>());
    // The journal served the change to a write-ahead log.
    EXPECT_EQ(files_.openedFiles(),
              (std::vector<std::string>{path_, path_ + "-journal", path_ + "-wal"}));
}

TEST_F(GivenSQLiteOnFaultyFiles, WhenAReadIsShortThenItGivesZeros) {
    TearDown();
    files_.fail({FileCall::read, 1, FaultyFiles::Repeat::forever, FaultyFiles::Kind::shortRead});
    sqlite3_open_v2(path_.c_str(), &handle_, SQLITE_OPEN_READWRITE, files_.vfsName().c_str());
    EXPECT_EQ(run("SELECT * FROM t"), SQLITE_NOTADB) << "zeros are no header";
    EXPECT_GT(files_.failures(), 0u);
}

}  // namespace
}  // namespace qsml
