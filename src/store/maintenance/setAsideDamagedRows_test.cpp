// Taking damaged rows out of the file, after the host has put them in safety.
#include <gtest/gtest.h>

#include <map>
#include <stdexcept>

#include "store/maintenance/testing/DerivedStore.h"
#include "store/relationships/testing/OpenGraph.h"
#include "testing/LogCapture.h"

namespace qsml {
namespace {

using DamagedRow = YapDatabase::DamagedRow;

std::string textOf(const std::optional<std::span<const std::uint8_t>>& bytes) {
    if (!bytes) return "(none)";
    return std::string(bytes->begin(), bytes->end());
}

class GivenDamagedRows : public DerivedStore {
protected:
    void SetUp() override {
        DerivedStore::SetUp();
        ASSERT_TRUE(store_.connection().readWrite([](auto& transaction) {
            transaction.setObject("word with metadata lorem", keyOf(3), "texts", "about");
        }));
    }
    void damageRows(const std::string& change, const std::string& rows) {
        damage("UPDATE row SET " + change + " WHERE key IN (" + rows + ")");
        registerAll();
    }
    struct Kept {
        std::string collection, key, data, metadata, description;
        bool operator==(const Kept&) const = default;
    };
    bool setAside(Error* error = nullptr, bool isKept = true) {
        kept_.clear();
        const LogCapture quiet;
        return store_.database().setAsideDamagedRows(
            [&](const DamagedRow& row) {
                kept_[row.rowid] = {std::string(row.collection), std::string(row.key),
                                    textOf(row.data), textOf(row.metadata),
                                    std::string(row.description)};
                return isKept || kept_.size() < 2;
            },
            &count_, error);
    }
    std::string rowCountOfFile() {
        return PlainSqlite(store_.path()).query("SELECT count(*) FROM row");
    }

