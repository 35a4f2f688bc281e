#include "core/plx_databaseConnection.h"

#include <gtest/gtest.h>

#include <thread>

#include "database/PLXDatabaseManager.h"
#include "store/YapDatabaseConnection.h"
#include "testing/TemporaryDirectory.h"

namespace qsml {
namespace {

/// The connections belong to the process's shared manager, which is set up once and never closed.
class GivenTheSharedManager : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        static TemporaryDirectory directory;
        ASSERT_EQ(plx_databaseConnection(), nullptr) << "there is no database yet";
        ASSERT_TRUE(PLXDatabaseManager::sharedManager().setupDatabaseWithFileURL(
            URL::fileURLWithPath(directory.path() + "/library.qsml")));
    }
};

TEST_F(GivenTheSharedManager, WhenAskedTwiceOnOneThreadThenTheConnectionIsTheSame) {
    const auto connection = plx_databaseConnection();
    ASSERT_NE(connection, nullptr);
    EXPECT_EQ(plx_databaseConnection(), connection);
    EXPECT_EQ(connection->database(), PLXDatabaseManager::sharedManager().database());
    EXPECT_EQ(connection->objectCacheLimit(), 250u);
}

TEST_F(GivenTheSharedManager, WhenAskedOnTwoThreadsThenTheConnectionsDiffer) {
    const auto here = plx_databaseConnection();
    std::shared_ptr<YapDatabaseConnection> there;
    std::thread([&] { there = plx_databaseConnection(); }).join();
    EXPECT_NE(there, nullptr);
    EXPECT_NE(there, here);
}

TEST_F(GivenTheSharedManager, WhenTheThreadEndsThenItsConnectionGoes) {
    std::weak_ptr<YapDatabaseConnection> there;
    std::thread([&] { there = plx_databaseConnection(); }).join();
    EXPECT_TRUE(there.expired());
}

}  // namespace
}  // namespace qsml
