#pragma once
#include "store/indexes/YapDatabaseSecondaryIndex.h"
#include "store/indexes/YapDatabaseSecondaryIndexTransaction.h"
#include "store/indexes/testing/Tracks.h"

namespace qsml {

/// Title, artist and tempo of tracks in an index, and ways to ask it.
class GivenASecondaryIndex : public GivenIndexedTracks {
protected:
    using Index = YapDatabaseSecondaryIndex;
    using Type = Index::Type;
    using Transaction = YapDatabaseSecondaryIndexTransaction;
    using Query = YapDatabaseQuery;

    std::shared_ptr<YapDatabaseExtension> makeIndex(std::string tag) override {
        const auto handler = [this](Reader& transaction, const YapDatabaseRow& row,
                                    YapDatabaseColumnValues& values) {
            ++calls_;
            if (row.key == "bad") throw std::runtime_error("a bad row");
            fillTrackColumns(transaction, row, values);
        };
        Index::Options options;
        options.allowedCollections = {{"tracks"}};
        options.dependents = trackDependents();
        return std::make_shared<Index>(columns_, handler, std::move(tag), options);
    }
    static std::string keys(Reader& transaction, const Query& query,
                            std::string_view name = "index") {
        auto* index = transaction.ext<Transaction>(name);
        if (!index) return "(no index)";
        std::string found;
        Error error;
        const bool isDone = index->enumerateKeysMatchingQuery(
            query,
            [&](std::string_view collection, std::string_view key, bool&) {
                found += (found.empty() ? "" : " ") + std::string(key);
                EXPECT_EQ(collection, "tracks");
            },
            &error);
        EXPECT_EQ(isDone, !error);
        return isDone ? found : "(failed) " + error.description;
    }
    std::string keys(const Query& query, YapDatabaseConnection* connection = nullptr) {
        std::string found;
        (connection ? *connection : store_.connection()).read([&](Reader& t) {
            found = keys(t, query);
        });
        return found;
    }
    std::string keys(const std::string& text, std::vector<Value> parameters = {}) {
        return keys(Query(text, std::move(parameters)));
    }
    void withIndex(const std::function<void(Transaction&)>& block) {
        store_.connection().read([&](Reader& t) {
            auto* index = t.ext<Transaction>("index");
            ASSERT_TRUE(index);
            block(*index);
        });
    }

    std::vector<Index::Column> columns_ = {
        {"title", Type::text}, {"artist", Type::text}, {"bpm", Type::real}};
    int calls_ = 0;
};

}  // namespace qsml
