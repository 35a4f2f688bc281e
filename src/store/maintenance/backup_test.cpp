// Copying a database that is in use.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "store/maintenance/testing/DerivedStore.h"
#include "testing/ChildProcess.h"
#include "testing/LogCapture.h"

namespace qsml {
namespace {

constexpr auto alreadyThere = static_cast<std::int64_t>(YapDatabaseErrorCode::alreadyThere);

class GivenADatabaseInUse : public DerivedStore {
protected:
    bool backup(Error* error = nullptr) {
        return store_.database().backup(copy(), progress_, error);
    }
    std::string copy() const { return directory_.file("copy.db"); }
    std::vector<std::string> copies() const {
        std::vector<std::string> names;
        for (const std::string& name : directory_.entries())
            if (name.find("copy") == 0) names.push_back(name);
        return names;
    }
    /// What stands in the way stays, and nothing else is left.
    void expectRefused(const std::string& name) {
        writeFile(directory_.file(name), "precious");
        Error error;
        EXPECT_FALSE(backup(&error));
        EXPECT_EQ(error.code, alreadyThere) << error.description;
        EXPECT_NE(error.description.find(name), std::string::npos) << error.description;
        EXPECT_EQ(copies(), std::vector<std::string>{name});
        EXPECT_EQ(contentOf(directory_.file(name)), "precious");
        std::filesystem::remove(directory_.file(name));
    }
    /// Opens the copy as a library; nothing of it may be built again.
    void expectCopyIsWhole(std::uint64_t rows = rowCount) {
        store_.close();
        std::filesystem::rename(copy(), store_.path() + "2");
        for (const char* ending : {"", "-wal", "-shm", "-lock"})
            std::filesystem::remove(store_.path() + ending);
        std::filesystem::rename(store_.path() + "2", store_.path());
        ASSERT_TRUE(store_.open());
        const LogCapture log;
        registerAll();
        EXPECT_EQ(log.linesWith("built"), std::vector<std::string>());
        expectWhole(rows);
    }

