#include <gtest/gtest.h>

#include "foundation/NotificationCenter.h"
#include "store/YapDatabaseExtension.h"
#include "store/detail/StoreState.h"
#include "store/detail/testing/LengthsExtension.h"
#include "store/detail/testing/PlainSqlite.h"
#include "testing/OpenStore.h"

namespace qsml {
namespace {

using Reader = YapDatabaseReadTransaction;
using Writer = YapDatabaseReadWriteTransaction;

/// The other process is played by SQLite alone: it makes commits that this process knows nothing
/// of.
class GivenAnotherProcess : public OpenStore {
protected:
    void SetUp() override {
        OpenStore::SetUp();
        store_.set("a", "1");
        second_ = store_.database().newConnection();
        extension_ = std::make_shared<LengthsExtension>();
        ASSERT_TRUE(store_.database().registerExtension(extension_, "lengths"));
    }
    void TearDown() override {
        second_.reset();
        OpenStore::TearDown();
    }
    void commitElsewhere(const std::string& sql) {
        detail::StoreState state{.snapshot = store_.database().snapshot() + ++commits_,
                                 .lastRowNumber = 100};
        const std::string output =
            PlainSqlite(store_.path())
                .query("BEGIN IMMEDIATE;" + sql + ";UPDATE yap SET data='" + state.text() +
                       "' WHERE extension='' AND key='state'; COMMIT");
        ASSERT_EQ(output, "");
    }
    std::int64_t length(const std::string& key) {
        std::int64_t found = -2;
        store_.connection().read([&](Reader& t) {
            if (auto* part = t.ext<LengthsExtension::Transaction>("lengths"))
                found = part->length(key);
        });
        return found;
    }

    std::uint64_t commits_ = 0;
    std::shared_ptr<YapDatabaseConnection> second_;
    std::shared_ptr<LengthsExtension> extension_;
};

TEST_F(GivenAnotherProcess, WhenItCommitsThenCachesAndStatesAreReadAgain) {
    EXPECT_EQ(store_.text("a"), "1");
    commitElsewhere("DELETE FROM row; UPDATE lengths_lengths SET length=7");
    EXPECT_EQ(store_.text("a"), "(nil)");
    EXPECT_EQ(length("a"), 7);
}

TEST_F(GivenAnotherProcess, WhenItCommitsThenThatIsToldOnceAndInOrder) {
    store_.drain();
    std::vector<std::shared_ptr<const YapDatabaseCommit>> posted;
    const auto token = NotificationCenter::defaultCenter().addObserver(
        std::string(YapDatabaseModifiedNotification), &store_.database(),
        [&](const Notification& notification) {
            using Pointer = std::shared_ptr<const YapDatabaseCommit>;
            if (const auto* commit = notification.info<Pointer>(YapDatabaseCommitKey))
                posted.push_back(*commit);
        });
    second_->beginLongLivedReadTransaction();
    const auto before = second_->snapshot();
    commitElsewhere("DELETE FROM row");
    commitElsewhere("DELETE FROM row");
    EXPECT_EQ(store_.text("a"), "(nil)");
    EXPECT_TRUE(store_.set("b", "22"));
    store_.drain();
    ASSERT_EQ(posted.size(), 2u);
    EXPECT_TRUE(posted[0]->isForeign);
    EXPECT_EQ(posted[0]->connection, nullptr);
    EXPECT_EQ(posted[0]->snapshot, before + 2);
    EXPECT_FALSE(posted[1]->isForeign);
    EXPECT_EQ(posted[1]->snapshot, before + 3);
    const auto list = second_->beginLongLivedReadTransaction();
    ASSERT_EQ(list.size(), 2u);
    EXPECT_TRUE(list[0]->isForeign);
}

TEST_F(GivenAnotherProcess, WhenItWritesWithoutAnExtensionThenTheNextWriteRebuildsIt) {
    commitElsewhere("INSERT INTO yap VALUES('lengths', '#stale', '1')");
    EXPECT_EQ(length("a"), -2);  // rather nothing than something wrong
    EXPECT_EQ(extension_->fills, 1);
    store_.connection().readWrite([](Writer& t) { t.setObject("22", "b", "texts"), t.rollback(); });
    EXPECT_TRUE(store_.set("b", "22"));
    EXPECT_EQ(length("a"), 1);
    EXPECT_EQ(length("b"), 2);
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAnotherProcess, WhenItDropsAnExtensionThenTheNextWriteMakesItAgain) {
    commitElsewhere("DELETE FROM yap WHERE extension='lengths'; DROP TABLE lengths_lengths");
    EXPECT_EQ(length("a"), -2);
    EXPECT_TRUE(store_.set("b", "22"));
    EXPECT_EQ(length("a"), 1);
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAnotherProcess, WhenItMendsWhatWeDoNotMaintainThenOurNextWriteMarksItAgain) {
    const std::string isLengths = " FROM yap WHERE extension='lengths' AND key='#stale'";
    const auto isMarked = [&] {
        return PlainSqlite(store_.path()).query("SELECT data" + isLengths) != "";
    };
    second_.reset();
    ASSERT_TRUE(store_.open());  // and nothing is registered
    EXPECT_TRUE(store_.set("b", "22"));
    EXPECT_TRUE(isMarked());
    commitElsewhere("DELETE" + isLengths);
    EXPECT_FALSE(isMarked());
    EXPECT_TRUE(store_.set("c", "333"));
    EXPECT_TRUE(isMarked());
    ASSERT_TRUE(
        store_.database().registerExtension(std::make_shared<LengthsExtension>(), "lengths"));
    EXPECT_EQ(length("c"), 3);
    EXPECT_EQ(store_.faults(), "");
}

}  // namespace
}  // namespace qsml
