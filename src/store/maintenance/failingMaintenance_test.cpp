// Maintenance with every call of the system failing, one after the other: all or nothing.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "store/detail/testing/PlainSqlite.h"
#include "testing/FailingStore.h"
#include "testing/LogCapture.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

constexpr int rowCount = 300;

struct Operation {
    std::string name;
    std::function<bool(YapDatabase&, const std::string& folder, Error*)> run;
    int rowsAfter = rowCount;
};

const std::vector<Operation>& operations() {
    static const std::vector<Operation> all = {
        {"Rebuild", [](YapDatabase& database, const std::string&,
                       Error* error) { return database.rebuildExtensions(error); }},
        {"SetAside",
         [](YapDatabase& database, const std::string&, Error* error) {
             return database.setAsideDamagedRows([](const auto&) { return true; }, nullptr, error);
         },
         rowCount - 2},
        {"Compact", [](YapDatabase& database, const std::string&,
                       Error* error) { return database.compact(error); }},
        {"Backup", [](YapDatabase& database, const std::string& folder, Error* error) {
             return database.backup(folder + "/copy.db", {}, error);
         }}};
    return all;
}

// No short reads: SQLite's own files read on until the end of the file, so that one inside it is
// nothing that a system does. It would pass for zeros, and a backup copies pages without a look.
class GivenACallThatFails : public FailingStore {
protected:
    const Operation& operation() const { return operations()[operationIndex()]; }

    /// A file with free pages, an extension and, where they are to be set aside, damaged rows.
    void makeImage() {
        openWithList();
        ASSERT_TRUE(store_.connection().readWrite([](auto& transaction) {
            for (int row = 0; row < 2 * rowCount; row++)
                transaction.setObject(String(std::string(200, 't')), std::to_string(row), "texts");
        }));
        ASSERT_TRUE(store_.connection().readWrite([](auto& transaction) {
            for (int row = rowCount; row < 2 * rowCount; row++)
                transaction.removeObjectForKey(std::to_string(row), "texts");
        }));
        store_.close();
        if (operation().rowsAfter < rowCount) spoilTwoRows();
        image_ = contentOf(store_.path());
    }
    void spoilTwoRows() {
        const std::string sql = "UPDATE row SET checksum=1 WHERE key IN ('3', '150')";
        ASSERT_EQ(PlainSqlite(store_.path()).query(sql), "");
    }
    void prepare() {
        store_.close();
        for (const char* ending : {"-shm", "-wal"}) ::unlink((store_.path() + ending).c_str());
        std::filesystem::remove(directory_.file("copy.db"));
        std::filesystem::remove(rescued_);
        writeFile(store_.path() + "-rescued", "of an earlier day");
        writeFile(store_.path(), image_);
        openWithList();
        ASSERT_TRUE(store_.set("0", std::string(200, 't')));
    }
    void operate() {
        error_ = {};
        claimed_ = operation().run(store_.database(), directory_.path(), &error_);
        EXPECT_EQ(claimed_, !error_) << "the answer and the error disagree: " << error_.description;
    }
    int rows() { return std::stoi(PlainSqlite(store_.path()).query("SELECT count(*) FROM row")); }

    void verify() {
        // A backup is synced once more by its own means before it gets its name; SQLite passes over
        // a failure when it leaves the empty log.
        EXPECT_FALSE(claimed_ && hasSyncFailed() && operation().name != "Backup")
            << "a failed sync was reported as success";
        EXPECT_EQ(rows(), claimed_ ? operation().rowsAfter : rowCount);
        const bool isSound = claimed_ || operation().rowsAfter == rowCount;
        EXPECT_EQ(store_.faults().empty(), isSound) << store_.faults();
        EXPECT_EQ(store_.text("7"), std::string(200, 't'));
        EXPECT_TRUE(store_.set("later", "later")) << "the next operation fails";
        expectFiles();
        EXPECT_EQ(contentOf(store_.path() + "-rescued"), "of an earlier day");
        if (!claimed_) operate();
        EXPECT_TRUE(claimed_) << "it does not work afterwards either";
        EXPECT_EQ(store_.faults(), "");
        openWithList();
        EXPECT_EQ(store_.faults(), "");
        EXPECT_EQ(rows(), operation().rowsAfter + 1);
    }
    void expectFiles() {
        std::vector<std::string> expected = {"store.db", "store.db-lock", "store.db-rescued",
                                             "store.db-shm", "store.db-wal"};
        if (claimed_ && operation().name == "Backup") {
            expected.insert(expected.begin(), "copy.db");
            expectWhole(directory_.file("copy.db"));
        }
        if (std::filesystem::exists(rescued_)) {
            expected.insert(expected.begin() + 3, "store.db-rescued-2");
            ++rescues_;
            EXPECT_FALSE(claimed_);
            EXPECT_NE(error_.description.find(rescued_), std::string::npos) << error_.description;
            expectWhole(rescued_);
        }
        EXPECT_EQ(directory_.entries(), expected);
    }
    static void expectWhole(const std::string& path) {
        EXPECT_EQ(PlainSqlite(path).query("PRAGMA integrity_check"), "ok\n");
        EXPECT_EQ(PlainSqlite(path).query("SELECT count(*) FROM list_rows"),
                  std::to_string(rowCount) + "\n");
    }

    /// What compacting leaves when it cannot read back what it has written.
    const std::string rescued_ = store_.path() + "-rescued-2";
    int rescues_ = 0;
    Error error_;
};

TEST_P(GivenACallThatFails, WhenMaintenanceMeetsItThenAllOrNothingHappens) {
    const LogCapture quiet;
    makeImage();
    const auto failures = run({.prepare = [&] { prepare(); },
                               .operation = [&] { operate(); },
                               .verify = [&] { verify(); }},
                              testScale(faultCase().fault.calls == anyFileCall ? 7 : 2, 1));
    EXPECT_GT(failures, 0u);
    const bool mustRescue = operation().name == "Compact" && faultCase().name == "CallFailsForGood";
    EXPECT_TRUE(rescues_ > 0 || !mustRescue) << "no copy was kept";
}

INSTANTIATE_TEST_SUITE_P(Store, GivenACallThatFails,
                         FailingStore::combined(operations(), systemFaults()),
                         [](const auto& test) {
                             return operations()[std::get<0>(test.param)].name +
                                    std::get<1>(test.param).name;
                         });

}  // namespace
}  // namespace qsml
