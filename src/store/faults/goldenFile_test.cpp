// Files that released versions wrote, kept for ever: each later version must read them. A file of
// testing/golden is never changed; a new format adds one (qsml_make_golden writes it).
#include <gtest/gtest.h>

#include "testing/OpenStore.h"
#include "testing/goldenRows.h"

namespace qsml {
namespace {

class GivenAFileOfFormat1 : public ::testing::Test {
protected:
    void SetUp() override {
        const std::string content = contentOf(goldenFolder() + "/format1.db");
        ASSERT_FALSE(content.empty());
        writeFile(store_.path(), content);
        Error error;
        ASSERT_TRUE(store_.open(&error)) << error.description;
    }
    TemporaryDirectory directory_;
    StoreOfTexts store_{directory_.file("store.db")};
};

TEST_F(GivenAFileOfFormat1, WhenOpenedThenEveryRowIsThere) {
    std::size_t rows = 0;
    for (const auto& row : goldenRows()) {
        store_.connection().read([&](auto& transaction) {
            EXPECT_EQ(transaction.objectForKey(row.key, row.collection).string(), row.text);
            EXPECT_EQ(transaction.metadataForKey(row.key, row.collection).string(), row.metadata);
        });
        rows++;
    }
    store_.connection().read(
        [&](auto& transaction) { EXPECT_EQ(transaction.numberOfKeysInAllCollections(), rows); });
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAFileOfFormat1, WhenWrittenThenItStaysSound) {
    ASSERT_TRUE(store_.set("new", "new"));
    ASSERT_TRUE(store_.connection().readWrite(
        [](auto& transaction) { transaction.removeAllObjectsInCollection("many"); }));
    EXPECT_EQ(store_.faults(), "");
    store_.close();
    ASSERT_TRUE(store_.open());
    EXPECT_EQ(store_.text("new"), "new");
    EXPECT_EQ(store_.faults(), "");
}

}  // namespace
}  // namespace qsml
