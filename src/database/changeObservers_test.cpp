#include <gtest/gtest.h>

#include <map>
#include <random>
#include <stdexcept>

#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "store/detail/StoreState.h"
#include "store/detail/testing/PlainSqlite.h"
#include "testing/LogCapture.h"
#include "testing/OpenLibrary.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

using Calls = std::vector<std::string>;
using Token = PLXDatabaseManager::Token;

class GivenChangeObservers : public OpenLibrary {
protected:
    void writeRow(std::string_view key, std::string_view collection = "mediaItems") {
        EXPECT_TRUE(manager_.bgDatabaseConnection()->readWrite(
            [&](auto& transaction) { transaction.setObject(Value("text"), key, collection); }));
    }
    std::optional<Token> observe(std::string name, std::string_view collection,
                                 std::string_view key) {
        return manager_.addChangeObserverForCollection(
            collection, key, [this, name](std::string_view in, std::string_view changed) {
                calls_.push_back(name + " " + std::string(in) + "/" + std::string(changed));
            });
    }
    Calls calls_;
};

TEST_F(GivenChangeObservers, WhenAddedThenTokensCountFromOneAndAreNeverReused) {
    EXPECT_EQ(observe("a", "mediaItems", {}), Token{1});
    EXPECT_EQ(observe("b", "mediaItems", "k"), Token{2});
    manager_.removeChangeObserver(2);
    EXPECT_EQ(observe("c", "mediaItems", "k"), Token{3});
}

TEST_F(GivenChangeObservers, WhenCollectionOrBlockIsMissingThenNothingIsRegistered) {
    EXPECT_EQ(observe("a", {}, "k"), std::nullopt);
    EXPECT_EQ(manager_.addChangeObserverForCollection("mediaItems", {}, {}), std::nullopt);
    EXPECT_EQ(observe("b", "mediaItems", {}), Token{1}) << "refused registrations use up no token";
}

TEST_F(GivenChangeObservers, WhenARowChangesThenItsObserverComesFirstAndThatOfTheCollectionNext) {
    observe("collection", "mediaItems", {});
    observe("object", "mediaItems", "k");
    writeRow("k");
    drain();
    EXPECT_EQ(calls_, (Calls{"object mediaItems/k", "collection mediaItems/k"}));
}

TEST_F(GivenChangeObservers, WhenAnotherRowChangesThenOnlyTheCollectionObserverIsCalled) {
    observe("collection", "mediaItems", {});
    observe("object", "mediaItems", "k");
    writeRow("other");
    writeRow("k", "mediaArtists");
    drain();
    EXPECT_EQ(calls_, (Calls{"collection mediaItems/other"}));
}

TEST_F(GivenChangeObservers, WhenARowIsTouchedOrRemovedThenItsObserverIsCalled) {
    writeRow("k");
    drain();
    observe("object", "mediaItems", "k");
    manager_.bgDatabaseConnection()->readWrite(
        [](auto& transaction) { transaction.touchObjectForKey("k", "mediaItems"); });
    drain();
    manager_.bgDatabaseConnection()->readWrite(
        [](auto& transaction) { transaction.touchObjectForKey("absent", "mediaItems"); });
    manager_.bgDatabaseConnection()->readWrite(
        [](auto& transaction) { transaction.removeAllObjectsInCollection("mediaItems"); });
    drain();
    EXPECT_EQ(calls_, (Calls{"object mediaItems/k", "object mediaItems/k"}));
}

TEST_F(GivenChangeObservers, WhenRemovedTwiceOrNeverHandedOutThenNothingHappens) {
    const auto token = observe("a", "mediaItems", {});
    const auto kept = observe("kept", "mediaItems", {});
    manager_.removeChangeObserver(token);
    manager_.removeChangeObserver(token);
    manager_.removeChangeObserver(std::nullopt);
    manager_.removeChangeObserver(Token{0});
    manager_.removeChangeObserver(Token{4711});
    ASSERT_TRUE(kept);
    writeRow("k");
    drain();
    EXPECT_EQ(calls_, (Calls{"kept mediaItems/k"}));
}

TEST_F(GivenChangeObservers, WhenOneThrowsThenItIsLoggedAndTheOthersAreStillCalled) {
    LogCapture log;
    manager_.addChangeObserverForCollection(
        "mediaItems", {}, [](auto, auto) { throw std::runtime_error("broken observer"); });
    observe("after", "mediaItems", {});
    writeRow("k");
    drain();
    EXPECT_EQ(calls_, (Calls{"after mediaItems/k"}));
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_NE(log.lines()[0].find("broken observer"), std::string::npos);
}

