// Registering an index, and its life beside snapshots, other processes and damage.
#include <gtest/gtest.h>

#include "store/indexes/testing/IndexOfTracks.h"
#include "testing/FaultyFiles.h"

namespace qsml {
namespace {

TEST_F(GivenASecondaryIndex, WhenReopenedUnchangedThenNoHandlerRuns) {
    calls_ = 0;
    reopen();
    EXPECT_EQ(calls_, 0);
    EXPECT_EQ(keys("WHERE bpm > 1"), "a b");
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenASecondaryIndex, WhenTagOrColumnsChangeThenItIsRebuilt) {
    ASSERT_TRUE(store_.open());
    calls_ = 0;
    add("index", "2");
    EXPECT_EQ(calls_, 4);
    ASSERT_TRUE(store_.open());
    columns_.push_back({"extra", Type::integer});
    calls_ = 0;
    add("index", "2");
    EXPECT_EQ(calls_, 4);
    EXPECT_EQ(keys("WHERE extra IS NULL"), "a b c");
    ASSERT_TRUE(store_.open());
    columns_.back().type = Type::text;
    calls_ = 0;
    add("index", "2");
    EXPECT_EQ(calls_, 4);
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenASecondaryIndex, WhenUnregisteredThenItsTablesGo) {
    EXPECT_NE(ask("SELECT name FROM sqlite_master WHERE name LIKE 'index%'"), "");
    EXPECT_TRUE(store_.database().unregisterExtension("index"));
    EXPECT_EQ(ask("SELECT name FROM sqlite_master WHERE name LIKE 'index%'"), "");
    EXPECT_EQ(keys(""), "(no index)");
    add();
    EXPECT_EQ(keys(""), "a b c");
}

TEST_F(GivenASecondaryIndex, WhenAConnectionRestsOnASnapshotThenItSeesThatOne) {
    const auto reader = store_.database().newConnection();
    reader->beginLongLivedReadTransaction();
    set("tracks", "a", "Other");
    EXPECT_EQ(keys(Query("WHERE title == 'The Bells'"), reader.get()), "a");
    EXPECT_EQ(keys("WHERE title == 'Other'"), "a");
    reader->beginLongLivedReadTransaction();
    EXPECT_EQ(keys(Query("WHERE title == 'Other'"), reader.get()), "a");
}

TEST_F(GivenASecondaryIndex, WhenAnotherProcessCommitsThenItsColumnsAreSeen) {
    EXPECT_EQ(keys("WHERE title == 'Elsewhere'"), "");
    commitElsewhere("UPDATE index_secondaryIndex SET title='Elsewhere' WHERE title='Amazon'");
    EXPECT_EQ(keys("WHERE title == 'Elsewhere'"), "b");
    commitElsewhere("INSERT INTO yap VALUES('index', '#stale', '1')");
    EXPECT_EQ(keys(""), "(no index)");
    EXPECT_TRUE(set("tracks", "e", "New"));
    EXPECT_EQ(keys("WHERE title IN ('Amazon', 'New')"), "b e");
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenASecondaryIndex, WhenTheTableIsWrongThenCheckNamesTheRows) {
    commitElsewhere(
        "UPDATE index_secondaryIndex SET bpm=1 WHERE title='Amazon';"
        "DELETE FROM index_secondaryIndex WHERE title='The Bells';"
        "INSERT INTO index_secondaryIndex(rowid, title)"
        " SELECT rowid, 'x' FROM records WHERE key='d';"
        "INSERT INTO index_secondaryIndex(rowid, title) VALUES(5, 'x')");
    EXPECT_EQ(store_.faults(),
              "tracks/a [index]: the row is missing in the index\n"
              "tracks/b [index]: the index has other columns than the row\n"
              "/row 5 [index]: the index has columns that the row does not give\n"
              "tracks/d [index]: the index has columns that the row does not give\n");
}

TEST_F(GivenASecondaryIndex, WhenClosedThenNoStatementKeepsTheFileOpen) {
    FaultyFiles files;
    store_.options.vfsName = files.vfsName();
    reopen();
    EXPECT_EQ(keys("WHERE bpm > 1"), "a b");
    set("tracks", "e", "New");
    EXPECT_EQ(store_.faults(), "");
    EXPECT_FALSE(files.openFiles().empty());
    store_.close();
    EXPECT_TRUE(files.openFiles().empty());
}

}  // namespace
}  // namespace qsml
