// When the columns of a row are computed, and what becomes of values and of handlers that fail.
#include <gtest/gtest.h>

#include <cmath>

#include "store/indexes/testing/IndexOfTracks.h"
#include "testing/LogCapture.h"

namespace qsml {
namespace {

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

}  // namespace
}  // namespace qsml
