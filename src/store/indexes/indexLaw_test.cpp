// Whatever is written, in whatever order, and whatever fails: the index is what a rebuild would
// make.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "store/indexes/YapDatabaseSecondaryIndex.h"
#include "store/indexes/YapDatabaseSecondaryIndexTransaction.h"
#include "store/indexes/testing/Tracks.h"
#include "store/indexes/testing/failingIndexWrites.h"
#include "store/indexes/testing/randomHistory.h"

namespace qsml {
namespace {

using Index = YapDatabaseSecondaryIndex;

std::shared_ptr<YapDatabaseExtension> makeTrackIndex() {
    Index::Options options;
    options.allowedCollections = {{"tracks"}};
    options.dependents = trackDependents();
    return std::make_shared<Index>(std::vector<Index::Column>{{"title", Index::Type::text},
                                                              {"artist", Index::Type::text},
                                                              {"bpm", Index::Type::real}},
                                   fillTrackColumns, "1", options);
}

void ask(Writer& transaction) {
    std::uint64_t count = 0;
    auto* index = transaction.ext<YapDatabaseSecondaryIndexTransaction>("index");
    ASSERT_TRUE(index);
    EXPECT_TRUE(index->getNumberOfRows(&count, YapDatabaseQuery("WHERE bpm > 1")));
}

/// As many rows with a bpm as the snapshot's rows give.
void expectIndexOfRows(Reader& transaction) {
    std::uint64_t expected = 0, count = 0;
    transaction.enumerateKeysAndObjectsInCollection(
        "tracks", [&](std::string_view, const Value& object, bool&) {
            const String bpm = field(object, 2);
            expected += bpm && std::atof(bpm.c_str()) > 1;
        });
    auto* index = transaction.ext<YapDatabaseSecondaryIndexTransaction>("index");
    ASSERT_TRUE(index);
    EXPECT_TRUE(index->getNumberOfRows(&count, YapDatabaseQuery("WHERE bpm > 1")));
    EXPECT_EQ(count, expected);
}

class GivenARandomHistory : public OpenStore {
protected:
    void SetUp() override {
        store_.options.synchronous = YapDatabaseSynchronous::normal;
        OpenStore::SetUp();
        ASSERT_TRUE(store_.database().registerExtension(makeTrackIndex(), "index"));
    }
};

TEST_F(GivenARandomHistory, WhenEachCommitIsDoneThenTheIndexEqualsARebuild) {
    expectIndexFollowsHistory(store_, makeTrackIndex, "secondaryIndex", ask);
}

TEST_F(GivenARandomHistory, WhenOthersReadMeanwhileThenTheirIndexIsThatOfTheirRows) {
    std::atomic<bool> isWriting{true};
    std::vector<std::thread> threads;
    std::atomic<std::size_t> reads{0};
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            while (isWriting) {
                const auto connection = store_.database().newConnection();
                ASSERT_TRUE(connection);
                for (int read = 0; read < 5; ++read, ++reads)
                    connection->read([](Reader& t) { expectIndexOfRows(t); });
            }
        });
    RandomHistory history(store_, 3);
    for (int i = 0; i < 300 || reads < 50; ++i) history.commit(ask);
    isWriting = false;
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(store_.faults(), "");
}

TEST(IndexWrites, WhenAnyFailsThenAllOrNothingIsThereAfterReopening) {
    FailingIndexRun(makeTrackIndex).expectAllOrNothingOfFailingWrites();
}

TEST(IndexWrites, WhenAnyCallOfTheSystemFailsThenNothingWrongIsCommitted) {
    FailingIndexRun(makeTrackIndex).expectAllOrNothingOfAnyFailingCall();
}

}  // namespace
}  // namespace qsml
