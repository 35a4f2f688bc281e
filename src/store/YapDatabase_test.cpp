#include "store/YapDatabase.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "store/detail/testing/PlainSqlite.h"
#include "testing/LogCapture.h"
#include "testing/OpenStore.h"

namespace qsml {
namespace {

using Writer = YapDatabaseReadWriteTransaction;

std::int64_t code(YapDatabaseErrorCode code) { return static_cast<std::int64_t>(code); }

class GivenAFolder : public ::testing::Test {
protected:
    std::shared_ptr<YapDatabase> open(const std::string& path) {
        error_ = {};
        return YapDatabase::initWithPath(path, plainTexts(), plainTexts(), {}, &error_);
    }
    /// Refused, and nothing in the folder has changed or come to it.
    void expectRefused(const std::string& path, std::int64_t expected) {
        const auto entries = directory_.entries();
        EXPECT_FALSE(open(path)) << path;
        EXPECT_EQ(error_.domain, YapDatabaseErrorDomain);
        EXPECT_EQ(error_.code, expected) << error_.description;
        EXPECT_EQ(directory_.entries(), entries);
    }

    TemporaryDirectory directory_;
    Error error_;
};

TEST_F(GivenAFolder, WhenAFileIsSomethingElseThenItIsRefusedAndLeftAlone) {
    const std::string path = directory_.file("text");
    writeFile(path, "This is a text that somebody wrote, and no database at all. " +
                        std::string(200, '.'));
    const std::string before = contentOf(path);
    expectRefused(path, code(YapDatabaseErrorCode::notADatabase));
    EXPECT_NE(error_.description.find(path), std::string::npos);
    EXPECT_EQ(contentOf(path), before);
    writeFile(path, "short");
    expectRefused(path, code(YapDatabaseErrorCode::notADatabase));
}

TEST_F(GivenAFolder, WhenADatabaseBelongsToAnotherApplicationThenItIsRefusedAndLeftAlone) {
    const std::string path = directory_.file("other.db");
    PlainSqlite(path).query("CREATE TABLE t(a); PRAGMA application_id=77");
    const std::string before = contentOf(path);
    expectRefused(path, code(YapDatabaseErrorCode::notADatabase));
    EXPECT_EQ(contentOf(path), before);
}

TEST_F(GivenAFolder, WhenTheFormatIsNewerThenItIsRefusedAndLeftAlone) {
    const std::string path = directory_.file("store.db");
    open(path);
    PlainSqlite(path).query("PRAGMA user_version=2; PRAGMA wal_checkpoint(TRUNCATE)");
    const std::string before = contentOf(path);
    expectRefused(path, code(YapDatabaseErrorCode::newerFormat));
    EXPECT_EQ(contentOf(path), before);
}

TEST_F(GivenAFolder, WhenThereIsNoRegularFileThenItIsRefused) {
    ASSERT_EQ(mkdir(directory_.file("folder").c_str(), 0700), 0);
    ASSERT_EQ(mkfifo(directory_.file("fifo").c_str(), 0600), 0);
    ASSERT_EQ(symlink("nowhere", directory_.file("dangling").c_str()), 0);
    expectRefused(directory_.file("folder"), code(YapDatabaseErrorCode::notARegularFile));
    expectRefused(directory_.file("fifo"), code(YapDatabaseErrorCode::notARegularFile));
    expectRefused(directory_.file("dangling"), ENOENT);
    expectRefused(directory_.file("missing/store.db"), ENOENT);
    expectRefused("", EINVAL);
}

TEST_F(GivenAFolder, WhenTheLockIsALinkThenItIsNotFollowed) {
    ASSERT_EQ(symlink("elsewhere", directory_.file("store.db-lock").c_str()), 0);
    EXPECT_FALSE(open(directory_.file("store.db")));
    EXPECT_EQ(error_.code, code(YapDatabaseErrorCode::cannotLock));
}

TEST_F(GivenAFolder, WhenOpenedTwiceByWhateverLinkThenTheSecondIsRefusedUntilTheFirstIsClosed) {
    const std::string path = directory_.file("store.db");
    auto database = open(path);
    ASSERT_TRUE(database);
    ASSERT_EQ(symlink(path.c_str(), directory_.file("soft").c_str()), 0);
    ASSERT_EQ(link(path.c_str(), directory_.file("hard").c_str()), 0);
    for (const char* name : {"store.db", "soft", "hard"})
        expectRefused(directory_.file(name), code(YapDatabaseErrorCode::alreadyOpen));
    auto connection = database->newConnection();
    database.reset();
    expectRefused(path, code(YapDatabaseErrorCode::alreadyOpen));
    connection.reset();
    database = open(directory_.file("soft"));
    ASSERT_TRUE(database);
    EXPECT_EQ(database->databasePath(), path);
}

TEST_F(GivenAFolder, WhenCreatedUnderAnyUmaskThenOnlyTheOwnerReadsTheFiles) {
    for (const mode_t mask : {mode_t{0}, mode_t{022}, mode_t{0777}}) {
        const std::string path = directory_.file("store" + std::to_string(mask));
        const mode_t before = umask(mask);
        auto database = open(path);
        const auto connection = database->newConnection();
        connection->readWrite([](Writer& t) { t.setObject("a", "k", "texts"); });
        umask(before);
        for (const char* suffix : {"", "-wal", "-shm", "-lock"}) {
            struct stat facts {};
            ASSERT_EQ(stat((path + suffix).c_str(), &facts), 0) << suffix;
            EXPECT_EQ(facts.st_mode & 0777, 0600u) << suffix << " under " << mask;
        }
    }
}

TEST_F(GivenAFolder, WhenReadByTheShellThenTheViewShowsNamesAndKeysAsTexts) {
    const std::string path = directory_.file("store.db");
    const auto database = open(path);
    database->newConnection()->readWrite([](Writer& t) {
        t.setObject("a", "0123456789abcdef0123456789abcdef", "digests", "m");
        t.setObject("b", "01234567-89AB-CDEF-0123-456789ABCDEF", "ids");
        t.setObject("c", "0123456789ABCDEF", "texts");
    });
    EXPECT_EQ(PlainSqlite(path).query("SELECT collection, key, data, metadata FROM records"
                                      " ORDER BY collection"),
              "digests|0123456789abcdef0123456789abcdef|a|m\n"
              "ids|01234567-89AB-CDEF-0123-456789ABCDEF|b|\n"
              "texts|0123456789ABCDEF|c|\n");
}

TEST_F(GivenAFolder, WhenThereAreUnknownTablesThenTheyAreLeftAlone) {
    const std::string path = directory_.file("store.db");
    open(path);
    PlainSqlite(path).query("CREATE TABLE mine(a); INSERT INTO mine VALUES('kept')");
    const auto database = open(path);
    ASSERT_TRUE(database);
    database->newConnection()->readWrite([](Writer& t) { t.setObject("a", "k", "texts"); });
    EXPECT_EQ(PlainSqlite(path).query("SELECT a FROM mine"), "kept\n");
}

class GivenAStore : public OpenStore {
protected:
    std::string sql(const std::string& text) { return PlainSqlite(store_.path()).query(text); }
};

TEST_F(GivenAStore, WhenARowIsDamagedThenItReadsAsAbsentWithAWarningAndCheckNamesIt) {
    store_.set("k", "aaaa");
    store_.set("l", "bbbb");
    sql("UPDATE row SET data='abaa' WHERE data=CAST('aaaa' AS BLOB)");
    ASSERT_TRUE(store_.open());
    LogCapture log;
    EXPECT_EQ(store_.text("k"), "(nil)");
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               "Warning: unknown database object collection \"texts\" (k): "
                               "the stored bytes are damaged"}));
    EXPECT_EQ(store_.text("l"), "bbbb");
    std::size_t listed = 0, decoded = 0;
    store_.connection().read([&](YapDatabaseReadTransaction& t) {
        EXPECT_TRUE(t.hasObjectForKey("k", "texts"));
        t.enumerateKeysInCollection("texts", [&](auto, bool&) { ++listed; });
        t.enumerateKeysAndObjectsInCollection("texts", [&](auto, auto&, bool&) { ++decoded; });
    });
    EXPECT_EQ(listed, 2u);
    EXPECT_EQ(decoded, 1u);
    EXPECT_EQ(store_.faults(), "texts/k []: the stored bytes are damaged\n");
    EXPECT_TRUE(store_.set("k", "mended"));
    EXPECT_EQ(store_.text("k"), "mended");
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAStore, WhenRowsAreExchangedOrTheirCollectionIsRenamedThenTheyAreDamaged) {
    store_.set("k", "a");
    store_.set("l", "b", "others");
    sql("UPDATE collection SET name='renamed' WHERE name='others'");
    ASSERT_TRUE(store_.open());
    LogCapture log;
    EXPECT_EQ(store_.text("l", "renamed"), "(nil)");
    EXPECT_EQ(store_.text("k"), "a");
    EXPECT_EQ(log.lines().size(), 1u);
}