    std::map<std::int64_t, Kept> kept_;
    std::uint64_t count_ = 99;
};

TEST_F(GivenDamagedRows, WhenThereAreNoneThenNothingIsWritten) {
    const auto snapshot = store_.database().snapshot();
    EXPECT_TRUE(setAside());
    EXPECT_EQ(count_, 0u);
    EXPECT_TRUE(kept_.empty());
    EXPECT_EQ(store_.database().snapshot(), snapshot);
}

TEST_F(GivenDamagedRows, WhenTheyAreKeptThenTheyGoAndTheOthersStay) {
    damageRows("data=CAST('spoilt' AS BLOB)", "'key10003', 'key10700'");
    EXPECT_NE(store_.faults(), "");
    Error error;
    EXPECT_TRUE(setAside(&error)) << error.description;
    EXPECT_EQ(count_, 2u);
    ASSERT_EQ(kept_.size(), 2u);
    EXPECT_EQ(kept_.begin()->second,
              (Kept{"texts", "key10003", "spoilt", "about", "the stored bytes are damaged"}));
    EXPECT_EQ(std::next(kept_.begin())->second,
              (Kept{"texts", "key10700", "spoilt", "(none)", "the stored bytes are damaged"}));
    EXPECT_EQ(store_.faults(), "");
    EXPECT_EQ(items(store_.connection(), "view"), rowCount - 2u);
    EXPECT_EQ(matches(store_.connection(), "lorem"), rowCount - 2u);
    EXPECT_EQ(rowCountOfFile(), std::to_string(rowCount - 2) + "\n");
    EXPECT_EQ(store_.text("key10700"), "(nil)");
    EXPECT_EQ(store_.text("key10004"), "word number4 lorem ipsum");
    ASSERT_TRUE(store_.set("key10700", "word again lorem"));
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenDamagedRows, WhenOneIsNotKeptThenNoneGoes) {
    damageRows("data=CAST('spoilt' AS BLOB)", "'key10003', 'key10700', 'key10900'");
    const auto snapshot = store_.database().snapshot();
    Error error;
    EXPECT_FALSE(setAside(&error, false));
    EXPECT_EQ(error.code, static_cast<std::int64_t>(YapDatabaseErrorCode::notKept));
    EXPECT_NE(error.description.find("the row \"key10700\" of \"texts\""), std::string::npos)
        << error.description;
    EXPECT_EQ(kept_.size(), 2u) << "asked on after a refusal";
    EXPECT_EQ(count_, 0u);
    EXPECT_EQ(store_.database().snapshot(), snapshot);
    EXPECT_EQ(rowCountOfFile(), std::to_string(rowCount) + "\n");
}

TEST_F(GivenDamagedRows, WhenKeepingThrowsThenNoneGoesAndTheErrorSaysWhy) {
    damageRows("data=CAST('spoilt' AS BLOB)", "'key10003'");
    Error error;
    EXPECT_FALSE(store_.database().setAsideDamagedRows(
        [](const DamagedRow&) -> bool { throw std::runtime_error("the stick is full"); }, &count_,
        &error));
    EXPECT_NE(error.description.find("the stick is full"), std::string::npos);
    EXPECT_FALSE(store_.database().setAsideDamagedRows({}, &count_, &error)) << "nobody keeps it";
    EXPECT_EQ(rowCountOfFile(), std::to_string(rowCount) + "\n");
}

TEST_F(GivenDamagedRows, WhenChecksumMetadataOrValueKindsAreWrongThenTheyAreFound) {
    damageRows("checksum=checksum+1", "'key10001'");
    damageRows("metadata=CAST('else' AS BLOB)", "'key10003'");
    damageRows("data=7", "'key10005'");
    damageRows("data=NULL", "'key10007'");
    EXPECT_TRUE(setAside());
    EXPECT_EQ(count_, 4u);
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenDamagedRows, WhenKeysOrCollectionsAreDamagedThenTheirRowsGoToo) {
    damage(
        "PRAGMA writable_schema=1; UPDATE row SET collection=77 WHERE key='key10001';"
        "UPDATE row SET key=x'00' WHERE key='key10002';"
        "UPDATE row SET rowid=(900<<40)|5 WHERE key='key10003'");
    registerAll();
    EXPECT_NE(store_.faults(), "");
    EXPECT_TRUE(setAside());
    EXPECT_EQ(count_, 3u);
    EXPECT_EQ(kept_[(std::int64_t{900} << 40) | 5].collection, "");
    EXPECT_EQ(store_.faults(), "");
    EXPECT_EQ(items(store_.connection(), "view"), rowCount - 3u);
}

/// Damage that the index does not share, as on a disk.
TEST_F(GivenDamagedRows, WhenTheIndexKnowsARowByAnotherKeyThenItIsPutRight) {
    store_.close();
    std::string file = contentOf(store_.path());
    const std::string text = "word number777 lorem ipsum";
    const auto at = file.find("key10777" + text);
    ASSERT_NE(at, std::string::npos);
    file[at + 3] = '9';
    writeFile(store_.path(), file);
    ASSERT_TRUE(store_.open());
    registerAll();
    Error error;
    EXPECT_TRUE(setAside(&error)) << error.description;
    EXPECT_EQ(count_, 1u);
    EXPECT_EQ(store_.faults(), "");
    EXPECT_EQ(store_.text("key10776"), "word number776 lorem ipsum");
    EXPECT_EQ(store_.text("key10777"), "(nil)");
    ASSERT_TRUE(store_.open());
    EXPECT_EQ(
        PlainSqlite(store_.path()).query("SELECT sql FROM sqlite_master WHERE name='row_key'"),
        "CREATE UNIQUE INDEX row_key ON row(collection, key)\n");
}

TEST_F(GivenDamagedRows, WhenTheObjectWasCachedThenItIsNoLongerThere) {
    ASSERT_EQ(store_.text("key10003"), "word with metadata lorem");
    EXPECT_EQ(PlainSqlite(store_.path()).query("UPDATE row SET checksum=1 WHERE key='key10003'"),
              "");
    EXPECT_TRUE(setAside());
    EXPECT_EQ(count_, 1u);
    EXPECT_EQ(store_.text("key10003"), "(nil)");
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenDamagedRows, WhenTheyGoThenPinnedConnectionsLearnThatAnythingMayHaveChanged) {
    damageRows("checksum=1", "'key10001'");
    const auto reader = store_.database().newConnection();
    reader->beginLongLivedReadTransaction();
    EXPECT_TRUE(setAside());
    const auto commits = reader->beginLongLivedReadTransaction();
    ASSERT_EQ(commits.size(), 1u);
    EXPECT_TRUE(commits[0]->isForeign);
    EXPECT_EQ(items(*reader, "view"), rowCount - 1u);
}

TEST_F(GivenDamagedRows, WhenAnExtensionIsNotRegisteredThenItIsRebuiltLater) {
    damage("UPDATE row SET checksum=1 WHERE key='key10001'");
    add(std::make_shared<RowListExtension>(), "list");
    EXPECT_TRUE(setAside());
    ASSERT_TRUE(store_.open());
    registerAll();
    EXPECT_EQ(store_.faults(), "");
    EXPECT_EQ(items(store_.connection(), "view"), rowCount - 1u);
}

/// The source goes because it is damaged, not because somebody wants to be rid of it.
TEST_F(OpenGraph, WhenADamagedSourceGoesThenItsRulesTakeNoSoundRowAlong) {
    set("b");
    set("a", {to("b", YDB_DeleteDestinationIfSourceDeleted)});
    set("c", {to("a", YDB_DeleteSourceIfDestinationDeleted)});
    close();
    EXPECT_EQ(PlainSqlite(path_).query("UPDATE row SET checksum=1 WHERE key='a'"), "");
    open();
    std::uint64_t count = 0;
    EXPECT_TRUE(database_->setAsideDamagedRows([](const DamagedRow&) { return true; }, &count));
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(keys(), "b c");
    EXPECT_EQ(told(), "");
    EXPECT_EQ(faults(), "");
    set("new");
    EXPECT_EQ(keys(), "b c new") << "the rules were only put off";
}

}  // namespace
}  // namespace qsml
