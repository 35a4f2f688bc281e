#include "store/relationships/testing/OpenGraph.h"

namespace qsml {
namespace {

/// The rules of edges, one by one and together: what goes with what.
class GivenNodesWithRules : public OpenGraph {
protected:
    void expect(const std::string& keysLeft) {
        EXPECT_EQ(keys(), keysLeft);
        EXPECT_EQ(faults(), "");
    }
};

TEST_F(GivenNodesWithRules, WhenADestinationGoesThenSourcesThatAskForItGo) {
    set("d"), set("other");
    set("a", {to("d", YDB_DeleteSourceIfDestinationDeleted)});
    set("b", {to("d")});
    set("c", {to("other", YDB_DeleteSourceIfDestinationDeleted)});
    remove({"d"});
    expect("b c other");
}

TEST_F(GivenNodesWithRules, WhenASourceGoesThenDestinationsThatItAsksForGo) {
    set("x"), set("y"), set("z");
    set("s", {to("x", YDB_DeleteDestinationIfSourceDeleted), to("y")});
    set("t", {to("z", YDB_DeleteDestinationIfSourceDeleted)});
    remove({"s"});
    expect("t y z");
}

TEST_F(GivenNodesWithRules, WhenTheLastOfAllDestinationsGoesThenTheSourceGoes) {
    const auto rule = YDB_DeleteSourceIfAllDestinationsDeleted;
    set("x"), set("y");
    set("s", {to("x", rule), to("y", rule)});
    remove({"x"});
    expect("s y");
    remove({"y"});
    expect("");
}

TEST_F(GivenNodesWithRules, WhenTheLastOfAllSourcesGoesThenTheDestinationGoes) {
    const auto rule = YDB_DeleteDestinationIfAllSourcesDeleted;
    set("d");
    set("s", {to("d", rule)}), set("t", {to("d", rule)});
    remove({"s"});
    expect("d t");
    remove({"t"});
    expect("");
}

TEST_F(GivenNodesWithRules, WhenSourcesGoAllAtOnceThenTheyAreCountedTogether) {
    const auto rule = YDB_DeleteDestinationIfAllSourcesDeleted;
    set("d"), set("x"), set("y");
    set("s", {to("d", rule)}), set("t", {to("d", rule)});
    set("u", {to("x", YDB_DeleteSourceIfAllDestinationsDeleted),
              to("y", YDB_DeleteSourceIfAllDestinationsDeleted)});
    remove({"s", "t", "x", "y"});
    expect("");
}

TEST_F(GivenNodesWithRules, WhenEdgesAreCountedThenAnyNameCounts) {
    const auto rule = YDB_DeleteDestinationIfAllSourcesDeleted;
    set("artist");
    set("s", {to("artist", rule, "artist")});
    set("t", {to("artist", rule, "albumArtist")});
    remove({"s"});
    expect("artist t");
    set("u", {to("artist", rule, "artist")});
    remove({"t"});
    expect("artist u");
    remove({"u"});
    expect("");
}

TEST_F(GivenNodesWithRules, WhenEdgesAreCountedThenOnlyThoseThatDeleteCount) {
    set("d"), set("e");
    set("s", {to("d", 32), to("e", 32)});
    set("weak", {to("d", 1 | 2)});
    set("strong", {to("e", YDB_DeleteDestinationIfSourceDeleted)});
    set("f", {to("p", 16), to("q", 1 | 2)});
    set("g", {to("p", 16), to("q", YDB_DeleteSourceIfDestinationDeleted)});
    set("p"), set("q");
    remove({"s", "p"});
    expect("e g q strong weak");
}

TEST_F(GivenNodesWithRules, WhenOneOfTwoEdgesBetweenTwoNodesIsDroppedThenTheOtherHolds) {
    set("d");
    set("s", {to("d", 32, "a"), to("d", 32, "b")});
    set("s", {to("d", 32, "b")});
    expect("d s");
    set("s");
    expect("s");
}

TEST_F(GivenNodesWithRules, WhenAnEdgeIsDroppedThenItIsAsIfItsSourceHadGone) {
    set("x"), set("y"), set("z"), set("k");
    set("s", {to("x", YDB_DeleteDestinationIfSourceDeleted),
              to("y", YDB_DeleteDestinationIfAllSourcesDeleted), to("z", YDB_NotifyIfSourceDeleted),
              to("k")});
    set("s", {to("new")});
    expect("k s z");
    EXPECT_EQ(told(), "z|e>z|edge|0");
    EXPECT_EQ(edges(), "s-e>new");
}

TEST_F(GivenNodesWithRules, WhenAnEdgeIsDroppedThenRulesForItsSourceDoNotRun) {
    set("x");
    set("s", {to("x", 2 | 4 | 16)});
    set("s");
    expect("s x");
    EXPECT_EQ(told(), "");
}

TEST_F(GivenNodesWithRules, WhenRulesOfAnEdgeChangeThenItIsTheSameEdge) {
    set("x");
    set("s", {to("x", 8)});
    set("s", {to("x", 1)});
    expect("s x");
    EXPECT_EQ(told(), "");
    remove({"s"});
    expect("x");
    EXPECT_EQ(told(), "x|e>x|source|0");
}

TEST_F(GivenNodesWithRules, WhenAListNamesAnEdgeTwiceThenTheLastCounts) {
    set("x"), set("y");
    set("s", {to("x", 8), to("y", 0), to("x", 0), to("y", 8)});
    EXPECT_EQ(edges(), "s-e>x s-e>y");
    remove({"s"});
    expect("x");
}

/// Each combination of bits, with either end going: what happens is what the bits say one by one.
TEST_F(GivenNodesWithRules, WhenBitsCombineThenEachCounts) {
    for (std::uint32_t rules = 0; rules < 64; ++rules) {
        SCOPED_TRACE(rules);
        set("s", {to("d", rules)}), set("d");
        remove({"s"});
        const bool goesD = rules & (8 | 32);
        EXPECT_EQ(keys(), goesD ? "" : "d");
        EXPECT_EQ(told(), !goesD && (rules & 1) ? "d|e>d|source|0" : "");
        remove({"d"});

        set("s", {to("d", rules)}), set("d");
        remove({"d"});
        const bool goesS = rules & (4 | 16);
        EXPECT_EQ(keys(), goesS ? "" : "s");
        EXPECT_EQ(told(), !goesS && (rules & 2) ? "s|e>d|destination|1" : "");
        remove({"s"});
        EXPECT_EQ(told(), "");

        set("s", {to("d", rules)}), set("d");
        remove({"s", "d"});
        EXPECT_EQ(told(), "") << "a node that goes is not told";
    }
    EXPECT_EQ(faults(), "");
}

TEST_F(GivenNodesWithRules, WhenRulesMeetACycleThenTheyEnd) {
    set("a", {to("b", 8 | 4)}), set("b", {to("c", 8 | 4)}), set("c", {to("a", 8 | 4)});
    set("self", {to("self", 4 | 8 | 16 | 32 | 1 | 2)});
    remove({"b", "self"});
    expect("");
    EXPECT_EQ(told(), "");
}

TEST_F(GivenNodesWithRules, WhenARowGoesThenRemovalsAreOrdinary) {
    set("d");
    set("s", {to("d", 8)});
    remove({"s"});
    executor_->waitUntilIdle();
    second_ = database_->newConnection();
    second_->beginLongLivedReadTransaction();
    set("d"), set("s", {to("d", 8)});
    remove({"s"});
    const auto list = second_->beginLongLivedReadTransaction();
    EXPECT_TRUE(second_->hasChangeForKey("d", "nodes", {list.back()}));
    EXPECT_TRUE(second_->hasChangeForKey("s", "nodes", {list.back()}));
}

TEST_F(GivenNodesWithRules, WhenARowIsRemovedThenItsDependentsStayUntilTheEndOfTheWrite) {
    set("d"), set("s", {to("d", 8)});
    write([&](Writer& t) {
        t.removeObjectForKey("s", "nodes");
        EXPECT_EQ(keys(t), "d");
    });
    expect("");
}

TEST_F(GivenNodesWithRules, WhenFlushedThenRulesRunAtOnce) {
    set("d"), set("s", {to("d", 8)}), set("t", {to("s", 4)});
    write([&](Writer& t) {
        t.removeObjectForKey("s", "nodes");
        EXPECT_TRUE(graphOf(t)->flush());
        EXPECT_EQ(keys(t), "");
        set(t, "s");  // too late to count as an update
    });
    expect("s");
}

TEST_F(GivenNodesWithRules, WhenARowIsRemovedAndWrittenAgainThenThatIsAnUpdate) {
    for (const bool isTwice : {false, true}) {
        set("d"), set("s", {to("d", 1 | 8 | 32)}), set("t", {to("s", 2 | 4 | 16)});
        write([&](Writer& t) {
            graphOf(t)->addEdge(to("d", 8, "m"), {"nodes", "s"});
            graphOf(t)->addEdge(to("s", 4, "m"), {"nodes", "t"});
        });
        write([&](Writer& t) {
            for (int i = 0; i < (isTwice ? 2 : 1); ++i) {
                t.removeObjectForKey("s", "nodes");
                set(t, "s", {to("d", 1 | 8 | 32)});
            }
            EXPECT_EQ(edges(t), "!s-m>d !t-m>s s-e>d t-e>s");
        });
        expect("d s t");
        EXPECT_EQ(edges(), "!s-m>d !t-m>s s-e>d t-e>s");
        EXPECT_EQ(told(), "");
        remove({"s"});
        expect("");
    }
}

TEST_F(GivenNodesWithRules, WhenARowIsRemovedAndWrittenAgainWithAnotherListThenThatListCounts) {
    set("x"), set("y"), set("z"), set("s", {to("x", 8), to("y", 8)});
    write([&](Writer& t) {
        set(t, "s", {to("z", 8)});
        t.removeObjectForKey("s", "nodes");
        set(t, "s", {to("y", 8)});
    });
    expect("s y z");
    EXPECT_EQ(edges(), "s-e>y");
}

TEST_F(GivenNodesWithRules, WhenARowIsRemovedAfterItWasWrittenAgainThenItIsRemoved) {
    set("d"), set("s", {to("d", 8)}), set("t", {to("s", 4)});
    write([&](Writer& t) {
        t.removeObjectForKey("s", "nodes");
        set(t, "s");
        set(t, "t", {to("s", 4)});
        t.removeObjectForKey("s", "nodes");
    });
    expect("");
}

TEST_F(GivenNodesWithRules, WhenAListIsWrittenTwiceThenTheLastCounts) {
    set("x"), set("y"), set("s", {to("x", 8)});
    write([&](Writer& t) {
        set(t, "s", {to("y", 8)});
        EXPECT_EQ(edges(t), "s-e>y");
        set(t, "s", {to("x", 8)});
    });
    expect("s x y");
    EXPECT_EQ(edges(), "s-e>x");
}

TEST_F(GivenNodesWithRules, WhenARowIsInsertedAndRemovedInOneWriteThenItsLastListCounts) {
    set("x"), set("y");
    write([&](Writer& t) {
        set(t, "s", {to("x", 8)});
        set(t, "s", {to("y", 8)});
        t.removeObjectForKey("s", "nodes");
    });
    expect("x");
}

TEST_F(GivenNodesWithRules, WhenADestinationDoesNotExistThenTheEdgeWaitsForIt) {
    set("s", {to("d", 4 | 8)});
    expect("s");
    EXPECT_EQ(edges({.destination = {{"nodes", "d"}}}), "s-e>d");
    set("d");
    expect("d s");
    remove({"d"});
    expect("");
}

TEST_F(GivenNodesWithRules, WhenADestinationNeverExistedThenNoRuleRuns) {
    set("x"), set("s", {to("d", 63), to("x", 16)});
    set("s", {to("d", 63)});
    expect("s x");
    remove({"s"});
    expect("x");
    EXPECT_EQ(told(), "");
    EXPECT_EQ(edges(), "");
}

TEST_F(GivenNodesWithRules, WhenADestinationReturnsThenTheDeclaredEdgeIsAlive) {
    set("d"), set("s", {to("d", 8)});
    remove({"d"});
    expect("s");
    EXPECT_EQ(edges(), "s-e>d");
    set("d");
    remove({"s"});
    expect("");
}

TEST_F(GivenNodesWithRules, WhenRulesLeadFarThenTheyRunInOneCommit) {
    set("1", {to("2", 8)}), set("2", {to("3", 32)}), set("3"), set("4", {to("3", 4)});
    set("5", {to("4", 16), to("k", 0)}), set("6", {to("5", 2)}), set("k");
    const auto before = database_->snapshot();
    remove({"1"});
    expect("6 k");
    EXPECT_EQ(told(), "6|e>5|destination|1");
    EXPECT_EQ(edges(), "");
    EXPECT_EQ(database_->snapshot(), before + 1);
}

TEST_F(GivenNodesWithRules, WhenARowIsTouchedThenNothingHappensToItsEdges) {
    set("d"), set("s", {to("d", 8)});
    write([](Writer& t) {
        t.touchObjectForKey("s", "nodes"), t.touchRowForKey("s", "nodes");
        t.replaceMetadata("m", "s", "nodes");
    });
    expect("d s");
    EXPECT_EQ(edges(), "s-e>d");
}

TEST_F(GivenNodesWithRules, WhenARowIsNoNodeAnyMoreThenItsEdgesAreDropped) {
    set("d"), set("s", {to("d", 8)});
    write([](Writer& t) { t.setObject("text", "s", "nodes"); });
    expect("s");
    EXPECT_EQ(edges(), "");
}

}  // namespace
}  // namespace qsml
