// What opening refuses, and that refusing leaves the file alone.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include "testing/ChildProcess.h"
#include "testing/OpenStore.h"
#include "testing/TemporaryDirectory.h"

namespace qsml {
namespace {

using Path = const std::string&;

/// A thing that is not a database we may write, and a piece of what the error says of it.
struct BadPlace {
    std::string name;
    std::function<void(Path folder, Path path)> make;
    std::string cause;
};

void makeStore(Path path) {
    StoreOfTexts store(path);
    ASSERT_TRUE(store.open());
    ASSERT_TRUE(store.set("key", "text"));
}

const std::vector<BadPlace>& badPlaces() {
    static const std::vector<BadPlace> places = {
        {"ReadOnlyFile",
         [](Path, Path path) {
             makeStore(path);
             ::chmod(path.c_str(), 0444);
         },
         "ermission denied"},
        {"ReadOnlyFolder", [](Path folder, Path) { ::chmod(folder.c_str(), 0555); },
         "ermission denied"},
        {"MissingFolder", [](Path folder, Path) { ::rmdir(folder.c_str()); },
         "No such file or directory"},
        {"FolderInPlaceOfFile", [](Path, Path path) { ::mkdir(path.c_str(), 0777); }, ""},
        {"DanglingLink",
         [](Path, Path path) { ASSERT_EQ(::symlink("/nowhere/at/all", path.c_str()), 0); },
         "No such file or directory"},
        {"Pipe", [](Path, Path path) { ::mkfifo(path.c_str(), 0666); }, "not a regular file"},
        {"Device", [](Path, Path path) { ASSERT_EQ(::symlink("/dev/null", path.c_str()), 0); },
         "not a regular file"},
        {"UnreadableFile",
         [](Path, Path path) {
             makeStore(path);
             ::chmod(path.c_str(), 0000);
         },
         "ermission denied"}};
    return places;
}

struct timespec changeTime(Path path) {
    struct stat facts = {};
    ::lstat(path.c_str(), &facts);
    return facts.st_mtim;
}

class GivenAPlaceThatCannotHoldAStore : public ::testing::TestWithParam<std::size_t> {
protected:
    void SetUp() override {
        ASSERT_EQ(::mkdir(folder_.c_str(), 0777), 0);
        place().make(folder_, path_);
    }
    const BadPlace& place() const { return badPlaces()[GetParam()]; }

