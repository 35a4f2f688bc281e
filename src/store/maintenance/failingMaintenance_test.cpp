// Maintenance with every call of the system failing, one after the other: all or nothing.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "store/detail/testing/PlainSqlite.h"
#include "testing/LogCapture.h"
#include "testing/OpenStore.h"
#include "testing/RowListExtension.h"
#include "testing/failingCalls.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

using Repeat = FaultyFiles::Repeat;
using Kind = FaultyFiles::Kind;

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

struct FaultCase {
    std::string name;
    FaultyFiles::Fault fault;
};
constexpr FileCall writing = FileCall::write | FileCall::truncate;
const FaultCase faultCases[] = {
    {"CallFailsOnce", {anyFileCall, 1, Repeat::once, Kind::ioError}},
    {"CallFailsForGood", {anyFileCall, 1, Repeat::forever, Kind::ioError}},
    {"DiskIsFull", {writing, 1, Repeat::forever, Kind::diskFull}},
    {"ReadIsShort", {FileCall::read, 1, Repeat::once, Kind::shortRead}},
    {"WriteIsTorn", {FileCall::write, 1, Repeat::once, Kind::tornWrite}},
    {"SyncFails", {FileCall::sync, 1, Repeat::once, Kind::ioError}}};

class GivenACallThatFails : public ::testing::TestWithParam<std::tuple<std::size_t, std::size_t>> {
protected:
    const Operation& operation() const { return operations()[std::get<0>(GetParam())]; }
    const FaultCase& faultCase() const { return faultCases[std::get<1>(GetParam())]; }

    /// A file with free pages, an extension and, where they are to be set aside, damaged rows.
    void makeImage() {
        open();
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
    void open() {
        Error error;
        ASSERT_TRUE(store_.open(&error)) << error.description;
        ASSERT_TRUE(store_.database().registerExtension(std::make_shared<RowListExtension>(),
                                                        "list", &error))
            << error.description;
    }
    void prepare() {
        store_.close();
        for (const char* ending : {"-shm", "-wal"}) ::unlink((store_.path() + ending).c_str());
        std::filesystem::remove(directory_.file("copy.db"));
        writeFile(store_.path(), image_);
        open();
        ASSERT_TRUE(store_.set("0", std::string(200, 't')));
    }
    void operate() {
        Error error;
        claimed_ = operation().run(store_.database(), directory_.path(), &error);
        EXPECT_EQ(claimed_, !error) << "the answer and the error disagree: " << error.description;
    }
    int rows() { return std::stoi(PlainSqlite(store_.path()).query("SELECT count(*) FROM row")); }

    void verify() {
        // A backup is synced once more by its own means before it gets its name; SQLite passes over
        // a failure when it leaves the empty log.
        const bool syncFailed = faultCase().name == "SyncFails" && files_.failures() > 0 &&
                                operation().name != "Backup";
        EXPECT_FALSE(claimed_ && syncFailed) << "a failed sync was reported as success";
        EXPECT_EQ(rows(), claimed_ ? operation().rowsAfter : rowCount);
        const bool isSound = claimed_ || operation().rowsAfter == rowCount;
        EXPECT_EQ(store_.faults().empty(), isSound) << store_.faults();
        EXPECT_EQ(store_.text("7"), std::string(200, 't'));
        EXPECT_TRUE(store_.set("later", "later")) << "the next operation fails";
        expectFiles();
        if (!claimed_) operate();
        EXPECT_TRUE(claimed_) << "it does not work afterwards either";
        EXPECT_EQ(store_.faults(), "");
        open();
        EXPECT_EQ(store_.faults(), "");
        EXPECT_EQ(rows(), operation().rowsAfter + 1);
    }
    void expectFiles() {
        std::vector<std::string> expected = {"store.db", "store.db-lock", "store.db-shm",
                                             "store.db-wal"};
        if (claimed_ && operation().name == "Backup") {
            expected.insert(expected.begin(), "copy.db");
            EXPECT_EQ(PlainSqlite(directory_.file("copy.db")).query("PRAGMA integrity_check"),
                      "ok\n");
            EXPECT_EQ(
                PlainSqlite(directory_.file("copy.db")).query("SELECT count(*) FROM list_rows"),
                std::to_string(rowCount) + "\n");
        }
        EXPECT_EQ(directory_.entries(), expected);
    }

    TemporaryDirectory directory_;
    FaultyFiles files_;
    StoreOfTexts store_{directory_.file("store.db")};
    std::string image_;
    bool claimed_ = false;
};

TEST_P(GivenACallThatFails, WhenMaintenanceMeetsItThenAllOrNothingHappens) {
    if (faultCase().name == "ReadIsShort")
        GTEST_SKIP() << "not met yet: SQLite takes what a read does not give for zeros, and pages "
                        "that are copied or free are not looked at";
    const LogCapture quiet;
    files_.skipSyncs();  // They are counted and fail; no power does.
    store_.options.vfsName = files_.vfsName();
    store_.options.pageCacheBytes = 32 << 10;  // Four pages: the others are read and spilled.
    makeImage();
    FailingRun run;
    run.prepare = [&] { prepare(); };
    run.operation = [&] { operate(); };
    run.verify = [&] { verify(); };
    run.step = testScale(faultCase().fault.calls == anyFileCall ? 7 : 2, 1);
    const auto failures = forEachFailingCall(files_, faultCase().fault, run);
    EXPECT_GT(failures, 0u);
    store_.close();
}

INSTANTIATE_TEST_SUITE_P(Store, GivenACallThatFails,
                         ::testing::Combine(::testing::Range(std::size_t{0}, operations().size()),
                                            ::testing::Range(std::size_t{0},
                                                             std::size(faultCases))),
                         [](const auto& test) {
                             return operations()[std::get<0>(test.param)].name +
                                    faultCases[std::get<1>(test.param)].name;
                         });

}  // namespace
}  // namespace qsml
