#include "store/views/YapDatabaseViewTransaction.h"

#include <gmock/gmock.h>

#include "store/views/testing/OpenViews.h"

namespace qsml {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Enumeration = YapDatabaseViewEnumeration;
using Texts = std::vector<std::string>;

/// Group "a": s1 amber, s2 blue, s3 cold, s4 dawn; group "b": s5 echo. s6 stands in no group.
class GivenSongs : public OpenViews {
protected:
    void SetUp() override {
        OpenViews::SetUp();
        write([](Writer& t) {
            const char* texts[] = {"a|amber", "a|blue", "a|cold", "a|dawn", "b|echo", "|fire"};
            for (int i = 6; i > 0; --i)
                t.setObject(Value(texts[i - 1]), "s" + std::to_string(i), "songs");
        });
    }
    void withView(const std::function<void(YapDatabaseViewTransaction&)>& block) {
        read([&](Reader& t) { block(*t.ext<YapDatabaseViewTransaction>("songs")); });
    }
    /// "KEY@INDEX" of each row.
    Texts walk(std::string_view group, Enumeration enumeration = {}) {
        Texts texts;
        withView([&](auto& view) {
            view.enumerateKeysInGroup(
                group,
                [&](std::string_view collection, std::string_view key, std::uint64_t index, bool&) {
                    EXPECT_EQ(collection, "songs");
                    texts.push_back(std::string(key) + "@" + std::to_string(index));
                },
                enumeration);
        });
        return texts;
    }
    static std::string keyOf(const std::optional<YapDatabaseCollectionKey>& row) {
        return row ? row->key.str() : "(nothing)";
    }
};

TEST_F(GivenSongs, WhenAGroupIsWalkedThenRowsComeInOrderWithTheirIndexes) {
    EXPECT_THAT(walk("a"), ElementsAre("s1@0", "s2@1", "s3@2", "s4@3"));
    EXPECT_THAT(walk("nowhere"), IsEmpty());
}

TEST_F(GivenSongs, WhenAPartIsWalkedThenItIsCutToWhatExists) {
    EXPECT_THAT(walk("a", {.first = 1, .length = 2}), ElementsAre("s2@1", "s3@2"));
    EXPECT_THAT(walk("a", {.first = 3}), ElementsAre("s4@3"));
    EXPECT_THAT(walk("a", {.first = 3, .length = 9}), ElementsAre("s4@3"));
    EXPECT_THAT(walk("a", {.length = 0}), IsEmpty());
    EXPECT_THAT(walk("a", {.first = 4}), IsEmpty());
    EXPECT_THAT(walk("a", {.first = UINT64_MAX}), IsEmpty());
}

TEST_F(GivenSongs, WhenWalkedInReverseThenThePartIsTheSameAndIndexesAreThoseOfTheGroup) {
    EXPECT_THAT(walk("a", {.isReverse = true}), ElementsAre("s4@3", "s3@2", "s2@1", "s1@0"));
    EXPECT_THAT(walk("a", {.first = 1, .length = 2, .isReverse = true}),
                ElementsAre("s3@2", "s2@1"));
}

TEST_F(GivenSongs, WhenTheBlockStopsThenNoFurtherRowComes) {
    Texts keys;
    withView([&](auto& view) {
        view.enumerateKeysInGroup("a", [&](auto, std::string_view key, auto, bool& stop) {
            keys.emplace_back(key);
            stop = key == "s2";
        });
    });
    EXPECT_THAT(keys, ElementsAre("s1", "s2"));
}

TEST_F(GivenSongs, WhenTheBlockWritesThenTheWalkIsOverTheViewAsItWas) {
    Texts keys;
    write([&](Writer& t) {
        auto* const view = t.ext<YapDatabaseViewTransaction>("songs");
        view->enumerateKeysInGroup("a", [&](auto, std::string_view key, auto, bool&) {
            keys.emplace_back(key);
            t.setObject(Value("a|z"), std::string(key) + "'", "songs");
        });
        EXPECT_EQ(view->numberOfItemsInGroup("a"), 8u);
    });
    EXPECT_THAT(keys, ElementsAre("s1", "s2", "s3", "s4"));
}

TEST_F(GivenSongs, WhenObjectsAreWalkedThenEachComesWithItsRow) {
    Texts texts;
    withView([&](auto& view) {
        view.enumerateKeysAndObjectsInGroup(
            "a",
            [&](auto, std::string_view key, const Value& object, std::uint64_t index, bool& stop) {
                texts.push_back(std::string(key) + "@" + std::to_string(index) + " " +
                                object.string().str());
                stop = index == 2;
            },
            {.first = 1});
    });
    EXPECT_THAT(texts, ElementsAre("s2@1 a|blue", "s3@2 a|cold"));
}

TEST_F(GivenSongs, WhenAskedForTheEndsOfAGroupThenTheFirstAndLastRowAnswer) {
    withView([](auto& view) {
        EXPECT_EQ(keyOf(view.firstKeyInGroup("a")), "s1");
        EXPECT_EQ(keyOf(view.lastKeyInGroup("a")), "s4");
        EXPECT_EQ(view.firstObjectInGroup("a").string(), "a|amber");
        EXPECT_EQ(view.lastObjectInGroup("a").string(), "a|dawn");
        EXPECT_EQ(keyOf(view.firstKeyInGroup("b")), keyOf(view.lastKeyInGroup("b")));
    });
}

TEST_F(GivenSongs, WhenAGroupHasNoRowsThenNothingAnswersAndItIsNone) {
    for (int turn = 0; turn < 2; ++turn) {
        withView([&](auto& view) {
            const char* const group = turn == 0 ? "nowhere" : "b";
            EXPECT_EQ(keyOf(view.firstKeyInGroup(group)), "(nothing)");
            EXPECT_EQ(keyOf(view.lastKeyInGroup(group)), "(nothing)");
            EXPECT_TRUE(view.firstObjectInGroup(group).isNil());
            EXPECT_TRUE(view.lastObjectInGroup(group).isNil());
            EXPECT_FALSE(view.hasGroup(group));
            EXPECT_TRUE(view.isEmptyGroup(group));
        });
        write([](Writer& t) { t.removeObjectForKey("s5", "songs"); });
    }
    withView([](auto& view) { EXPECT_EQ(view.allGroups(), (std::vector<String>{"a"})); });
}

TEST_F(GivenSongs, WhenAskedForPlacesThenIndexAndKeyAgreeAndOthersAnswerNothing) {
    withView([](auto& view) {
        EXPECT_EQ(view.numberOfGroups(), 2u);
        EXPECT_EQ(view.numberOfItemsInAllGroups(), 5u);
        EXPECT_FALSE(view.isEmpty());
        EXPECT_EQ(keyOf(view.keyAtIndex(2, "a")), "s3");
        EXPECT_EQ(keyOf(view.keyAtIndex(4, "a")), "(nothing)");
        EXPECT_TRUE(view.objectAtIndex(4, "a").isNil());
        EXPECT_EQ(view.rowidAtIndex(4, "a"), std::nullopt);
        EXPECT_EQ(view.groupAndIndexForKey("s3", "songs"), (YapDatabaseViewPlace{"a", 2}));
        EXPECT_EQ(view.groupForKey("s5", "songs"), "b");
        EXPECT_FALSE(view.groupForKey("s6", "songs"));
        EXPECT_FALSE(view.groupForKey("s9", "songs"));
    });
}

TEST_F(GivenSongs, WhenRowsAreToBeInOrderThenThoseOfTheGroupComeAsItHasThem) {
    withView([](auto& view) {
        const auto id = [&](std::uint64_t index) { return *view.rowidAtIndex(index, "a"); };
        const std::int64_t other = *view.rowidAtIndex(0, "b"), unknown = 4711;
        const std::vector<std::int64_t> rows{id(3), other, id(0), unknown, id(2)};
        EXPECT_THAT(view.rowidsInOrder("a", rows), ElementsAre(id(0), id(2), id(3)));
        EXPECT_THAT(view.rowidsInOrder("a", rows, 2), ElementsAre(id(0), id(2)));
        EXPECT_THAT(view.rowidsInOrder("a", rows, 0), IsEmpty());
        EXPECT_THAT(view.rowidsInOrder("b", rows), ElementsAre(other));
        EXPECT_THAT(view.rowidsInOrder("nowhere", rows), IsEmpty());
        EXPECT_THAT(view.rowidsInOrder("a", {}), IsEmpty());
    });
}

}  // namespace
}  // namespace qsml
