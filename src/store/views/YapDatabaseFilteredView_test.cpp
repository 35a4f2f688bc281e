#include "store/views/YapDatabaseFilteredView.h"

#include <set>
#include <stdexcept>

#include "store/YapDatabaseException.h"
#include "store/views/testing/OpenViews.h"
#include "testing/LogCapture.h"

namespace qsml {
namespace {

using Transaction = YapDatabaseFilteredViewTransaction;
using Keys = std::set<std::string, std::less<>>;

/// A filter with the tag "1" that reads which keys pass and throws for others. Songs: s1 and s2 in
/// "a", s3 in "b"; s1 passes.
class GivenAFilter : public OpenViews {
protected:
    void SetUp() override {
        OpenViews::SetUp();
        song("s1", "a|amber");
        song("s2", "a|blue");
        song("s3", "b|cold");
        write([&](Writer& t) { EXPECT_TRUE(set(t, "1")); });
        asked_.clear();
    }
    bool set(Reader& t, const std::string& tag) {
        return t.ext<Transaction>(view)->setFiltering(
            [this](Reader&, std::string_view, std::string_view, std::string_view key) {
                asked_.emplace(key);
                if (broken_.count(key)) throw std::runtime_error("no filter today");
                return passing_.count(key) > 0;
            },
            tag);
    }
    std::string tag() {
        std::string tag;
        read([&](Reader& t) { tag = t.ext<Transaction>(view)->versionTag(); });
        return tag;
    }
    Groups shown() { return OpenViews::shown(view); }

    static constexpr const char* view = "evenSongs";
    Keys passing_ = {"s1"}, broken_, asked_;
};

// When it runs.

TEST_F(GivenAFilter, WhenARowIsInsertedThenOnlyItIsAsked) {
    passing_ = {"s2", "s4"};
    song("s4", "b|dawn");
    EXPECT_EQ(asked_, (Keys{"s4"}));
    EXPECT_EQ(shown(), (Groups{{"a", {"s1"}}, {"b", {"s4"}}}));
}

TEST_F(GivenAFilter, WhenARowIsWrittenThenItIsAskedAnew) {
    passing_ = {"s2"};
    write([](Writer& t) {
        t.setObject(Value("a|amber!"), "s1", "songs");
        t.setObject(Value("a|blue!"), "s2", "songs");
    });
    EXPECT_EQ(asked_, (Keys{"s1", "s2"}));
    EXPECT_EQ(shown(), (Groups{{"a", {"s2"}}}));
}

TEST_F(GivenAFilter, WhenARowIsTouchedThenItIsAskedAnew) {
    passing_ = {"s3"};
    write([](Writer& t) { t.touchObjectForKey("s3", "songs"); });
    EXPECT_EQ(asked_, (Keys{"s3"}));
    EXPECT_EQ(shown(), (Groups{{"a", {"s1"}}, {"b", {"s3"}}}));
    passing_ = {};
    write([](Writer& t) { t.touchObjectForKey("s1", "songs"); });
    EXPECT_EQ(shown(), (Groups{{"b", {"s3"}}}));
}

TEST_F(GivenAFilter, WhenARowChangesItsGroupThenItIsAskedAnew) {
    passing_ = {"s2"};
    song("s2", "b|blue");
    EXPECT_EQ(asked_, (Keys{"s2"}));
    EXPECT_EQ(shown(), (Groups{{"a", {"s1"}}, {"b", {"s2"}}}));
}

TEST_F(GivenAFilter, WhenARowComesIntoAGroupThenItIsAsked) {
    song("s5", "|echo");
    EXPECT_EQ(asked_, (Keys{}));
    passing_ = {"s5"};
    song("s5", "b|echo");
    EXPECT_EQ(asked_, (Keys{"s5"}));
    EXPECT_EQ(shown(), (Groups{{"a", {"s1"}}, {"b", {"s5"}}}));
}

TEST_F(GivenAFilter, WhenItThrowsForARowThenThatIsNotShownAndTheOthersStay) {
    const LogCapture log;
    broken_ = {"s2", "s3"};
    passing_ = {"s1", "s2", "s3", "s4"};
    write([](Writer& t) {
        t.setObject(Value("a|blue!"), "s2", "songs");
        t.setObject(Value("a|dawn"), "s4", "songs");
    });
    EXPECT_EQ(store_.text("s2", "songs"), "a|blue!");
    EXPECT_EQ(shown(), (Groups{{"a", {"s1", "s4"}}}));
    EXPECT_EQ(log.linesWith("failed for \"s2\" of \"songs\", which is not shown").size(), 1u);
    EXPECT_EQ(log.linesWith("no filter today").size(), 1u);
}

// Setting it.

TEST_F(GivenAFilter, WhenTheTagIsTheOneInForceThenNothingHappens) {
    passing_ = {"s2"};
    const auto before = snapshot();
    write([&](Writer& t) { EXPECT_FALSE(set(t, "1")); });
    EXPECT_EQ(snapshot(), before);
    EXPECT_EQ(asked_, (Keys{}));
    EXPECT_EQ(shown(), (Groups{{"a", {"s1"}}}));
}

TEST_F(GivenAFilter, WhenTheTagIsAnotherThenTheViewIsFilteredAndTellsTheTagInForce) {
    passing_ = {"s2"};
    write([&](Writer& t) {
        EXPECT_TRUE(set(t, "2"));
        EXPECT_EQ(t.ext<Transaction>(view)->versionTag(), "2");
        EXPECT_EQ(shownBy(t, view), (Groups{{"a", {"s2"}}}));
    });
    EXPECT_EQ(shown(), (Groups{{"a", {"s2"}}}));
    EXPECT_EQ(tag(), "2");
    EXPECT_EQ(store_.database().registeredExtension(view)->versionTag(), "0") << "the first one";
}

TEST_F(GivenAFilter, WhenTheWriteIsRolledBackThenTheFilterBeforeItIsInForce) {
    passing_ = {"s2"};
    write([&](Writer& t) {
        EXPECT_TRUE(set(t, "2"));
        t.rollback();
    });
    EXPECT_EQ(shown(), (Groups{{"a", {"s1"}}}));
    EXPECT_EQ(tag(), "1");
}

TEST_F(GivenAFilter, WhenSetInAReadTransactionThenThatThrowsAndNothingHappens) {
    passing_ = {"s2"};
    read([&](Reader& t) {
        for (const char* tag : {"1", "2"}) EXPECT_THROW(set(t, tag), YapDatabaseException);
        EXPECT_EQ(t.ext<Transaction>(view)->versionTag(), "1");
        EXPECT_EQ(shownBy(t, view), (Groups{{"a", {"s1"}}}));
    });
    EXPECT_EQ(asked_, (Keys{}));
}

}  // namespace
}  // namespace qsml
