#include "store/search/YapDatabaseFullTextSearch.h"

#include <gtest/gtest.h>

#include "store/indexes/testing/Tracks.h"
#include "store/search/YapDatabaseFullTextSearchTransaction.h"
#include "store/search/fullTextQuery.h"
#include "testing/FaultyFiles.h"
#include "testing/LogCapture.h"

namespace qsml {
namespace {

using Search = YapDatabaseFullTextSearch;
using Transaction = YapDatabaseFullTextSearchTransaction;

class GivenAFullTextSearch : public GivenIndexedTracks {
protected:
    std::shared_ptr<YapDatabaseExtension> makeIndex(std::string tag) override {
        const auto handler = [this](Reader& transaction, const YapDatabaseRow& row,
                                    YapDatabaseColumnValues& values) {
            ++calls_;
            values.set("title", field(row.object, 0));
            if (const String artist = field(row.object, 1))
                values.set("artist", transaction.objectForKey(artist, "artists").string());
        };
        options_.allowedCollections = {{"tracks"}};
        options_.dependents = trackDependents();
        return std::make_shared<Search>(columns_, handler, std::move(tag), options_);
    }
    static std::string keys(Reader& transaction, const std::string& query) {
        auto* search = transaction.ext<Transaction>("index");
        if (!search) return "(no index)";
        std::string found;
        Error error;
        const bool isDone = search->enumerateKeysMatching(
            query,
            [&](std::string_view, std::string_view key, bool&) {
                found += (found.empty() ? "" : " ") + std::string(key);
            },
            &error);
        EXPECT_EQ(isDone, !error);
        return isDone ? found : "(failed)";
    }
    std::string keys(const std::string& query, YapDatabaseConnection* connection = nullptr) {
        std::string found;
        (connection ? *connection : store_.connection()).read([&](Reader& t) {
            found = keys(t, query);
        });
        return found;
    }
    std::string typed(const std::string& text) { return keys(fullTextQueryForTypedText(text)); }

