// Whatever is written, in whatever order, and whatever fails: what is found is what a rebuild would
// find.
#include <gtest/gtest.h>

#include "store/indexes/testing/failingIndexWrites.h"
#include "store/indexes/testing/randomHistory.h"
#include "store/search/YapDatabaseFullTextSearch.h"
#include "store/search/YapDatabaseFullTextSearchTransaction.h"
#include "store/search/fullTextQuery.h"

namespace qsml {
namespace {

using Search = YapDatabaseFullTextSearch;

std::shared_ptr<YapDatabaseExtension> makeTrackSearch() {
    Search::Options options;
    options.allowedCollections = {{"tracks"}};
    options.dependents = trackDependents();
    const auto handler = [](Reader& transaction, const YapDatabaseRow& row,
                            YapDatabaseColumnValues& values) {
        fillTrackColumns(transaction, row, values);
        values.set("bpm", field(row.object, 2));
    };
    return std::make_shared<Search>(std::vector<std::string>{"title", "artist", "bpm"}, handler,
                                    "1", options);
}

std::vector<std::int64_t> rowids(Reader& transaction, const std::string& name,
                                 const std::string& text) {
    std::vector<std::int64_t> found;
    auto* search = transaction.ext<YapDatabaseFullTextSearchTransaction>(name);
    EXPECT_TRUE(search && search->rowidsMatching(fullTextQueryForTypedText(text), &found));
    return found;
}

void ask(Writer& transaction) { rowids(transaction, "index", "bel"); }

class GivenARandomHistory : public OpenStore {
protected:
    void SetUp() override {
        store_.options.synchronous = YapDatabaseSynchronous::normal;
        OpenStore::SetUp();
        ASSERT_TRUE(store_.database().registerExtension(makeTrackSearch(), "index"));
    }
};

TEST_F(GivenARandomHistory, WhenEachCommitIsDoneThenTheSearchEqualsARebuild) {
    expectIndexFollowsHistory(store_, makeTrackSearch, "texts", ask);
    ASSERT_TRUE(store_.database().registerExtension(makeTrackSearch(), "fresh"));
    std::size_t matches = 0;
    store_.connection().read([&](Reader& t) {
        for (const char* text : {"bells", "cafe", "京", "タ", "dc", "live", "x", "don", "ส", "2"}) {
            EXPECT_EQ(rowids(t, "index", text), rowids(t, "fresh", text)) << text;
            matches += rowids(t, "index", text).size();
        }
    });
    EXPECT_GT(matches, 5u);
}

TEST(SearchWrites, WhenAnyFailsThenAllOrNothingIsThereAfterReopening) {
    FailingIndexRun(makeTrackSearch).expectAllOrNothingOfFailingWrites();
}

TEST(SearchWrites, WhenAnyCallOfTheSystemFailsThenNothingWrongIsCommitted) {
    FailingIndexRun(makeTrackSearch).expectAllOrNothingOfAnyFailingCall();
}

}  // namespace
}  // namespace qsml
