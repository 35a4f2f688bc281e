// What a query may not do, and what names may be.
#include "store/indexes/YapDatabaseQuery.h"

#include <gtest/gtest.h>

#include <random>

#include "store/indexes/YapDatabaseSecondaryIndex.h"
#include "store/indexes/YapDatabaseSecondaryIndexTransaction.h"
#include "store/indexes/detail/queryText.h"
#include "store/indexes/testing/Tracks.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

using Index = YapDatabaseSecondaryIndex;
using Query = YapDatabaseQuery;

class GivenAnIndexAndHostileQueries : public OpenStore {
protected:
    void SetUp() override {
        OpenStore::SetUp();
        store_.set("secret", "secret", "others");
        store_.set("a", "Amazon;;1", "tracks");
        add("index", "title");
    }
    void add(const std::string& name, const std::string& column) {
        const auto handler = [column](Reader&, const YapDatabaseRow& row,
                                      YapDatabaseColumnValues& values) {
            if (row.collection == "tracks") values.set(column, field(row.object, 0));
        };
        Error error;
        ASSERT_TRUE(store_.database().registerExtension(
            std::make_shared<Index>(std::vector<Index::Column>{{column, Index::Type::text}},
                                    handler),
            name, &error))
            << error.description;
    }
    /// The keys found, or the error.
    std::string ask(const Query& query, const std::string& name = "index") {
        std::string found;
        store_.connection().read([&](Reader& t) {
            auto* index = t.ext<YapDatabaseSecondaryIndexTransaction>(name);
            ASSERT_TRUE(index);
            Error error;
            const auto collect = [&](std::string_view, std::string_view key, bool&) {
                found += std::string(key) + " ";
            };
            if (!index->enumerateKeysMatchingQuery(query, collect, &error))
                found = "error: " + error.description;
        });
        return found;
    }
    bool isRefused(const std::string& text) { return ask(Query(text)).substr(0, 6) == "error:"; }
};

TEST_F(GivenAnIndexAndHostileQueries, WhenOtherTablesAreReadThenThatIsRefused) {
    EXPECT_TRUE(isRefused("WHERE title IN (SELECT data FROM row)"));
    EXPECT_TRUE(isRefused("WHERE EXISTS (SELECT 1 FROM records)"));
    EXPECT_TRUE(isRefused("WHERE (SELECT count(*) FROM row) > 0"));
    EXPECT_TRUE(isRefused("UNION SELECT rowid FROM row"));
    EXPECT_TRUE(isRefused("UNION SELECT 1 FROM sqlite_master"));
    EXPECT_TRUE(isRefused(", row"));
    EXPECT_TRUE(isRefused("JOIN yap"));
    EXPECT_TRUE(isRefused("WHERE EXISTS (SELECT 1 FROM pragma_table_info('row'))"));
    EXPECT_TRUE(isRefused("WHERE EXISTS (SELECT 1 FROM json_each('[1]'))"));
    EXPECT_TRUE(
        isRefused("WHERE EXISTS (WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x+1"
                  " FROM c) SELECT 1 FROM c)"));
    EXPECT_EQ(ask(Query("WHERE rowid IN (SELECT rowid FROM index_secondaryIndex)")), "a ");
}

TEST_F(GivenAnIndexAndHostileQueries, WhenMoreThanComputingIsAskedThenThatIsRefused) {
    EXPECT_TRUE(isRefused("WHERE load_extension('x') IS NULL"));
    EXPECT_TRUE(isRefused("WHERE randomblob(9) IS NOT NULL"));
    EXPECT_TRUE(isRefused("WHERE zeroblob(60000000) IS NOT NULL"));
    EXPECT_TRUE(isRefused("WHERE printf('%60000000d', 1) IS NOT NULL"));
    EXPECT_TRUE(isRefused("WHERE fts5(1) IS NULL"));
    EXPECT_EQ(ask(Query("WHERE length(upper(title)) == 6 AND title LIKE 'ama%'")), "a ");
}

