#pragma once
#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "store/indexes/testing/Tracks.h"
#include "testing/testScale.h"

namespace qsml {

/// Random transactions over a few rows of "tracks", "artists" and "others", on several connections.
class RandomHistory {
public:
    RandomHistory(StoreOfTexts& store, unsigned seed) : random_(seed) {
        for (int i = 0; i < 3; ++i) connections_.push_back(store.database().newConnection());
    }

    /// One transaction, now and then rolled back. `ask` runs sometimes in its midst.
    void commit(const std::function<void(Writer&)>& ask) {
        auto& connection = *connections_[below(connections_.size())];
        Error error;
        const bool isDone = connection.readWrite(
            [&](Writer& transaction) {
                for (std::size_t left = 1 + below(6); left > 0; --left) change(transaction);
                if (below(4) == 0) ask(transaction);
                if (below(3) == 0) change(transaction);
                if (below(15) == 0) transaction.rollback();
            },
            &error);
        EXPECT_TRUE(isDone) << error.description;
        if (below(10) == 0) rest(*connections_[below(connections_.size())]);
    }
    std::size_t below(std::size_t limit) { return random_() % limit; }

private:
    void rest(YapDatabaseConnection& connection) {
        if (below(2))
            connection.beginLongLivedReadTransaction();
        else
            connection.endLongLivedReadTransaction();
    }
    std::string key(std::string_view collection) {
        return std::string(collection.substr(0, 1)) + std::to_string(below(12));
    }
    std::string word() {
        static const std::vector<std::string> words = {
            "Bells", "bells",   "Café", "東京",  "京都タワー", "AC/DC", "\"live\"",
            "สวัสดี",  "{{X-1}}", "",     "don't", "🎧",          "a\tb"};
        return words[below(words.size())];
    }
    std::string text(std::string_view collection) {
        if (collection != "tracks") return word() + (below(2) ? " " + word() : "");
        return word() + " " + word() + ";" + (below(4) ? key("artists") : "") + ";" +
               (below(3) ? std::to_string(below(4)) : "");
    }
    void change(Writer& transaction) {
        static const std::vector<std::string> collections = {"tracks", "tracks", "artists",
                                                             "others"};
        const std::string& collection = collections[below(collections.size())];
        const std::string one = key(collection);
        switch (below(12)) {
            case 0:
                transaction.touchRowForKey(one, collection);
                break;
            case 1:
            case 2:
                transaction.removeObjectForKey(one, collection);
                break;
            case 3:
                transaction.removeObjectForKey(one, collection);
                transaction.setObject(text(collection), one, collection);
                break;
            case 4:
                transaction.setObject(text(collection), one, collection);
                transaction.removeObjectForKey(one, collection);
                break;
            case 5:
                transaction.replaceMetadata("meta", one, collection);
                break;
            case 6:
                if (below(20) == 0) transaction.removeAllObjectsInCollection(collection);
                break;
            default:
                transaction.setObject(text(collection), one, collection);
        }
    }

    std::mt19937 random_;
    std::vector<std::shared_ptr<YapDatabaseConnection>> connections_;
};

/// After each commit check() finds nothing, and now and then the tables named "index_..." are, byte
/// by byte, those of an index that is registered anew.
inline void expectIndexFollowsHistory(
    StoreOfTexts& store, const std::function<std::shared_ptr<YapDatabaseExtension>()>& makeIndex,
    const std::string& table, const std::function<void(Writer&)>& ask) {
    const std::size_t commits = testScale(2'000, 50'000);
    PlainSqlite file(store.path());
    const auto content = [&](const std::string& name) {
        return file.query("SELECT * FROM \"" + name + "_" + table + "\" ORDER BY rowid");
    };
    RandomHistory history(store, 20'260'101);
    std::size_t rows = 0;
    for (std::size_t i = 1; i <= commits && !::testing::Test::HasFailure(); ++i) {
        history.commit(ask);
        ASSERT_EQ(store.faults(), "") << "after commit " << i;
        if (i % 50 != 0) continue;
        ASSERT_TRUE(store.database().registerExtension(makeIndex(), "fresh"));
        const std::string fresh = content("fresh");
        EXPECT_EQ(content("index"), fresh) << "after commit " << i;
        rows += fresh.size();
        ASSERT_TRUE(store.database().unregisterExtension("fresh"));
    }
    EXPECT_GT(rows, commits);
}

}  // namespace qsml
