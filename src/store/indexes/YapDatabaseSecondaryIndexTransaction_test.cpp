// Questions to an index.
#include <gtest/gtest.h>

#include "store/indexes/testing/IndexOfTracks.h"
#include "testing/LogCapture.h"

namespace qsml {
namespace {

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

}  // namespace
}  // namespace qsml
