// What is said of an extension that is built or rebuilt when it is registered.
#include <gtest/gtest.h>

#include <stdexcept>

#include "foundation/Environment.h"
#include "store/detail/testing/LengthsExtension.h"
#include "store/detail/testing/PlainSqlite.h"
#include "testing/LogCapture.h"
#include "testing/OpenStore.h"

namespace qsml {
namespace {

/// Each look at it takes a quarter of a second.
class SteppingClock final : public Clock {
public:
    Date now() const override { return Date{0}; }
    double monotonicSeconds() const override { return now_ += 0.25; }

private:
    mutable double now_ = 100;
};

class GivenRowsToBuildFrom : public OpenStore {
protected:
    using Reports = std::vector<std::string>;

    void SetUp() override {
        Clock::setShared(std::make_shared<SteppingClock>());
        OpenStore::SetUp();
        fill(3);
    }
    void TearDown() override {
        OpenStore::TearDown();
        Clock::setShared(nullptr);
    }
    void fill(int rows) {
        ASSERT_TRUE(store_.connection().readWrite([&](auto& transaction) {
            for (int row = 0; row < rows; row++)
                transaction.setObject("text", "key" + std::to_string(row), "texts");
            transaction.setObject("not of the extension", "key", "others");
        }));
    }
    static std::shared_ptr<LengthsExtension> make(std::string tag = "1") {
        return std::make_shared<LengthsExtension>(std::move(tag));
    }
    /// The lines that registering writes.
    Reports linesOf(const std::shared_ptr<YapDatabaseExtension>& extension) {
        const LogCapture log;
        EXPECT_TRUE(store_.database().registerExtension(extension, "lengths"));
        return log.lines();
    }
    static Reports line(const std::string& what, const std::string& why) {
        return {"The extension \"lengths\" was " + what + " from 3 rows in 250 ms: " + why + "."};
    }
};

TEST_F(GivenRowsToBuildFrom, WhenAnExtensionIsNewThenOneLineSaysSo) {
    EXPECT_EQ(linesOf(make()), line("built", "it is new"));
}

TEST_F(GivenRowsToBuildFrom, WhenNothingDiffersThenNothingIsSaid) {
    linesOf(make());
    ASSERT_TRUE(store_.open());
    EXPECT_EQ(linesOf(make()), Reports());
}

TEST_F(GivenRowsToBuildFrom, WhenThereAreNoRowsThenNothingIsSaid) {
    ASSERT_TRUE(store_.connection().readWrite(
        [](auto& transaction) { transaction.removeAllObjectsInCollection("texts"); }));
    EXPECT_EQ(linesOf(make()), Reports());
}

TEST_F(GivenRowsToBuildFrom, WhenItReplacesAnotherKindThenThatIsSaidAlsoWithoutRows) {
    ASSERT_TRUE(store_.connection().readWrite(
        [](auto& transaction) { transaction.removeAllObjectsInCollection("texts"); }));
    linesOf(make());
    ASSERT_TRUE(store_.open());
    const auto other = make();
    other->kindName = "other";
    EXPECT_EQ(linesOf(other), Reports{"The extension \"lengths\" was rebuilt from 0 rows in 250 ms:"
                                      " its kind was \"lengths\" and is \"other\"."});
}

TEST_F(GivenRowsToBuildFrom, WhenSomethingDiffersThenTheLineSaysWhat) {
    linesOf(make());
    ASSERT_TRUE(store_.open());
    EXPECT_EQ(linesOf(make("2")), line("rebuilt", "its version tag was \"1\" and is \"2\""));
    ASSERT_TRUE(store_.open());
    auto other = make("2");
    other->columns = "more";
    EXPECT_EQ(linesOf(other), line("rebuilt", "its configuration was \"\" and is \"more\""));
    ASSERT_TRUE(store_.open());
    other = make("3");
    other->kindName = "other";
    EXPECT_EQ(linesOf(other),
              line("rebuilt",
                   "its kind was \"lengths\" and is \"other\", its version tag was \"2\" and is "
                   "\"3\", its configuration was \"more\" and is \"\""));
}

TEST_F(GivenRowsToBuildFrom, WhenItMissedWritesThenTheLineSaysSo) {
    linesOf(make());
    ASSERT_TRUE(store_.open());
    ASSERT_TRUE(store_.set("key0", "longer"));
    EXPECT_EQ(linesOf(make()), line("rebuilt", "it missed writes"));
}

TEST_F(GivenRowsToBuildFrom, WhenItsTablesCannotBeReadThenTheLineSaysSo) {
    linesOf(make());
    store_.close();
    EXPECT_EQ(PlainSqlite(store_.path()).query("DROP TABLE lengths_lengths"), "");
    ASSERT_TRUE(store_.open());
    EXPECT_EQ(linesOf(make()),
              line("rebuilt", "what was stored could not be read: The table cannot be read"));
}

TEST_F(GivenRowsToBuildFrom, WhenTheRegistrationFailsThenItIsNotCalledBuiltAndTheCauseIsNamed) {
    const auto extension = make();
    extension->failsToFill = true;
    const LogCapture log;
    Error error;
    EXPECT_FALSE(store_.database().registerExtension(extension, "lengths", &error));
    EXPECT_EQ(error.description, "The filling fails.");
    EXPECT_EQ(log.linesWith("built"), Reports());
}

TEST_F(GivenRowsToBuildFrom, WhenAnExtensionGivesNoReasonThenSQLitesIsNamed) {
    store_.close();
    EXPECT_EQ(PlainSqlite(store_.path()).query("CREATE TABLE lengths_lengths(x)"), "");
    ASSERT_TRUE(store_.open());
    Error error;
    EXPECT_FALSE(store_.database().registerExtension(make(), "lengths", &error));
    EXPECT_NE(error.description.find("already exists"), std::string::npos) << error.description;
}

TEST_F(GivenRowsToBuildFrom, WhenThereAreManyRowsThenTheHostHearsOfEachThousand) {
    std::vector<std::string> heard;
    store_.options.rebuildProgress = [&](std::string_view extension, std::uint64_t done,
                                         std::uint64_t total) {
        heard.push_back(std::string(extension) + " " + std::to_string(done) + "/" +
                        std::to_string(total));
    };
    ASSERT_TRUE(store_.open());
    fill(2345);
    linesOf(make());
    EXPECT_EQ(heard, (Reports{"lengths 1000/2345", "lengths 2000/2345", "lengths 2345/2345"}));
    heard.clear();
    ASSERT_TRUE(store_.open());
    linesOf(make());
    EXPECT_EQ(heard, Reports());
}

TEST_F(GivenRowsToBuildFrom, WhenTheHostThrowsThenThatIsLoggedOnceAndTheExtensionIsBuilt) {
    store_.options.rebuildProgress = [](auto&&...) { throw std::runtime_error("no window"); };
    ASSERT_TRUE(store_.open());
    fill(2345);
    const LogCapture log;
    EXPECT_TRUE(store_.database().registerExtension(make(), "lengths"));
    EXPECT_EQ(log.linesWith("no window"),
              Reports{"Warning: the report of progress of the extension \"lengths\" failed: no "
                      "window"});
    EXPECT_EQ(store_.faults(), "");
}

}  // namespace
}  // namespace qsml
