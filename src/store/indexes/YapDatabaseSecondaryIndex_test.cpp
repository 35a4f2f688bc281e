#include "store/indexes/YapDatabaseSecondaryIndex.h"

#include <gtest/gtest.h>

#include <cmath>

#include "store/indexes/YapDatabaseSecondaryIndexTransaction.h"
#include "store/indexes/testing/Tracks.h"
#include "testing/FaultyFiles.h"
#include "testing/LogCapture.h"

namespace qsml {
namespace {

using Index = YapDatabaseSecondaryIndex;
using Type = Index::Type;
using Transaction = YapDatabaseSecondaryIndexTransaction;
using Query = YapDatabaseQuery;

class GivenASecondaryIndex : public GivenIndexedTracks {
protected:
    std::shared_ptr<YapDatabaseExtension> makeIndex(std::string tag) override {
        const auto handler = [this](Reader& transaction, const YapDatabaseRow& row,
                                    YapDatabaseColumnValues& values) {
            ++calls_;
            if (row.key == "bad") throw std::runtime_error("a bad row");
            fillTrackColumns(transaction, row, values);
        };
        Index::Options options;
        options.allowedCollections = {{"tracks"}};
        options.dependents = trackDependents();
        return std::make_shared<Index>(columns_, handler, std::move(tag), options);
    }
    static std::string keys(Reader& transaction, const Query& query,
                            std::string_view name = "index") {
        auto* index = transaction.ext<Transaction>(name);
        if (!index) return "(no index)";
        std::string found;
        Error error;
        const bool isDone = index->enumerateKeysMatchingQuery(
            query,
            [&](std::string_view collection, std::string_view key, bool&) {
                found += (found.empty() ? "" : " ") + std::string(key);
                EXPECT_EQ(collection, "tracks");
            },
            &error);
        EXPECT_EQ(isDone, !error);
        return isDone ? found : "(failed) " + error.description;
    }
    std::string keys(const Query& query, YapDatabaseConnection* connection = nullptr) {
        std::string found;
        (connection ? *connection : store_.connection()).read([&](Reader& t) {
            found = keys(t, query);
        });
        return found;
    }
    std::string keys(const std::string& text, std::vector<Value> parameters = {}) {
        return keys(Query(text, std::move(parameters)));
    }
    void withIndex(const std::function<void(Transaction&)>& block) {
        store_.connection().read([&](Reader& t) {
            auto* index = t.ext<Transaction>("index");
            ASSERT_TRUE(index);
            block(*index);
        });
    }