TEST_F(GivenAnIndexAndHostileQueries, WhenAStatementFollowsThenNothingRuns) {
    EXPECT_TRUE(isRefused("; DROP TABLE row"));
    EXPECT_TRUE(isRefused("WHERE 1; DELETE FROM row"));
    EXPECT_TRUE(isRefused("WHERE 1;"));
    EXPECT_TRUE(isRefused("WHERE 1) UNION SELECT rowid FROM row --"));
    EXPECT_TRUE(isRefused("WHERE 1 /* open"));
    EXPECT_TRUE(isRefused("WHERE title = 'open"));
    EXPECT_TRUE(isRefused(std::string("WHERE 1 \0 OR 1", 14)));
    EXPECT_TRUE(isRefused("; ATTACH 'x.db' AS x"));
    EXPECT_TRUE(isRefused("; PRAGMA journal_mode=DELETE"));
    EXPECT_EQ(ask(Query("WHERE title != ';' /* ; ? */ -- ; ?")), "a ");
    EXPECT_EQ(store_.text("secret", "others"), "secret");
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAnIndexAndHostileQueries, WhenAnotherQueryFollowsThenTheWatchIsOver) {
    EXPECT_TRUE(isRefused("WHERE load_extension('x')"));
    EXPECT_TRUE(store_.set("b", "Bells;;1", "tracks"));
    EXPECT_EQ(ask(Query("WHERE title == ?", {"Bells"})), "b ");
    add("second", "title");
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAnIndexAndHostileQueries, WhenManyDifferentQueriesRunThenEachAnswers) {
    for (int i = 0; i < 500; ++i)
        ASSERT_EQ(ask(Query("WHERE title == ? OR 1 == " + std::to_string(i), {"none"})),
                  i == 1 ? "a " : "");
}

TEST_F(GivenAnIndexAndHostileQueries, WhenNamesAreStrangeThenTheyAreNamesOnly) {
    const std::vector<std::string> names = {"a\"b", "x'; DROP TABLE row; --", "😀", "select", "a]b",
                                            "a?b;", std::string(10'240, 'n')};
    for (const std::string& name : names) {
        add(name, name);
        std::string quoted = "\"";
        for (const char c : name) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
        EXPECT_EQ(ask(Query("WHERE " + quoted + "\" == ?", {"Amazon"}), name), "a ") << name;
    }
    store_.set("b", "Bells;;1", "tracks");
    for (const std::string& name : names) EXPECT_EQ(ask(Query(), name), "a b ");
    EXPECT_EQ(store_.faults(), "");
    ASSERT_TRUE(store_.open());
    for (const std::string& name : names) {
        add(name, name);
        EXPECT_TRUE(store_.database().unregisterExtension(name));
    }
}

TEST_F(GivenAnIndexAndHostileQueries, WhenColumnNamesCannotBeThenRegistrationFails) {
    const std::vector<std::vector<Index::Column>> impossible = {
        {}, {{""}}, {{std::string("a\0b", 3)}}, {{"rowid"}}, {{"OID"}}, {{"a"}, {"A"}}};
    for (const auto& columns : impossible) {
        Error error;
        EXPECT_FALSE(store_.database().registerExtension(
            std::make_shared<Index>(columns, YapDatabaseColumnHandler()), "other", &error));
        EXPECT_FALSE(error.description.empty());
    }
    EXPECT_TRUE(store_.set("b", "Bells;;1", "tracks"));
    EXPECT_EQ(ask(Query()), "a b ");
}

TEST_F(GivenAnIndexAndHostileQueries, WhenTextsAreRandomThenNothingHappensButAnAnswer) {
    static const std::vector<std::string> parts = {
        "WHERE ", "title ", "== ",     "? ",    "'",    "\"",  "`",      "[",    "]",      "(",
        ")",      "--",     "/*",      "*/",    ";",    "\n",  "ORDER ", "BY ",  "LIMIT ", "1 ",
        "rowid ", "UNION ", "SELECT ", "FROM ", "row ", "IN ", "AND ",   "NOT ", "?1",     ":a",
        "@",      "$",      "#",       "é",     "\xff", ",",   "GROUP ", "abs",  "x'"};
    std::mt19937 random(20'260'101);
    for (std::size_t i = 0; i < testScale(5'000, 100'000); ++i) {
        std::string text;
        for (auto left = random() % 10; left > 0; --left) text += parts[random() % parts.size()];
        const std::string found = ask(Query(text, {random() % 2 ? Value("Amazon") : Value()}));
        EXPECT_TRUE(found.empty() || found == "a " || found.substr(0, 6) == "error:") << text;
    }
    EXPECT_EQ(store_.faults(), "");
}

TEST(QueryText, WhenItHasNoOrderThenItGetsOneBeforeItsLimit) {
    const auto prepared = [](const std::string& text) {
        return detail::preparedQueryText(Query(text)).text;
    };
    EXPECT_EQ(prepared("WHERE a"), "WHERE a\nORDER BY rowid ");
    EXPECT_EQ(prepared("WHERE a LIMIT 3"), "WHERE a \nORDER BY rowid LIMIT 3");
    EXPECT_EQ(prepared("WHERE a Order By b"), "WHERE a Order By b");
    EXPECT_EQ(prepared("WHERE (a ORDER LIMIT)"), "WHERE (a ORDER LIMIT)\nORDER BY rowid ");
    EXPECT_EQ(prepared("WHERE 'ORDER'"), "WHERE 'ORDER'\nORDER BY rowid ");
}

}  // namespace
}  // namespace qsml