TEST_F(GivenAStore, WhenRowsAreRemovedThenTheirNumbersAreNeverUsedAgain) {
    store_.set("k", "a");
    const std::string first = sql("SELECT max(rowid) FROM row");
    store_.connection().readWrite([](Writer& t) { t.removeAllObjectsInAllCollections(); });
    ASSERT_TRUE(store_.open());
    store_.set("k", "a");
    const std::string second = sql("SELECT max(rowid) FROM row");
    EXPECT_GT(std::stoll(second), std::stoll(first));
    store_.set("k", "changed");
    EXPECT_EQ(sql("SELECT max(rowid) FROM row"), second);
}

TEST_F(GivenAStore, WhenClosedThenTheLogIsEmptyAndTheFileHoldsEverything) {
    store_.set("k", "a");
    EXPECT_GT(store_.database().walSize(), 0u);
    store_.close();
    EXPECT_EQ(contentOf(store_.path() + "-wal"), "");
    ASSERT_TRUE(store_.open());
    EXPECT_EQ(store_.text("k"), "a");
    EXPECT_EQ(store_.database().snapshot(), 1u);
}

TEST_F(GivenAStore, WhenCheckpointedThenTheMainFileHoldsTheRows) {
    store_.set("k", "a");
    Error error;
    EXPECT_TRUE(store_.database().checkpoint(&error)) << error.description;
    EXPECT_NE(contentOf(store_.path()).find("texts"), std::string::npos);
}

