// SQLite 3.7.0 to 3.51.2 can lose committed pages when a commit lands while another connection is
// starting a checkpoint: the reason why every checkpoint of ours runs under the writer lock. This
// shows the damage on SQLite alone, so that the same schedule through the store (walReset_test.cpp)
// proves something. It stays for ever.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "testing/FaultyFiles.h"
#include "testing/TemporaryDirectory.h"

namespace qsml {
namespace {

bool hasTheRace() {
    const int version = sqlite3_libversion_number();
    const bool fixedInBranch =
        (version >= 3044006 && version < 3045000) || (version >= 3050007 && version < 3051000);
    return version < 3051003 && !fixedInBranch;
}

/// A bare connection without automatic checkpoints.
class Handle {
public:
    Handle(const std::string& path, const FaultyFiles& files) {
        sqlite3_open_v2(path.c_str(), &handle_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE,
                        files.vfsName().c_str());
        run("PRAGMA journal_mode = WAL");
        run("PRAGMA wal_autocheckpoint = 0");
        run("PRAGMA synchronous = OFF");
        run("CREATE TABLE IF NOT EXISTS rows (key INTEGER PRIMARY KEY, round INT, fill TEXT)");
        run("CREATE INDEX IF NOT EXISTS byRound ON rows (round, fill)");
    }
    ~Handle() { sqlite3_close_v2(handle_); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    /// The first column of the first row; the error's text when the statement fails.
    std::string run(const std::string& sql) {
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(handle_, sql.c_str(), -1, &statement, nullptr);
        std::string answer;
        if (sqlite3_step(statement) == SQLITE_ROW && sqlite3_column_text(statement, 0))
            answer = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
        if (sqlite3_finalize(statement) != SQLITE_OK) answer = sqlite3_errmsg(handle_);
        return answer;
    }
    void writeRows(int first, int count, int round) {
        run("BEGIN IMMEDIATE");
        for (int key = first; key < first + count; key++)
            run("REPLACE INTO rows VALUES (" + std::to_string(key) + ", " + std::to_string(round) +
                ", hex(randomblob(500)))");
        run("COMMIT");
    }
    void checkpoint() {
        sqlite3_wal_checkpoint_v2(handle_, nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
    }

private:
    sqlite3* handle_ = nullptr;
};

class GivenAStaleConnectionThatCheckpoints : public ::testing::Test {
protected:
    static constexpr int rows = 60;

    /// A's view of the log is stale and fully copied; B commits `racing` rows while A starts a
    /// checkpoint.
    void runSchedule(int racing) {
        Handle a(path_, files_), b(path_, files_);
        a.writeRows(0, rows, 1);
        a.checkpoint();
        b.writeRows(0, rows, 2);
        b.checkpoint();
        files_.setCheckpointHook([&] {
            files_.setCheckpointHook({});
            hookRuns_++;
            if (racing > 0) b.writeRows(0, racing, 3);
        });
        a.checkpoint();
        b.writeRows(0, rows, 4);
        a.checkpoint();
    }
    std::string integrity() { return Handle(path_, files_).run("PRAGMA integrity_check"); }
    std::string rowsOfLastRound() {
        return Handle(path_, files_).run("SELECT count(*) FROM rows NOT INDEXED WHERE round = 4");
    }

    TemporaryDirectory directory_;
    FaultyFiles files_;
    std::string path_ = directory_.file("bare.db");
    int hookRuns_ = 0;
};

TEST_F(GivenAStaleConnectionThatCheckpoints, WhenACommitLandsInsideThenOldSQLiteLosesData) {
    runSchedule(2);
    ASSERT_EQ(hookRuns_, 1) << "the schedule did not reach the window";
    const bool clean = integrity() == "ok" && rowsOfLastRound() == "60";
    EXPECT_EQ(clean, !hasTheRace()) << "SQLite " << sqlite3_libversion() << ": " << integrity()
                                    << ", rows of the last round: " << rowsOfLastRound();
}

TEST_F(GivenAStaleConnectionThatCheckpoints, WhenCommitsStayOutsideThenEverySQLiteKeepsData) {
    runSchedule(0);
    ASSERT_EQ(hookRuns_, 1);
    EXPECT_EQ(integrity(), "ok");
    EXPECT_EQ(rowsOfLastRound(), "60");
}

}  // namespace
}  // namespace qsml
