#include "store/views/YapDatabaseSearchResultsView.h"

#include "store/YapDatabaseException.h"
#include "store/views/testing/OpenViews.h"

namespace qsml {
namespace {

using Transaction = YapDatabaseSearchResultsViewTransaction;

class GivenASearch : public OpenViews {
protected:
    void SetUp() override {
        OpenViews::SetUp();
        song("s1", "a|amber");
        song("s2", "a|blue");
    }
    void search(const std::string& query) {
        write([&](Writer& t) { t.ext<Transaction>("found")->performSearchFor(query); });
    }
    std::string query() {
        std::string query;
        read([&](Reader& t) { query = t.ext<Transaction>("found")->query(); });
        return query;
    }
};

TEST_F(GivenASearch, WhenNothingWasSearchedThenTheQueryAndTheResultsAreEmpty) {
    EXPECT_EQ(query(), "");
    EXPECT_EQ(shown("found"), Groups());
}

TEST_F(GivenASearch, WhenSearchedThenTheQueryIsToldAsItWasGiven) {
    search("blu*");
    EXPECT_EQ(query(), "blu*");
    EXPECT_EQ(shown("found"), (Groups{{"a", {"s2"}}}));
    search("don't \"");
    EXPECT_EQ(query(), "don't \"");
    EXPECT_EQ(shown("found"), Groups());
}

TEST_F(GivenASearch, WhenTheWriteIsRolledBackThenTheSearchBeforeItIsInForce) {
    search("blue");
    write([](Writer& t) {
        t.ext<Transaction>("found")->performSearchFor("amber");
        EXPECT_EQ(t.ext<Transaction>("found")->query(), "amber");
        t.rollback();
    });
    EXPECT_EQ(query(), "blue");
    EXPECT_EQ(shown("found"), (Groups{{"a", {"s2"}}}));
}

TEST_F(GivenASearch, WhenSearchedInAReadTransactionThenThatThrowsAndNothingHappens) {
    search("blue");
    const auto before = snapshot();
    read([](Reader& t) {
        auto* const found = t.ext<Transaction>("found");
        EXPECT_THROW(found->performSearchFor("amber"), YapDatabaseException);
        EXPECT_EQ(found->query(), "blue");
        EXPECT_EQ(shownBy(t, "found"), (Groups{{"a", {"s2"}}}));
    });
    EXPECT_EQ(snapshot(), before);
    EXPECT_EQ(query(), "blue");
}

}  // namespace
}  // namespace qsml