    std::vector<std::string> columns_ = {"title", "artist"};
    Search::Options options_;
    int calls_ = 0;
};

TEST_F(GivenAFullTextSearch, WhenSearchedThenMatchesComeInOrderOfRowids) {
    EXPECT_EQ(keys("the"), "a c");
    EXPECT_EQ(keys("resist*"), "b");
    EXPECT_EQ(keys("title: bells OR title: amazon"), "a b");
    EXPECT_EQ(keys("title: \"the dancer\""), "c");
    EXPECT_EQ(keys("artist: the"), "");
    EXPECT_EQ(keys("the NOT bells"), "c");
    EXPECT_EQ(keys("title: mills"), "");
    EXPECT_EQ(keys("{title artist}: mills"), "a");
}

TEST_F(GivenAFullTextSearch, WhenLettersDifferInCaseOrAccentsThenTheyMatch) {
    set("tracks", "e", "ÉTUDE Groß ΆΛΦΑ Ёлка Ångström");
    for (const char* query : {"etude", "Étude", "GROß", "άλφα", "ЁЛКА", "angstrom"})
        EXPECT_EQ(keys(query), "e") << query;
}

TEST_F(GivenAFullTextSearch, WhenAQueryIsMalformedThenNothingIsFoundAndFalseAnswered) {
    const LogCapture log;
    for (const char* query : {"don't", "AC/DC", "rock & roll", "a-b", "\"open", "(open", "AND",
                              "nocolumn: x", "*", "*id", "*reads", "a NEAR(", "^"})
        EXPECT_EQ(keys(query), "(failed)") << query;
    EXPECT_EQ(keys(std::string("the\0x", 5)), "(failed)");
    EXPECT_TRUE(log.lines().empty());
    store_.connection().read([&](Reader& t) {
        auto* search = t.ext<Transaction>("index");
        ASSERT_TRUE(search);
        const auto never = [](auto&&...) { ADD_FAILURE(); };
        EXPECT_FALSE(search->enumerateKeysMatching("a-b", never));
        EXPECT_FALSE(search->enumerateKeysAndObjectsMatching("a-b", never));
        EXPECT_FALSE(search->enumerateRowsMatching("a-b", never));
        std::vector<std::int64_t> rowids = {1};
        EXPECT_FALSE(search->rowidsMatching("a-b", &rowids));
        EXPECT_TRUE(rowids.empty());
        EXPECT_FALSE(t.error());
    });
    EXPECT_EQ(log.linesWith("Warning: a query failed: The full-text query \"a-b\"").size(), 4u);
    EXPECT_EQ(keys("the"), "a c");
}

TEST_F(GivenAFullTextSearch, WhenAQueryIsEmptyThenNothingIsFound) {
    EXPECT_EQ(keys(""), "");
    EXPECT_EQ(keys(" \n"), "");
    EXPECT_EQ(keys("\"\""), "");
}

TEST_F(GivenAFullTextSearch, WhenRowsAreEnumeratedThenUntilStopped) {
    store_.connection().read([&](Reader& t) {
        auto* search = t.ext<Transaction>("index");
        ASSERT_TRUE(search);
        std::string found;
        EXPECT_TRUE(search->enumerateKeysAndObjectsMatching(
            "the", [&](std::string_view collection, std::string_view key, const Value& object,
                       bool& stop) {
                found += std::string(collection) + "/" + std::string(key) + object.description();
                stop = true;
            }));
        EXPECT_EQ(found, "tracks/aThe Bells;x;138");
        EXPECT_TRUE(search->enumerateRowsMatching(
            "amazon",
            [&](std::string_view, std::string_view key, const Value&, const Value& metadata,
                bool&) { found = std::string(key) + metadata.description(); }));
        EXPECT_EQ(found, "b(null)");
        std::vector<std::int64_t> rowids;
        EXPECT_TRUE(search->rowidsMatching("the", &rowids));
        EXPECT_EQ(rowids.size(), 2u);
        EXPECT_TRUE(std::is_sorted(rowids.begin(), rowids.end()));
    });
}

TEST_F(GivenAFullTextSearch, WhenTextsChangeThenOnlyTheNewOnesAreFound) {
    set("tracks", "a", "Condition Red;x;1");
    EXPECT_EQ(keys("bells"), "");
    EXPECT_EQ(keys("condition mills"), "a");
    set("tracks", "a", ";;");
    EXPECT_EQ(keys("condition"), "");
    write([](Writer& t) { t.removeObjectForKey("b", "tracks"); });
    EXPECT_EQ(keys("amazon"), "");
    set("artists", "y", "Drexciya");
    set("tracks", "f", "Bubble Metropolis;y");
    EXPECT_EQ(keys("drexciya"), "f");
    set("artists", "y", "Gerald Donald");
    EXPECT_EQ(keys("drexciya"), "");
    EXPECT_EQ(keys("donald"), "f");
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAFullTextSearch, WhenTextsStayTheSameThenNothingIsWritten) {
    const std::string before = ask("SELECT * FROM index_search_data");
    set("tracks", "a", "The Bells;x;139");
    write([](Writer& t) {
        t.touchRowForKey("b", "tracks");
        ASSERT_TRUE(t.ext<Transaction>("index")->flush(nullptr));
        EXPECT_TRUE(t.ext<Transaction>("index")->changedRowids().empty());
    });
    EXPECT_EQ(ask("SELECT * FROM index_search_data"), before);
}

TEST_F(GivenAFullTextSearch, WhenAskedInsideAWriteThenItSeesWhatWasWritten) {
    write([](Writer& t) {
        t.setObject("Blake Baxter", "y", "artists");
        t.setObject("Sexuality;y", "e", "tracks");
        EXPECT_EQ(keys(t, "baxter"), "b e");
        EXPECT_EQ(t.ext<Transaction>("index")->changedRowids().size(), 2u);
        t.removeObjectForKey("e", "tracks");
        EXPECT_EQ(keys(t, "baxter"), "b");
        t.rollback();
    });
    EXPECT_EQ(keys("baxter"), "");
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAFullTextSearch, WhenReopenedOrChangedThenItIsRebuiltOnlyWhenNeeded) {
    calls_ = 0;
    reopen();
    EXPECT_EQ(calls_, 0);
    EXPECT_EQ(keys("the"), "a c");
    ASSERT_TRUE(store_.open());
    add("index", "2");
    EXPECT_EQ(calls_, 4);
    ASSERT_TRUE(store_.open());
    columns_ = {"artist", "title", "more"};
    add("index", "2");
    EXPECT_EQ(calls_, 8);
    EXPECT_EQ(keys("title: the"), "a c");
    ASSERT_TRUE(store_.open());
    options_.prefixLengths = "1 2";
    add("index", "2");
    EXPECT_EQ(calls_, 12);
    EXPECT_EQ(keys("t*"), "a c");
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAFullTextSearch, WhenUnregisteredThenItsTablesGo) {
    EXPECT_TRUE(store_.database().unregisterExtension("index"));
    EXPECT_EQ(ask("SELECT name FROM sqlite_master WHERE name LIKE 'index%'"), "");
    add();
    EXPECT_EQ(keys("the"), "a c");
}

TEST_F(GivenAFullTextSearch, WhenAConnectionRestsOnASnapshotThenItSearchesThatOne) {
    const auto reader = store_.database().newConnection();
    reader->beginLongLivedReadTransaction();
    set("tracks", "a", "Other");
    EXPECT_EQ(keys("bells", reader.get()), "a");
    EXPECT_EQ(keys("bells"), "");
    reader->beginLongLivedReadTransaction();
    EXPECT_EQ(keys("bells", reader.get()), "");
}

TEST_F(GivenAFullTextSearch, WhenAnotherProcessCommitsThenItsTextsAreFound) {
    EXPECT_EQ(keys("elsewhere"), "");
    commitElsewhere(
        "INSERT INTO index_search(index_search, rowid, title, artist)"
        " SELECT 'delete', rowid, title, artist FROM index_texts WHERE title='Amazon';"
        "UPDATE index_texts SET title='Elsewhere' WHERE title='Amazon';"
        "INSERT INTO index_search(rowid, title, artist)"
        " SELECT rowid, title, artist FROM index_texts WHERE title='Elsewhere'");
    EXPECT_EQ(keys("elsewhere resistance"), "b");
    EXPECT_EQ(keys("amazon"), "");
}

TEST_F(GivenAFullTextSearch, WhenTheTablesAreWrongThenCheckTells) {
    commitElsewhere("UPDATE index_texts SET title='Other' WHERE title='Amazon'");
    EXPECT_EQ(store_.faults(),
              "tracks/b [index]: the index has other columns than the row\n"
              "/ [index]: the words of the full-text index are not those of its texts\n");
}

TEST_F(GivenAFullTextSearch, WhenWordsAreMissingThenCheckTells) {
    commitElsewhere(
        "INSERT INTO index_search(index_search, rowid, title, artist)"
        " SELECT 'delete', rowid, title, artist FROM index_texts WHERE title='Amazon'");
    EXPECT_EQ(store_.faults(),
              "/ [index]: the words of the full-text index are not those of its texts\n");
}

TEST_F(GivenAFullTextSearch, WhenNamesAreStrangeThenTheyAreNamesOnly) {
    const std::vector<std::string> names = {
        "a\"b", "x'; DROP TABLE row; --", "😀", "題", "select", "content=x",
        "a,b)", std::string(10'240, 'n')};
    for (const std::string& name : names) {
        const auto handler = [name](Reader&, const YapDatabaseRow& row,
                                    YapDatabaseColumnValues& values) {
            values.set(name, row.object.string());
        };
        Error error;
        ASSERT_TRUE(store_.database().registerExtension(
            std::make_shared<Search>(std::vector<std::string>{"first", name},
                                     [=](auto& t, auto& r, auto& v) { handler(t, r, v); }),
            name, &error))
            << error.description;
        store_.connection().read([&](Reader& t) {
            auto* search = t.ext<Transaction>(name);
            ASSERT_TRUE(search);
            std::vector<std::int64_t> rowids;
            EXPECT_TRUE(
                search->rowidsMatching(fullTextQueryForExactToken(name, "Amazon"), &rowids));
            EXPECT_EQ(rowids.size(), 1u);
            EXPECT_TRUE(
                search->rowidsMatching(fullTextQueryForExactToken("first", "Amazon"), &rowids));
            EXPECT_EQ(rowids.size(), 0u);
        });
    }
    EXPECT_EQ(store_.faults(), "");
    for (const std::string& name : names) EXPECT_TRUE(store_.database().unregisterExtension(name));
    for (const std::string& name : {std::string(), std::string("a\0b", 3), std::string("rank")})
        EXPECT_FALSE(store_.database().registerExtension(
            std::make_shared<Search>(std::vector<std::string>{name}, YapDatabaseColumnHandler()),
            "other"));
}

TEST_F(GivenAFullTextSearch, WhenTheTokenizerIsUnknownThenRegistrationLeavesNoTrace) {
    Search::Options options;
    options.tokenizer = "nonsense";
    Error error;
    EXPECT_FALSE(store_.database().registerExtension(
        std::make_shared<Search>(columns_, YapDatabaseColumnHandler(), "", options), "other",
        &error));
    EXPECT_NE(error.description.find("no such tokenizer: nonsense"), std::string::npos);
    EXPECT_EQ(ask("SELECT name FROM sqlite_master WHERE name LIKE 'other%'"), "");
    EXPECT_EQ(keys("the"), "a c");
}

TEST_F(GivenAFullTextSearch, WhenClosedThenNoStatementKeepsTheFileOpen) {
    FaultyFiles files;
    store_.options.vfsName = files.vfsName();
    reopen();
    EXPECT_EQ(keys("the"), "a c");
    set("tracks", "e", "New");
    EXPECT_EQ(store_.faults(), "");
    store_.close();
    EXPECT_TRUE(files.openFiles().empty());
}

}  // namespace
}  // namespace qsml