TEST_F(GivenAStore, WhenTheLogGrowsOverTheLimitThenOneLineNamesTheReader) {
    store_.options.walWarningBytes = 200'000;
    ASSERT_TRUE(store_.open());
    const auto reader = store_.database().newConnection();
    reader->setName("the slow one");
    reader->beginLongLivedReadTransaction();
    LogCapture log;
    for (int i = 0; i < 30; ++i) store_.set(std::to_string(i), std::string(20'000, 'x'));
    const auto lines = log.linesWith("write-ahead log");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("\"the slow one\" since snapshot 0"), std::string::npos);
}

TEST_F(GivenAStore, WhenCheckedThenProgressEndsWithAllRows) {
    store_.connection().readWrite([](Writer& t) {
        for (int i = 0; i < 2500; ++i) t.setObject("a", std::to_string(i), "texts");
    });
    std::vector<std::uint64_t> steps;
    EXPECT_TRUE(store_.database().check({}, [&](std::uint64_t done, std::uint64_t total) {
        EXPECT_EQ(total, 2500u);
        steps.push_back(done);
    }));
    EXPECT_EQ(steps, (std::vector<std::uint64_t>{1000, 2000, 2500}));
}

// What the callbacks see.

class GivenCallbacksThatTell : public ::testing::Test {
protected:
    void SetUp() override {
        auto objects = plainTexts();
        objects.serializer = [this, plain = objects.serializer](auto collection, auto key,
                                                                const Value& object, Error* error) {
            calls_ += "serialize " + object.string().str() + ";";
            return plain(collection, key, object, error);
        };
        objects.deserializer = [this, plain = objects.deserializer](auto c, auto k, auto bytes) {
            calls_ += "decode;";
            return plain(c, k, bytes);
        };
        objects.preSanitizer = [this](auto, auto, Value object) {
            calls_ += "before " + object.string().str() + ";";
            if (object.string() == "refused") return Value();
            return Value(String(object.string().str() + "!"));
        };
        objects.postSanitizer = [this](auto, auto, const Value& object) {
            calls_ += "after " + object.string().str() + ";";
        };
        auto metadata = plainTexts();
        metadata.preSanitizer = [this](auto, auto, Value value) {
            calls_ += "metadata " + value.string().str() + ";";
            return value;
        };
        database_ = YapDatabase::initWithPath(directory_.file("store.db"), objects, metadata);
        connection_ = database_->newConnection();
    }
    std::string write(const std::function<void(Writer&)>& block) {
        calls_.clear();
        connection_->readWrite(block);
        return calls_;
    }

    TemporaryDirectory directory_;
    std::string calls_;
    std::shared_ptr<YapDatabase> database_;
    std::shared_ptr<YapDatabaseConnection> connection_;
};

TEST_F(GivenCallbacksThatTell, WhenWrittenThenTheyRunInOrderOnWhatTheSanitiserReturned) {
    EXPECT_EQ(write([](Writer& t) { t.setObject("a", "k", "texts"); }),
              "before a;serialize a!;after a!;");
    EXPECT_EQ(write([](Writer& t) { t.setObject("a", "k", "texts", "m"); }),
              "before a;metadata m;serialize a!;after a!;");
    EXPECT_EQ(write([](Writer& t) { t.replaceObject("b", "k", "texts"); }),
              "before b;serialize b!;after b!;");
}

TEST_F(GivenCallbacksThatTell, WhenTheSanitiserAnswersNilThenTheRowGoes) {
    write([](Writer& t) { t.setObject("a", "k", "texts"); });
    EXPECT_EQ(write([](Writer& t) { t.setObject("refused", "k", "texts"); }), "before refused;");
    connection_->read(
        [](YapDatabaseReadTransaction& t) { EXPECT_FALSE(t.hasObjectForKey("k", "texts")); });
}

TEST_F(GivenCallbacksThatTell, WhenTouchedThenNoneRuns) {
    write([](Writer& t) { t.setObject("a", "k", "texts"); });
    EXPECT_EQ(write([](Writer& t) { t.touchRowForKey("k", "texts"); }), "");
}

TEST_F(GivenCallbacksThatTell, WhenALongLivedReadMovesThenNothingIsDecoded) {
    const auto reader = database_->newConnection();
    reader->setObjectPolicy(YapDatabasePolicy::share);
    write([](Writer& t) { t.setObject("a", "k", "texts"); });
    reader->read([](YapDatabaseReadTransaction& t) { t.objectForKey("k", "texts"); });
    write([](Writer& t) { t.setObject("b", "k", "texts"); });
    calls_.clear();
    reader->beginLongLivedReadTransaction();
    EXPECT_EQ(calls_, "");
}

}  // namespace
}  // namespace qsml