TEST_F(GivenChangeObservers,
       WhenRemovedInsideACallbackThenItIsStillCalledForThisRowAndNotForTheNext) {
    std::optional<Token> second;
    manager_.addChangeObserverForCollection("mediaItems", "a", [&](auto, auto) {
        calls_.push_back("first");
        manager_.removeChangeObserver(second);
    });
    second = observe("second", "mediaItems", {});
    manager_.bgDatabaseConnection()->readWrite([](auto& transaction) {
        transaction.setObject(Value("x"), "a", "mediaItems");
        transaction.setObject(Value("x"), "b", "mediaItems");
    });
    drain();
    EXPECT_EQ(calls_, (Calls{"first", "second mediaItems/a"}));
}

TEST_F(GivenChangeObservers, WhenAnObserverWritesThenTheNewCommitIsAnnouncedOnceAndLater) {
    manager_.addChangeObserverForCollection("mediaItems", "a", [&](auto, auto) {
        calls_.push_back("a");
        writeRow("b");
        calls_.push_back("wrote");
    });
    observe("b", "mediaItems", "b");
    writeRow("a");
    drain();
    EXPECT_EQ(calls_, (Calls{"a", "wrote", "b mediaItems/b"}));
}

TEST_F(GivenChangeObservers, WhenAnotherProcessCommitsThenEveryObserverIsCalledObjectsFirst) {
    observe("collection", "mediaItems", {});
    observe("object", "queues", "k");
    writeRow("own");
    // The other process is played by SQLite alone: the next snapshot, of which this one knows
    // nothing.
    const auto database = manager_.database();
    const detail::StoreState state{.snapshot = database->snapshot() + 1, .lastRowNumber = 100};
    ASSERT_EQ(PlainSqlite(path()).query("UPDATE yap SET data='" + state.text() +
                                        "' WHERE extension='' AND key='state'"),
              "");
    EXPECT_TRUE(manager_.bgDatabaseConnection()->read([](auto&) {}));
    drain();
    EXPECT_EQ(calls_,
              (Calls{"collection mediaItems/own", "object queues/k", "collection mediaItems/"}));
}

/// A model of the observer tables: what must be called for a row, in order.
struct ObserverModel {
    struct Entry {
        std::string collection;
        std::optional<std::string> key;
    };
    std::map<Token, Entry> entries;

    std::vector<Token> expected(const std::string& collection, const std::string& key) const {
        std::vector<Token> called;
        for (const auto& [token, entry] : entries)
            if (entry.collection == collection && entry.key == key) called.push_back(token);
        for (const auto& [token, entry] : entries)
            if (entry.collection == collection && !entry.key) called.push_back(token);
        return called;
    }
};

TEST_F(GivenChangeObservers, WhenTheyAddRemoveWriteAndThrowAtRandomThenTheModelAgrees) {
    LogCapture quiet;
    std::mt19937 random(20260101);
    ObserverModel model;
    std::vector<Token> called;
    const Calls collections{"mediaItems", "queues"}, keys{"a", "b", "c"};
    const auto pick = [&](const Calls& from) { return from[random() % from.size()]; };

    const std::size_t steps = testScale(1000, 20000);
    for (std::size_t step = 0; step < steps; ++step) {
        switch (random() % 4) {
            case 0: {
                const bool throws = random() % 4 == 0;
                ObserverModel::Entry entry{pick(collections), std::nullopt};
                if (random() % 2) entry.key = pick(keys);
                auto self = std::make_shared<Token>(0);
                const auto token = manager_.addChangeObserverForCollection(
                    entry.collection, entry.key ? std::string_view(*entry.key) : std::string_view(),
                    [&called, self, throws](auto, auto) {
                        called.push_back(*self);
                        if (throws) throw std::runtime_error("random");
                    });
                ASSERT_TRUE(token);
                *self = *token;
                model.entries.emplace(*token, entry);
                break;
            }
            case 1: {
                const Token token = random() % (step + 1);
                manager_.removeChangeObserver(token);
                model.entries.erase(token);
                break;
            }
            default: {
                const auto collection = pick(collections), key = pick(keys);
                called.clear();
                writeRow(key, collection);
                drain();
                ASSERT_EQ(called, model.expected(collection, key)) << "step " << step;
            }
        }
    }
}

}  // namespace
}  // namespace qsml