    std::vector<Index::Column> columns_ = {
        {"title", Type::text}, {"artist", Type::text}, {"bpm", Type::real}};
    int calls_ = 0;
};

TEST_F(GivenASecondaryIndex, WhenAskedThenMatchesComeInOrderOfRowids) {
    EXPECT_EQ(keys(""), "a b c");
    EXPECT_EQ(keys("WHERE title == ?", {"The Bells"}), "a");
    EXPECT_EQ(keys("WHERE title > ?", {"A"}), "a b c");
    EXPECT_EQ(keys("WHERE title > ? LIMIT 1", {"A"}), "a");
    EXPECT_EQ(keys("WHERE title > ? ORDER BY title", {"A"}), "b a c");
    EXPECT_EQ(keys("WHERE title > ? order  by title DESC LIMIT 2", {"A"}), "c a");
    EXPECT_EQ(keys("WHERE bpm IS NULL"), "c");
    EXPECT_EQ(keys("WHERE title = 'no limit' OR bpm > 1 -- ORDER BY bpm"), "a b");
}

TEST_F(GivenASecondaryIndex, WhenTextsAreComparedThenByTheirBytes) {
    EXPECT_EQ(keys("WHERE title == ?", {"the bells"}), "");
    set("tracks", "e", "the bells");
    EXPECT_EQ(keys("WHERE title == ?", {"the bells"}), "e");
    set("tracks", "f", std::string("nul\0l", 5));
    EXPECT_EQ(keys("WHERE title == ?", {std::string("nul\0l", 5)}), "f");
    EXPECT_EQ(keys("WHERE title == ?", {std::string("nul\0x", 5)}), "");
}

TEST_F(GivenASecondaryIndex, WhenParametersAreBoundThenInOrder) {
    EXPECT_EQ(keys("WHERE bpm BETWEEN ? AND ?", {130, 131.0f}), "b");
    EXPECT_EQ(keys("WHERE title == ? AND bpm == ?", {"Amazon", 130.5f}), "b");
    EXPECT_EQ(keys("WHERE bpm == ?", {Value()}), "");
    EXPECT_EQ(keys("WHERE bpm IS ?", {Value()}), "c");
    EXPECT_EQ(keys("WHERE title == '?' OR title == ?", {"Amazon"}), "b");
    EXPECT_EQ(keys("WHERE title == ?").substr(0, 8), "(failed)");
    EXPECT_EQ(keys("WHERE title == ?", {"a", "b"}).substr(0, 8), "(failed)");
    EXPECT_EQ(keys("WHERE title == ?1", {"a"}).substr(0, 8), "(failed)");
    EXPECT_EQ(keys("WHERE title == :a", {"a"}).substr(0, 8), "(failed)");
    EXPECT_EQ(keys("WHERE title == ?", {Dictionary()}).substr(0, 8), "(failed)");
}

TEST_F(GivenASecondaryIndex, WhenAnArrayIsBoundThenItStandsForItsElements) {
    const Value two = Value::Array{"Amazon", "The Dancer"};
    EXPECT_EQ(keys("WHERE title IN (?) AND title != ?", {two, "x"}), "b c");
    EXPECT_EQ(keys("WHERE title NOT IN (?)", {two}), "a");
    EXPECT_EQ(keys("WHERE title IN (?)", {Value::Array{}}), "");
    EXPECT_EQ(keys("WHERE title NOT IN (?)", {Value::Array{}}), "a b c");
    EXPECT_EQ(keys("WHERE title == ?", {two}).substr(0, 8), "(failed)");
    Value::Array many(10'000, "none");
    many.push_back("Amazon");
    EXPECT_EQ(keys("WHERE title IN (?)", {many}), "b");
}

TEST_F(GivenASecondaryIndex, WhenRowidsAreAskedForThenTheyCanBeUsed) {
    withIndex([&](Transaction& index) {
        const auto rowids = index.rowidsForKeys({"b", "missing", "d", String()}, "tracks");
        ASSERT_EQ(rowids.size(), 4u);
        ASSERT_TRUE(rowids[0]);
        EXPECT_FALSE(rowids[1]);
        EXPECT_TRUE(rowids[2]);  // stored, though without columns
        EXPECT_FALSE(rowids[3]);
        std::vector<Value> values;
        const auto collect = [&](const Value& value, bool&) { values.push_back(value); };
        const Query query("WHERE rowid == ?", {*rowids[0]});
        EXPECT_TRUE(index.enumerateIndexedValuesInColumn("bpm", query, collect));
        const Query none("WHERE rowid == ?", {*rowids[2]});
        EXPECT_TRUE(index.enumerateIndexedValuesInColumn("bpm", none, collect));
        ASSERT_EQ(values.size(), 1u);
        EXPECT_EQ(values[0].kind(), Value::Kind::real64);
        EXPECT_EQ(values[0], Value(130.5));
    });
}

TEST_F(GivenASecondaryIndex, WhenAColumnHasNoValueThenItsValueIsNil) {
    withIndex([&](Transaction& index) {
        std::vector<Value> values;
        EXPECT_TRUE(index.enumerateIndexedValuesInColumn(
            "bpm", Query("WHERE title == ?", {"The Dancer"}),
            [&](const Value& value, bool&) { values.push_back(value); }));
        ASSERT_EQ(values.size(), 1u);
        EXPECT_TRUE(values[0].isNil());
    });
}

TEST_F(GivenASecondaryIndex, WhenObjectsAndRowsAreEnumeratedThenUntilStopped) {
    write([](Writer& t) { t.setObject("Amazon;y;130.5", "b", "tracks", "meta"); });
    withIndex([&](Transaction& index) {
        std::string found;
        EXPECT_TRUE(index.enumerateKeysAndObjectsMatchingQuery(
            Query(), [&](std::string_view, std::string_view key, const Value& object, bool& stop) {
                found += std::string(key) + "=" + object.string().str() + " ";
                stop = key == "b";
            }));
        EXPECT_EQ(found, "a=The Bells;x;138 b=Amazon;y;130.5 ");
        found.clear();
        EXPECT_TRUE(index.enumerateRowsMatchingQuery(
            Query("WHERE bpm == 130.5"), [&](std::string_view collection, std::string_view key,
                                             const Value& object, const Value& metadata, bool&) {
                found = std::string(collection) + "/" + std::string(key) + object.description() +
                        metadata.description();
            }));
        EXPECT_EQ(found, "tracks/bAmazon;y;130.5meta");
    });
}

TEST_F(GivenASecondaryIndex, WhenCountedOrSummedThenOverTheMatches) {
    withIndex([&](Transaction& index) {
        std::uint64_t count = 9;
        EXPECT_TRUE(index.getNumberOfRows(&count, Query("WHERE bpm > ?", {1})));
        EXPECT_EQ(count, 2u);
        EXPECT_TRUE(index.getNumberOfRows(&count, Query("LIMIT 1")));
        EXPECT_EQ(count, 1u);
        EXPECT_TRUE(index.getNumberOfRows(&count, Query("WHERE title == 'none' -- comment")));
        EXPECT_EQ(count, 0u);
        using Function = YapDatabaseAggregateFunction;
        const auto aggregate = [&](Function function, std::string_view column, const Query& query) {
            Value result;
            EXPECT_TRUE(index.performAggregate(function, column, query, &result));
            return result;
        };
        EXPECT_EQ(aggregate(Function::minimum, "bpm", Query()), Value(130.5));
        EXPECT_EQ(aggregate(Function::maximum, "title", Query()), Value("The Dancer"));
        EXPECT_EQ(aggregate(Function::sum, "bpm", Query()), Value(268.5));
        EXPECT_EQ(aggregate(Function::average, "bpm", Query("WHERE bpm > 135")), Value(138.0));
        EXPECT_TRUE(aggregate(Function::sum, "bpm", Query("WHERE bpm > 999")).isNil());
        Value result = 1;
        EXPECT_FALSE(index.performAggregate(Function::sum, "bmp", Query(), &result));
        EXPECT_TRUE(result.isNil());
    });
}

TEST_F(GivenASecondaryIndex, WhenAQueryIsBadThenItAnswersFalseAndTellsWhy) {
    const LogCapture log;
    withIndex([&](Transaction& index) {
        const Query bad("WHERE nonsense == 1");
        const auto never = [](auto&&...) { ADD_FAILURE(); };
        EXPECT_FALSE(index.enumerateKeysMatchingQuery(bad, never));
        EXPECT_FALSE(index.enumerateKeysAndObjectsMatchingQuery(bad, never));
        EXPECT_FALSE(index.enumerateRowsMatchingQuery(bad, never));
        EXPECT_FALSE(index.enumerateIndexedValuesInColumn("bpm", bad, never));
        EXPECT_FALSE(index.enumerateIndexedValuesInColumn("bmp", Query(), never));
        std::uint64_t count = 9;
        EXPECT_FALSE(index.getNumberOfRows(&count, bad));
        EXPECT_EQ(count, 0u);
        std::vector<std::int64_t> rowids = {7};
        EXPECT_FALSE(index.rowidsMatchingQuery(bad, &rowids));
        EXPECT_TRUE(rowids.empty());
        EXPECT_EQ(log.linesWith("Warning: a query failed: ").size(), 7u);
        Error error;
        EXPECT_FALSE(index.rowidsMatchingQuery(bad, &rowids, &error));
        EXPECT_NE(error.description.find("no such column: nonsense"), std::string::npos);
        EXPECT_EQ(log.lines().size(), 7u);
    });
    EXPECT_EQ(keys("WHERE \"nonsense\" == 'nonsense'").substr(0, 8), "(failed)");
    EXPECT_EQ(keys("WHERE bpm > 1"), "a b");
}

TEST_F(GivenASecondaryIndex, WhenARowIsWrittenOrTouchedThenItsColumnsAreComputedThenAndOnlyIts) {
    calls_ = 0;
    write([](Writer& t) {
        t.setObject("One", "e", "tracks");
        t.setObject("Two", "e", "tracks");
        t.touchObjectForKey("e", "tracks");
        t.setObject("x", "e", "others");
    });
    EXPECT_EQ(calls_, 3);
    EXPECT_EQ(keys("WHERE title == 'Two'"), "e");
    write([](Writer& t) { t.setObject(";;", "e", "tracks"), t.removeObjectForKey("a", "tracks"); });
    EXPECT_EQ(keys(""), "b c");
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenASecondaryIndex, WhenColumnsStayTheSameThenNothingIsWritten) {
    write([](Writer& t) {
        t.setObject("The Bells;x;138;more", "a", "tracks");
        t.setObject("The Dancer;;", "c", "tracks");
        t.touchRowForKey("b", "tracks");
        ASSERT_TRUE(t.ext<Transaction>("index")->flush(nullptr));
        EXPECT_TRUE(t.ext<Transaction>("index")->changedRowids().empty());
        t.setObject("Other", "c", "tracks");
        ASSERT_TRUE(t.ext<Transaction>("index")->flush(nullptr));
        EXPECT_EQ(t.ext<Transaction>("index")->changedRowids().size(), 1u);
    });
}

TEST_F(GivenASecondaryIndex, WhenAnotherRowIsReadThenItsChangeComputesTheColumnsAgain) {
    EXPECT_EQ(keys("WHERE artist == 'Jeff Mills'"), "a");
    set("artists", "x", "Millsart");
    EXPECT_EQ(keys("WHERE artist == 'Millsart'"), "a");
    write([](Writer& t) { t.removeObjectForKey("x", "artists"); });
    EXPECT_EQ(keys("WHERE artist IS NULL"), "a c");
    write([](Writer& t) {
        t.setObject("Early;z;1", "e", "tracks");
        t.setObject("Late Name", "z", "artists");
    });
    EXPECT_EQ(keys("WHERE artist == 'Late Name'"), "e");
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenASecondaryIndex, WhenAskedInsideAWriteThenItSeesWhatWasWritten) {
    write([](Writer& t) {
        t.setObject("New;y;1", "e", "tracks");
        t.setObject("Renamed", "y", "artists");
        EXPECT_EQ(keys(t, Query("WHERE artist == 'Renamed'")), "b e");
        t.removeObjectForKey("b", "tracks");
        EXPECT_EQ(keys(t, Query("WHERE artist == 'Renamed'")), "e");
        t.ext<Transaction>("index")->enumerateKeysMatchingQuery(
            Query(), [&](std::string_view collection, std::string_view key, bool&) {
                t.removeObjectForKey(key, collection);
            });
        EXPECT_EQ(keys(t, Query()), "");
        t.rollback();
    });
    EXPECT_EQ(keys(""), "a b c");
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenASecondaryIndex, WhenAHandlerThrowsThenTheRowIsStoredAndNotIndexed) {
    const LogCapture log;
    set("tracks", "bad", "Bad;x;1");
    EXPECT_EQ(store_.text("bad", "tracks"), "Bad;x;1");
    EXPECT_EQ(keys(""), "a b c");
    EXPECT_EQ(log.linesWith("the columns cannot be computed: a bad row").size(), 1u);
    EXPECT_NE(store_.faults().find("tracks/bad [index]: the columns cannot be computed: a bad row"),
              std::string::npos);
}

TEST_F(GivenASecondaryIndex, WhenDependentsAreUnknownThenTheCommitFails) {
    Index::Options options;
    options.dependents.collections = {"artists"};
    options.dependents.rows = [](Reader&,
                                 const YapDatabaseRow&) -> std::vector<YapDatabaseCollectionKey> {
        throw std::runtime_error("no idea");
    };
    ASSERT_TRUE(store_.database().registerExtension(
        std::make_shared<Index>(columns_, fillTrackColumns, "", options), "other"));
    EXPECT_FALSE(write([](Writer& t) { t.setObject("Renamed", "x", "artists"); }));
    EXPECT_NE(lastError_.description.find("no idea"), std::string::npos);
    EXPECT_EQ(store_.text("x", "artists"), "Jeff Mills");
    EXPECT_TRUE(set("tracks", "a", "Changed"));
}

TEST_F(GivenASecondaryIndex, WhenAHandlerThrowsSomethingStrangeThenThatIsNoOtherCase) {
    const auto handler = [](Reader&, const YapDatabaseRow& row, YapDatabaseColumnValues& values) {
        values.set("title", "first");
        if (row.key == "a") throw 1;
        if (row.key == "b") values.set("no such column", 1);
    };
    const LogCapture log;
    ASSERT_TRUE(
        store_.database().registerExtension(std::make_shared<Index>(columns_, handler), "other"));
    std::string found;
    store_.connection().read([&](Reader& t) {
        t.ext<Transaction>("other")->enumerateKeysMatchingQuery(
            Query(), [&](std::string_view collection, std::string_view key, bool&) {
                found.append(collection).append("/").append(key).append(" ");
            });
    });
    EXPECT_EQ(found, "artists/x artists/y tracks/c tracks/d ");
    EXPECT_EQ(log.linesWith("unknown kind").size(), 2u);  // of "tracks" and of "others"
    EXPECT_EQ(log.linesWith("There is no column \"no such column\"").size(), 1u);
}

TEST_F(GivenASecondaryIndex, WhenValuesAreOfAllKindsThenColumnsHoldThem) {
    const std::vector<std::uint8_t> bytes = {0, 1};
    const std::vector<std::pair<Value, Value>> valueAndStored = {
        {0.1f, static_cast<double>(0.1f)},
        {true, 1},
        {INT64_MIN, INT64_MIN},
        {UINT64_MAX, static_cast<double>(UINT64_MAX)},
        {std::nan(""), Value()},
        {"", ""},
        {Date{1.5}, 1.5},
        {Data(), Data()},
        {Data(bytes), Data(bytes)},
        {*URL::withString("file:///a"), "file:///a"},
        {UUID(), UUID().UUIDString()},
        {Value::Array{1}, Value()},
        {Null(), Value()},
        {Value(), Value()}};
    Value now;
    const auto handler = [&](Reader&, const YapDatabaseRow& row, YapDatabaseColumnValues& values) {
        if (row.collection == "tracks" && row.key == "a") values.set("blob", now);
        values.set("real", (std::int64_t{1} << 53) + 1);
        values.set("text", 5);
        values.set("integer", 5.0f);
    };
    ASSERT_TRUE(store_.database().registerExtension(
        std::make_shared<Index>(std::vector<Index::Column>{{"blob", Type::blob},
                                                           {"real", Type::real},
                                                           {"text", Type::text},
                                                           {"integer", Type::integer}},
                                handler),
        "kinds"));
    for (const auto& pair : valueAndStored) {
        write([&](Writer& t) {
            now = pair.first;
            t.touchObjectForKey("a", "tracks");
            auto* index = t.ext<Transaction>("kinds");
            std::vector<Value> found;
            const Query query("WHERE rowid == ? AND text == ? AND integer == ?",
                              {*index->rowidsForKeys({"a"}, "tracks")[0], "5", 5});
            EXPECT_TRUE(index->enumerateIndexedValuesInColumn(
                "blob", query, [&](const Value& one, bool&) { found.push_back(one); }));
            EXPECT_EQ(found, std::vector<Value>{pair.second});
            const auto changed = index->changedRowids().size();
            t.touchObjectForKey("c", "tracks");  // what the columns make of their values is equal
            EXPECT_TRUE(index->flush(nullptr));
            EXPECT_EQ(index->changedRowids().size(), changed);
        });
        EXPECT_EQ(store_.faults(), "");
    }
}

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
