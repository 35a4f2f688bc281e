// A check of the words and the writers beside it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <unistd.h>

#include "store/indexes/testing/Tracks.h"
#include "store/search/YapDatabaseFullTextSearch.h"

namespace qsml {
namespace {

class GivenASearchThatIsChecked : public GivenIndexedTracks {
protected:
    std::shared_ptr<YapDatabaseExtension> makeIndex(std::string tag) override {
        const auto handler = [](Reader&, const YapDatabaseRow& row,
                                YapDatabaseColumnValues& values) {
            values.set("title", field(row.object, 0));
        };
        return std::make_shared<YapDatabaseFullTextSearch>(std::vector<std::string>{"title"},
                                                           handler, std::move(tag));
    }
    void SetUp() override {
        GivenIndexedTracks::SetUp();
        lockFile_ = store_.path() + "-lock";
        ASSERT_EQ(sqlite3_auto_extension(reinterpret_cast<void (*)()>(connectionOpens)), SQLITE_OK);
    }
    void TearDown() override {
        sqlite3_cancel_auto_extension(reinterpret_cast<void (*)()>(connectionOpens));
        GivenIndexedTracks::TearDown();
    }
    /// Notes whether another process could begin to write now.
    static int connectionOpens(sqlite3*, const char**, const void*) {
        const int file = ::open(lockFile_.c_str(), O_RDWR | O_CLOEXEC);
        EXPECT_GE(file, 0);
        keepsWritersOut_ = ::flock(file, LOCK_EX | LOCK_NB) != 0;
        ::close(file);
        return SQLITE_OK;
    }
    static inline std::string lockFile_;
    static inline bool keepsWritersOut_ = false;
};

TEST_F(GivenASearchThatIsChecked, WhenItsWordsAreReadThenWritersWaitInsteadOfFailing) {
    EXPECT_EQ(store_.faults(), "");
    EXPECT_TRUE(keepsWritersOut_) << "at the last connection, which looks at the words";
    ASSERT_TRUE(store_.connection().readWrite(
        [](auto& transaction) { transaction.setObject("The Wall", "d", "tracks"); }));
    EXPECT_EQ(store_.faults(), "");
}

}  // namespace
}  // namespace qsml