    std::function<void(std::uint64_t, std::uint64_t)> progress_;
};

TEST_F(GivenADatabaseInUse, WhenBackedUpThenTheCopyIsOneFileThatOpensAsItIs) {
    const auto reader = store_.database().newConnection();
    reader->beginLongLivedReadTransaction();
    Error error;
    EXPECT_TRUE(backup(&error)) << error.description;
    EXPECT_EQ(copies(), std::vector<std::string>{"copy.db"});
    EXPECT_EQ(contentOf(copy()).substr(0, 15), "SQLite format 3");
    ASSERT_TRUE(store_.set("later", "not in the copy"));
    reader->endLongLivedReadTransaction();
    expectCopyIsWhole();
    EXPECT_EQ(store_.text("later"), "(nil)");
    ASSERT_TRUE(store_.set("later", "lorem 9"));
    expectWhole(rowCount + 1);
}

TEST_F(GivenADatabaseInUse, WhenSomethingIsThereThenItIsLeftAlone) {
    for (const char* name :
         {"copy.db", "copy.db-wal", "copy.db-journal", "copy.db.partial", "copy.db.partial-wal"})
        expectRefused(name);
    EXPECT_TRUE(backup());
}

TEST_F(GivenADatabaseInUse, WhenALinkIsThereThenItIsNotFollowed) {
    writeFile(directory_.file("precious"), "content");
    for (const char* target : {"precious", "nothing"})
        for (const std::string& name : {copy(), copy() + ".partial"}) {
            std::filesystem::create_symlink(directory_.file(target), name);
            EXPECT_FALSE(backup());
            EXPECT_TRUE(std::filesystem::is_symlink(name));
            EXPECT_EQ(copies().size(), 1u);
            std::filesystem::remove(name);
        }
    EXPECT_EQ(contentOf(directory_.file("precious")), "content");
    EXPECT_FALSE(std::filesystem::exists(directory_.file("nothing")));
}

TEST_F(GivenADatabaseInUse, WhenThePathIsUnusableThenTheErrorNamesIt) {
    for (const std::string& path : {std::string(), directory_.file("no/folder/copy"),
                                    std::string("a\0b", 3), directory_.path(), store_.path()}) {
        Error error;
        EXPECT_FALSE(store_.database().backup(path, {}, &error)) << path;
        EXPECT_TRUE(error);
        EXPECT_NE(error.description.find(path), std::string::npos) << error.description;
    }
    expectWhole();
}

TEST_F(GivenADatabaseInUse, WhenTheFolderIsReachedByALinkThenThatIsFine) {
    std::filesystem::create_directory(directory_.file("folder"));
    std::filesystem::create_symlink(directory_.file("folder"), directory_.file("link"));
    Error error;
    EXPECT_TRUE(store_.database().backup(directory_.file("link/copy"), {}, &error))
        << error.description;
    EXPECT_TRUE(std::filesystem::is_regular_file(directory_.file("folder/copy")));
}

TEST_F(GivenADatabaseInUse, WhenTheUmaskIsOpenThenOnlyTheOwnerCanReadTheCopy) {
    const mode_t before = ::umask(0);
    std::vector<mode_t> seen;
    progress_ = [&](std::uint64_t, std::uint64_t) {
        struct stat facts = {};
        EXPECT_EQ(::stat((copy() + ".partial").c_str(), &facts), 0);
        seen.push_back(facts.st_mode & 0777);
    };
    EXPECT_TRUE(backup());
    ::umask(before);
    struct stat facts = {};
    ASSERT_EQ(::stat(copy().c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0600u);
    EXPECT_EQ(facts.st_nlink, 1u);
    ASSERT_FALSE(seen.empty());
    for (const mode_t mode : seen) EXPECT_EQ(mode, 0600u);
}

TEST_F(GivenADatabaseInUse, WhenBackedUpThenProgressRisesToTheEnd) {
    ASSERT_TRUE(store_.connection().readWrite([](auto& transaction) {
        for (int row = 0; row < 500; row++)
            transaction.setObject(String(std::string(9000, 'b')), std::to_string(row), "big");
    }));
    std::vector<std::uint64_t> done;
    std::uint64_t pages = 0;
    progress_ = [&](std::uint64_t now, std::uint64_t total) {
        done.push_back(now);
        pages = total;
    };
    EXPECT_TRUE(backup());
    EXPECT_GE(done.size(), 3u);
    EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));
    EXPECT_EQ(done.back(), pages);
    EXPECT_EQ(std::filesystem::file_size(copy()), pages * 8192);
}

TEST_F(GivenADatabaseInUse, WhenProgressThrowsThenTheCopyIsMade) {
    progress_ = [](auto, auto) { throw std::runtime_error("no window"); };
    const LogCapture log;
    EXPECT_TRUE(backup());
    EXPECT_FALSE(log.linesWith("no window").empty());
    expectCopyIsWhole();
}

TEST_F(GivenADatabaseInUse,
       WhenRowsAreWrittenDuringTheCopyThenItIsOneSnapshotAndDoesNotBeginAgain) {
    ASSERT_TRUE(store_.connection().readWrite([](auto& transaction) {
        for (int row = 0; row < 500; row++)
            transaction.setObject(String(std::string(9000, 'b')), std::to_string(row), "big");
    }));
    std::size_t calls = 0;
    progress_ = [&](std::uint64_t, std::uint64_t) {
        calls++;
        ASSERT_TRUE(store_.set("key" + std::to_string(calls), "lorem late"));
        ASSERT_TRUE(store_.connection().readWrite(
            [](auto& transaction) { transaction.removeObjectForKey("499", "big"); }));
        ASSERT_TRUE(store_.database().checkpoint());
    };
    EXPECT_TRUE(backup());
    EXPECT_LT(calls, 20u);
    const std::string big =
        PlainSqlite(copy()).query("SELECT count(*) FROM records WHERE collection='big'");
    EXPECT_EQ(big, "500\n");
    EXPECT_EQ(PlainSqlite(copy()).query("SELECT count(*) FROM records WHERE collection='texts'"),
              std::to_string(rowCount) + "\n");
    EXPECT_EQ(PlainSqlite(copy()).query("PRAGMA integrity_check"), "ok\n");
}

TEST_F(GivenADatabaseInUse, WhenThreadsAndAnotherProcessWriteThenEachCopyIsOneOfTheSnapshots) {
    std::atomic<bool> stops = false;
    std::thread writer([&, connection = store_.database().newConnection()] {
        for (int number = 0; !stops; number++)
            EXPECT_TRUE(connection->readWrite([&](auto& transaction) {
                const String text(std::to_string(number));  // both rows are always the same
                transaction.setObject(text, "one", "pair");
                transaction.setObject(text, "two", "pair");
            }));
    });
    ChildProcess other("qsml_store_child");
    ASSERT_EQ(other.ask("open " + store_.path()), "ok");
    other.send("increment shared 200");
    for (int round = 0; round < 10; round++) {
        Error error;
        ASSERT_TRUE(backup(&error)) << error.description;
        EXPECT_EQ(PlainSqlite(copy()).query("PRAGMA integrity_check"), "ok\n");
        EXPECT_EQ(PlainSqlite(copy()).query(
                      "SELECT count(DISTINCT data) > 1 FROM records WHERE collection='pair'"),
                  "0\n");
        std::filesystem::remove(copy());
    }
    stops = true;
    writer.join();
    while (other.receive().value_or("done") != "done") {
    }
    EXPECT_EQ(store_.text("shared", "counters"), "200");
}

}  // namespace
}  // namespace qsml