    TemporaryDirectory directory_;
    std::string folder_ = directory_.file("folder");
    std::string path_ = folder_ + "/store.db";
};

TEST_P(GivenAPlaceThatCannotHoldAStore, WhenOpenedThenItSaysWhyAndChangesNothing) {
    struct stat facts = {};
    const bool isRegular = ::stat(path_.c_str(), &facts) == 0 && S_ISREG(facts.st_mode);
    const std::string content = isRegular ? contentOf(path_) : "";
    const auto time = changeTime(path_);
    ChildProcess child("qsml_store_child");
    ASSERT_EQ(child.ask("obeyModes"), "ok");
    const std::string answer = child.ask("open " + path_);
    EXPECT_EQ(answer.substr(0, 7), "failed ") << answer;
    const bool isNamed = answer.find(path_) != std::string::npos ||
                         answer.find("/dev/null") != std::string::npos;  // where the link leads
    EXPECT_TRUE(isNamed) << "the file is not named: " << answer;
    EXPECT_NE(answer.find(place().cause), std::string::npos) << answer;
    EXPECT_EQ(isRegular ? contentOf(path_) : "", content);
    EXPECT_EQ(changeTime(path_).tv_sec, time.tv_sec);
    EXPECT_EQ(changeTime(path_).tv_nsec, time.tv_nsec);
}

INSTANTIATE_TEST_SUITE_P(Store, GivenAPlaceThatCannotHoldAStore,
                         ::testing::Range(std::size_t{0}, badPlaces().size()),
                         [](const auto& test) { return badPlaces()[test.param].name; });

class GivenAFileOfSomebodyElse : public ::testing::Test {
protected:
    /// Opening fails with the code, names the file, and leaves bytes and folder as they were.
    void expectRefused(YapDatabaseErrorCode code) {
        const std::string content = contentOf(path_);
        const auto entries = directory_.entries();
        StoreOfTexts store(path_);
        Error error;
        EXPECT_FALSE(store.open(&error));
        EXPECT_EQ(error.domain, YapDatabaseErrorDomain);
        EXPECT_EQ(error.code, static_cast<std::int64_t>(code)) << error.description;
        EXPECT_NE(error.description.find(path_), std::string::npos) << error.description;
        EXPECT_TRUE(contentOf(path_) == content) << "the file was changed";
        EXPECT_EQ(directory_.entries(), entries);
    }
    void runSQL(const char* sql) {
        sqlite3* handle = nullptr;
        ASSERT_EQ(sqlite3_open(path_.c_str(), &handle), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(handle, sql, nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(handle);
    }

    TemporaryDirectory directory_;
    std::string path_ = directory_.file("store.db");
};

TEST_F(GivenAFileOfSomebodyElse, WhenItIsAPictureThenItIsRefused) {
    writeFile(path_, std::string(100'000, 'P'));
    expectRefused(YapDatabaseErrorCode::notADatabase);
}

TEST_F(GivenAFileOfSomebodyElse, WhenItIsShortThenItIsRefused) {
    writeFile(path_, "SQLite format 3");
    expectRefused(YapDatabaseErrorCode::notADatabase);
}

TEST_F(GivenAFileOfSomebodyElse, WhenItIsAnotherProgramsDatabaseThenItIsRefused) {
    runSQL("CREATE TABLE mine (a); INSERT INTO mine VALUES (1)");
    expectRefused(YapDatabaseErrorCode::notADatabase);
}

TEST_F(GivenAFileOfSomebodyElse, WhenANewerVersionWroteItThenItIsRefused) {
    makeStore(path_);
    runSQL("PRAGMA wal_checkpoint(TRUNCATE); PRAGMA user_version = 1000000");
    expectRefused(YapDatabaseErrorCode::newerFormat);
}

TEST_F(GivenAFileOfSomebodyElse, WhenItHoldsUnknownTablesThenTheyAreLeftAlone) {
    makeStore(path_);
    runSQL("CREATE TABLE \"later_things\" (a); INSERT INTO \"later_things\" VALUES (42)");
    StoreOfTexts store(path_);
    ASSERT_TRUE(store.open());
    EXPECT_EQ(store.text("key"), "text");
    EXPECT_TRUE(store.set("key", "changed"));
    EXPECT_EQ(store.faults(), "");
    store.close();
    runSQL(
        "CREATE TEMP TABLE found (a CHECK (a = 42)); INSERT INTO found SELECT a FROM later_things;"
        "CREATE TEMP TABLE count (a CHECK (a = 1)); INSERT INTO count SELECT count(*) FROM found");
}

TEST_F(GivenAFileOfSomebodyElse, WhenThisProcessHasItOpenThenLinksAreRefusedToo) {
    StoreOfTexts store(path_);
    ASSERT_TRUE(store.open());
    ASSERT_EQ(::symlink(path_.c_str(), directory_.file("symbolic").c_str()), 0);
    ASSERT_EQ(::link(path_.c_str(), directory_.file("hard").c_str()), 0);
    for (const char* name : {"store.db", "symbolic", "hard"}) {
        StoreOfTexts second(directory_.file(name));
        Error error;
        EXPECT_FALSE(second.open(&error)) << name;
        EXPECT_EQ(error.code, static_cast<std::int64_t>(YapDatabaseErrorCode::alreadyOpen)) << name;
    }
    EXPECT_TRUE(store.set("key", "text")) << "the first one suffered";
    store.close();
    StoreOfTexts linked(directory_.file("symbolic"));
    ASSERT_TRUE(linked.open());
    EXPECT_EQ(linked.database().databasePath(), path_);
    EXPECT_EQ(linked.text("key"), "text");
}

}  // namespace
}  // namespace qsml
